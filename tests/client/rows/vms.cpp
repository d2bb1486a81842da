// VM sessions.

#include "tests/client/operations.h"

using scripted::Reply;

namespace {

vel::VmSession session() {
  vel::VmSession session;
  session.vm = kVm;
  session.systemType = 11;
  session.shareMode = -12;
  session.connectParam = 13;
  session.sessionId = 0xFFFFFF0E;
  session.kstMajorVersion = 15;
  session.kstMinorVersion = 16;
  return session;
}

std::vector<vel::Pipe> pipes() {
  return {{kVm, 0x0102030405060708, "in", "out"}};
}

// The number of the VM, the handle, and two names with zeroes behind them.
std::string pipesOnTheBus() {
  const std::string name(2 * 128, '0');
  return std::string("int32 7001, int32 1, bytes[268] 591b00000807060504030201") + "696e" +
         name.substr(4) + "6f7574" + name.substr(6);
}

std::vector<vel::Pipe> pipeNamed(std::size_t length) {
  return {{kVm, 1, "in", std::string(length, 'p')}};
}

}  // namespace

std::vector<ClientOperation> vmClientRows() {
  using vel::Client;
  return {
      ClientOperation("vms", "GetVmList", [](const Client& client) { return client.vms(); })
          .answered(Reply().int32(2).string("win11").int32(21).string("l\xFF").int32(-1),
                    "\"l\xEF\xBF\xBD\" 4294967295; \"win11\" 21"),

      ClientOperation("vmNumber", "GetVmIdInt",
                      [](const Client& client) { return client.vmNumber("linux9"); })
          .answered(Reply().int32(-7), "4294967289"),

      ClientOperation("connectVm", "ConnectVm",
                      [](const Client& client) { return client.connectVm(session()); })
          .refusing("ACollaborator",
                    [](const Client& client) {
                      vel::VmSession collaborator = session();
                      collaborator.isCollaborator = true;
                      return client.connectVm(collaborator);
                    }),

      ClientOperation("disconnectVm", "DisconnectVm",
                      [](const Client& client) { return client.disconnectVm(kVm); }),

      ClientOperation("startVm", "StartVm",
                      [](const Client& client) { return client.startVm(kVm); }),

      ClientOperation("createPipes", "CreatePipe",
                      [](const Client& client) { return client.createPipes(kVm, pipes()); })
          .sending("createPipe(" + pipesOnTheBus() + ")")
          .refusing("ALongName",
                    [](const Client& client) { return client.createPipes(kVm, pipeNamed(129)); }),

      ClientOperation("destroyPipes", "DestroyPipe",
                      [](const Client& client) { return client.destroyPipes(kVm, pipes()); })
          .sending("destroyPipe(" + pipesOnTheBus() + ")")
          .refusing("ALongName",
                    [](const Client& client) { return client.destroyPipes(kVm, pipeNamed(129)); }),

      ClientOperation(
          "setPortStatus", "SetPortChannelStatus",
          [](const Client& client) { return client.setPortStatus(kVm, vel::PortNumber(31), -32); }),

      ClientOperation("setFocus", "OnFocusChanged",
                      [](const Client& client) {
                        return client.setFocus(kVm, vel::WindowId(0x123456789A), true);
                      })
          .sending("onFocusChanged(int32 7001, int32 1, uint64 78187493530)"),

      ClientOperation("updateDriveToken", "UpdateDriveToken",
                      [](const Client& client) { return client.updateDriveToken("AbZ9"); })
          .refusing("AnEmptyToken",
                    [](const Client& client) { return client.updateDriveToken(""); }),

      ClientOperation("reportBandwidth", "SetBwInfo",
                      [](const Client& client) {
                        return client.reportBandwidth(kVm, 0xFFFFFFFFFFFFFF01, 0x123456789A);
                      }),

      ClientOperation(
          "reportQuality", "SetRtcQosInfo",
          [](const Client& client) { return client.reportQuality(kVm, 1, 0xFFFFFFF3); }),

      ClientOperation("reportQuality", "SetRtcQosInfo",
                      [](const Client& client) { return client.reportQuality(kVm, 2); })
          .testedAs("SetRtcQosInfoWithoutAFigure")
          .sending("setRtcQosInfo(int32 7001, uint64 2)"),
  };
}
