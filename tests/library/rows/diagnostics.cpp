// Diagnoses and service commands.

#include "tests/library/rows/rows.h"

#include <string>

using scripted::debugLine;
using scripted::errorLine;
using Lock = RemoteOperation::Lock;
using Mapping = RemoteOperation::Mapping;

namespace {

constexpr char kNoDiagnosis[] = "{\"velservice\":4097}";

class NoNotify : public VelDiagnoseNotify {
 public:
  void DiagnoseResultNotify(std::string, unsigned long long, unsigned int, std::string) override {}
};

// Outlives every proxy.
VelDiagnoseNotify* noNotify() {
  static auto* const notify = new NoNotify;
  return notify;
}

}  // namespace

std::vector<RemoteOperation> diagnosticRows() {
  return {
      RemoteOperation(
          SLOT(63, std::string, Diagnose,
               (const std::string&, unsigned long long, VelDiagnoseNotify*)),
          [](qx::VelProxy& proxy) { return proxy.Diagnose(kVm, 0x8102030405060708, noNotify()); },
          "diagnose(int32 7001, bytes[8] 0807060504030281)")
          .within(10000)
          .locking(Lock::kReleased)
          .mapping(Mapping::kBeforeLock)
          .answered(textAndMore("{\"usb\":0}"), "{\"usb\":0}")
          .failing(kNoDiagnosis)
          .givenNothing("")
          .logsFirst({debugLine("Diagnose", "diagnose: vmid[%s] sourceId:%lld",
                                "diagnose: vmid[win11] sourceId:-9150748177064392952")})
          .logsUnknownVm({errorLine("Diagnose", "no desktop connected")})
          .logsAfterReply(
              {debugLine("Diagnose", "diagnose result[%s]", "diagnose result[{\"usb\":0}]")})
          .refusing("NullNotify",
                    [](qx::VelProxy& proxy) { return proxy.Diagnose(kVm, 5, nullptr); },
                    kNoDiagnosis, {}),

      RemoteOperation(
          SLOT(64, std::string, DiagnoseDevice,
               (const std::string&, unsigned short, VelDiagnoseNotify*)),
          [](qx::VelProxy& proxy) { return proxy.DiagnoseDevice(kVm, 65501, noNotify()); },
          "diagnoseDevice(int32 7001, int32 65501)")
          .within(10000)
          .mapping(Mapping::kBeforeLock)
          .answered(textAndMore("{\"usb\":1}"), "{\"usb\":1}")
          .failing(kNoDiagnosis)
          .givenNothing("")
          .logsFirst({debugLine("DiagnoseDevice", "DiagnoseDevice: vmid[%s] devNumber:%d",
                                "DiagnoseDevice: vmid[win11] devNumber:65501")})
          .logsUnknownVm({errorLine("DiagnoseDevice", "no desktop connected")})
          .logsAfterReply({debugLine("DiagnoseDevice", "DiagnoseDevice result[%s]",
                                     "DiagnoseDevice result[{\"usb\":1}]")})
          .refusing("NullNotify",
                    [](qx::VelProxy& proxy) { return proxy.DiagnoseDevice(kVm, 5, nullptr); },
                    kNoDiagnosis, {}),

      RemoteOperation(
          SLOT(65, int, CheckCameraAuthStat, ()),
          [](qx::VelProxy& proxy) { return shown(proxy.CheckCameraAuthStat()); },
          "CheckCameraAuthStat()")
          .logsAfterReply({debugLine("CheckCameraAuthStat", "CheckCameraAuthStat result: %d",
                                     "CheckCameraAuthStat result: 5")}),

      RemoteOperation(
          SLOT(58, int, DoVelTest, (std::string, unsigned int)),
          [](qx::VelProxy& proxy) { return shown(proxy.DoVelTest(kVm, 0xFFFE2345)); },
          "doveltest(int32 0, int16 9029)")
          .logsUnderLock(
              {debugLine("DoVelTest", "vmId:%s, flag: %ld", "vmId:win11, flag: 4294845253")}),

      RemoteOperation(
          SLOT(59, int, DoVelCmd, (std::string, std::string, int)),
          [](qx::VelProxy& proxy) { return shown(proxy.DoVelCmd(kVm, "list usb", -70001)); },
          "dovelcmd(int32 7001, string \"list usb\", int32 -70001)")
          .logsUnderLock(
              {debugLine("DoVelCmd", "vmId:%s, args: %s", "vmId:win11, args: list usb")}),

      RemoteOperation(
          SLOT(60, std::string, GetVelCmdHelp, (std::string)),
          [](qx::VelProxy& proxy) { return proxy.GetVelCmdHelp(kVm); }, "getvelcmdhelp(int32 7001)")
          .answered(textAndMore("list: lists\n"), "vm id [\nlist: lists\n]\n")
          .failing("vm id [\n")
          .givenNothing("vm id [\n]\n")
          .logsUnderLock({debugLine("GetVelCmdHelp", "vmId:%s", "vmId:win11")}),
  };
}
