// Rows of velctl vm, pipe and reset.

#include <cstdint>

#include "tests/velctl/commands.h"

namespace velctl_tests {

namespace {

std::string padded(std::string digits, std::size_t bytes) {
  digits.resize(2 * bytes, '0');
  return digits;
}

// The block of a pipe of VM 101. All arguments are hexadecimal digits.
std::string pipe(const std::string& handle, const std::string& name1, const std::string& name2) {
  return "bytes[268] 65000000" + padded(handle, 8) + padded(name1, 128) + padded(name2, 128);
}

}  // namespace

std::vector<Command> sessionCommands() {
  const std::string pipe7 = pipe("07", "", "");
  return {
      Command("VmList", "vm list")
          .sends("getVmList(int32 0)")
          .reads(Answer::kContent)
          .answered(Reply().int32(2).string("win11").int32(101).string("debian").int32(104))
          .prints("debian  104\nwin11   101")
          .printsJson(R"({"vms":[{"vm":"debian","number":104},{"vm":"win11","number":101}]})"),
      Command("VmConnect", "vm connect win11 --system-type 10 --share-mode 2 --connect-param=3")
          .sends("connectVm(int32 101, int32 10, int32 2, int32 3)")
          .prints("win11: connected")
          .printsJson(R"({"operation":"connectVm","vm":"win11","number":101,"status":0})"),
      Command("VmConnectWithoutOptions", "vm connect win11")
          .sends("connectVm(int32 101, int32 0, int32 0, int32 0)")
          .prints("win11: connected")
          .printsJson(R"({"operation":"connectVm","vm":"win11","number":101,"status":0})"),
      Command("VmConnectWithANegativeNumber", "vm connect win11 --share-mode=-2")
          .sends("connectVm(int32 101, int32 0, int32 -2, int32 0)")
          .prints("win11: connected")
          .printsJson(R"({"operation":"connectVm","vm":"win11","number":101,"status":0})"),
      Command("VmStart", "vm start win11")
          .sends("startManager(int32 101)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("win11: start requested")
          .printsJson(R"({"operation":"startManager","vm":"win11","number":101,"status":0})"),
      Command("VmDisconnect", "vm disconnect win11")
          .sends("disconnectVm(int32 101)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("win11: disconnect requested")
          .printsJson(R"({"operation":"disconnectVm","vm":"win11","number":101,"status":0})"),
      Command("VmFocus", "vm focus win11 --window 7")
          .sends("onFocusChanged(int32 101, int32 1, uint64 7)")
          .prints("win11: focus gained")
          .printsJson(R"({"operation":"onFocusChanged","vm":"win11","number":101,"status":0})"),
      Command("VmFocusOfTheLargestWindow", "vm focus win11 --window 18446744073709551615")
          .sends("onFocusChanged(int32 101, int32 1, uint64 18446744073709551615)")
          .prints("win11: focus gained")
          .printsJson(R"({"operation":"onFocusChanged","vm":"win11","number":101,"status":0})"),
      Command("VmFocusLost", "vm focus win11 --lost --window 0x3a00007")
          .sends("onFocusChanged(int32 101, int32 0, uint64 60817415)")
          .prints("win11: focus lost")
          .printsJson(R"({"operation":"onFocusChanged","vm":"win11","number":101,"status":0})"),
      Command("VmPort", "vm port win11 3 -1")
          .sends("setPortChannelStatus(int32 101, int32 3, int32 -1)")
          .prints("win11: port 3 has status -1")
          .printsJson(
              R"({"operation":"setPortChannelStatus","vm":"win11","number":101,"status":0})"),
      Command("VmToken", "vm token abc")
          .sends("updateDriveToken(bytes[3] 616263)")
          .prints("drive token handed over")
          .printsJson(R"({"operation":"updateDriveToken","status":0})"),
      Command("PipeCreate", "pipe create win11 7")
          .sends("createPipe(int32 101, int32 1, " + pipe7 + ")")
          .prints("win11: 1 pipe created")
          .printsJson(R"({"operation":"createPipe","vm":"win11","number":101,"status":0})"),
      Command("PipeCreateWithNames", "pipe create win11 7,usb,data 0xff")
          .sends("createPipe(int32 101, int32 2, " + pipe("07", "757362", "64617461") + ", " +
                 pipe("ff", "", "") + ")")
          .prints("win11: 2 pipes created")
          .printsJson(R"({"operation":"createPipe","vm":"win11","number":101,"status":0})"),
      Command("PipeDestroyWithNames", "pipe destroy win11 7,usb,data")
          .sends("destroyPipe(int32 101, int32 1, " + pipe("07", "757362", "64617461") + ")")
          .prints("win11: 1 pipe destroyed")
          .printsJson(R"({"operation":"destroyPipe","vm":"win11","number":101,"status":0})"),
      Command("PipeDestroy", "pipe destroy win11 7")
          .sends("destroyPipe(int32 101, int32 1, " + pipe7 + ")")
          .prints("win11: 1 pipe destroyed")
          .printsJson(R"({"operation":"destroyPipe","vm":"win11","number":101,"status":0})"),
      Command("Reset", "reset")
          .sends("resetService()")
          .reads(Answer::kIgnored)
          .prints("the service has been reset")
          .printsJson(R"({"operation":"resetService","status":0})"),
  };
}

}  // namespace velctl_tests
