# Writes the files that start velsim: VELSIM_PATH is the program, STARTING_FILES the folder for them. Each
# format has characters of its own that a path may hold.

set(path "${VELSIM_PATH}")

# Both quote as a shell does; systemd also replaces what follows a percent sign.
string(REGEX REPLACE "([\\\"])" "\\\\\\1" VELSIM_PATH "${path}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/qx.bus.vel.service.in" "${STARTING_FILES}/qx.bus.vel.service"
               @ONLY)
string(REPLACE "%" "%%" VELSIM_PATH "${VELSIM_PATH}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/velsim.service.in" "${STARTING_FILES}/velsim.service" @ONLY)

string(REPLACE "&" "&amp;" VELSIM_PATH "${path}")
string(REPLACE "<" "&lt;" VELSIM_PATH "${VELSIM_PATH}")
string(REPLACE ">" "&gt;" VELSIM_PATH "${VELSIM_PATH}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/velproxy.velsim.plist.in"
               "${STARTING_FILES}/velproxy.velsim.plist" @ONLY)
