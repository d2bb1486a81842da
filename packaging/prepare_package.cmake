# Completes the folders that cpack makes packages of: the copyright and the changes of each, and pages
# of the manual compressed. Runs before cpack packs.

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # SOURCE_DATE_EPOCH, where it is set
set(changes "velproxy (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium

  * Release ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} COMPONENT)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX})
  set(documents ${root}/share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  file(MAKE_DIRECTORY ${documents})
  file(CHMOD ${documents}/.. ${documents} DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
       GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  configure_file(${CPACK_VELPROXY_COPYRIGHT} ${documents}/copyright COPYONLY
                 FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(WRITE ${documents}/changelog.Debian "${changes}")
  file(GLOB_RECURSE pages ${root}/${CPACK_VELPROXY_MAN_FOLDER}/*.1)
  # Without the time, so that two builds are equal.
  execute_process(COMMAND gzip --best --no-name --force ${documents}/changelog.Debian ${pages}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# The lists that packing leaves name files of the packages, which are not `uninstall`'s to remove.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  file(REMOVE "${CPACK_VELPROXY_BUILD_FOLDER}/install_manifest_${component}.txt")
endforeach()
