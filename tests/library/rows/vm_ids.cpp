// The numbers of VMs.

#include "tests/library/rows/rows.h"

#include <map>
#include <string>

using scripted::debugLine;
using scripted::Reply;
using Lock = RemoteOperation::Lock;
using VmNumbers = std::map<std::string, unsigned int>;

std::vector<RemoteOperation> vmIdRows() {
  return {
      RemoteOperation(
          SLOT(49, unsigned int, GetVmIdInt, (std::string)),
          [](qx::VelProxy& proxy) { return shown(proxy.GetVmIdInt("linux9")); },
          "getVmListSize(string \"linux9\")")
          .locking(Lock::kNone)
          .failing("0")
          .logsAfterReply({debugLine("GetVmIdInt", "vmid[%s]~ maped to id[%d] from hulservice",
                                     "vmid[linux9]~ maped to id[5] from hulservice")})
          .logsWithoutService({})
          .logsError([](int, const std::string&) { return RemoteOperation::Lines(); }),

      RemoteOperation(
          SLOT(18, VmNumbers, GetVmList, ()),
          [](qx::VelProxy& proxy) { return shown(proxy.GetVmList()); }, "getVmList(int32 0)")
          .answered(Reply().int32(2).string("win11").int32(21).string("linux9").int32(22),
                    "linux9=22 win11=21")
          .failing("")
          .givenNothing("")
          .logsAfterReply(
              {debugLine("GetVmList", "vm list size: %d", "vm list size: 2"),
               debugLine("GetVmList", "vmid[%s]~ maped to id[%d]", "vmid[win11]~ maped to id[21]"),
               debugLine("GetVmList", "vmid[%s]~ maped to id[%d]",
                         "vmid[linux9]~ maped to id[22]")}),
  };
}
