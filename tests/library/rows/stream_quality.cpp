// Reports on the quality of streams.

#include "tests/library/rows/rows.h"

#include <string>

using scripted::debugLine;
using scripted::Reply;
using Lock = RemoteOperation::Lock;

std::vector<RemoteOperation> streamQualityRows() {
  return {
      RemoteOperation(
          SLOT(61, void, SetBwInfo, (const std::string&, unsigned long long, unsigned long long)),
          [](qx::VelProxy& proxy) {
            proxy.SetBwInfo(kVm, 0xFFFFFFFFFFFFFF01, 0x123456789A);
            return std::string("sent");
          },
          "setBwInfo(int32 7001, uint64 18446744073709551361, uint64 78187493530)")
          .sentOnly()
          .locking(Lock::kReleased)
          .answered(Reply().int32(kStatus), "sent")
          .failing("sent")
          .givenNothing("sent"),

      RemoteOperation(
          SLOT(62, void, SetRtcQosInfo, (const std::string&, unsigned int, void*)),
          [](qx::VelProxy& proxy) {
            unsigned int figure = 0xFFFFFFF3;
            proxy.SetRtcQosInfo(kVm, 1, &figure);
            return std::string("sent");
          },
          "setRtcQosInfo(int32 7001, uint64 1, uint64 4294967283)")
          .also([](qx::VelProxy& proxy) {
            proxy.SetRtcQosInfo(kVm, 1, nullptr);
            return std::string("sent");
          })
          .sentOnly()
          .locking(Lock::kReleased)
          .answered(Reply().int32(kStatus), "sent")
          .failing("sent")
          .givenNothing("sent")
          .logsUnderLock({debugLine("SetRtcQosInfo", "vmId:%s", "vmId:win11")}),
  };
}
