// Rows of velctl vm, port, token and pipe.

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
          .prints("NAME    NUMBER\n"
                  "debian  104\n"
                  "win11   101")
          .printsJson(R"({"operation":"getVmList","vms":[{"vm":"debian","vmNumber":104},)"
                      R"({"vm":"win11","vmNumber":101}]})"),
      Command("VmShow", "vm show win11")
          .sends("getVmList(int32 0)")
          .reads(Answer::kContent)
          .answered(Reply().int32(2).string("win11").int32(101).string("debian").int32(104))
          .prints("vm        win11\n"
                  "vmNumber  101")
          .printsJson(R"({"operation":"getVmList","vm":"win11","vmNumber":101})"),
      Command("VmConnect", "vm connect win11 --system-type 10 --share-mode 2 --connect-param=3")
          .sends("connectVm(int32 101, int32 10, int32 2, int32 3)")
          .prints("win11 connected")
          .printsJson(R"({"operation":"connectVm","vm":"win11","vmNumber":101,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("VmConnectWithoutOptions", "vm connect win11")
          .sends("connectVm(int32 101, int32 0, int32 0, int32 0)")
          .prints("win11 connected")
          .printsJson(R"({"operation":"connectVm","vm":"win11","vmNumber":101,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("VmConnectWithANegativeNumber", "vm connect win11 --share-mode=-2")
          .sends("connectVm(int32 101, int32 0, int32 -2, int32 0)")
          .prints("win11 connected")
          .printsJson(R"({"operation":"connectVm","vm":"win11","vmNumber":101,)"
                      R"("status":0,"statusName":"ok"})"),
      Command("VmStart", "vm start win11")
          .sends("startManager(int32 101)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("start of win11 requested")
          .printsJson(R"({"operation":"startManager","vm":"win11","vmNumber":101})"),
      Command("VmDisconnect", "vm disconnect win11")
          .sends("disconnectVm(int32 101)")
          .sends(kConfirmation)
          .reads(Answer::kNotAwaited)
          .prints("disconnection of win11 requested")
          .printsJson(R"({"operation":"disconnectVm","vm":"win11","vmNumber":101})"),
      Command("VmFocus", "vm focus win11 --window 7")
          .sends("onFocusChanged(int32 101, int32 1, uint64 7)")
          .prints("focus of win11 reported")
          .printsJson(R"({"operation":"onFocusChanged","vm":"win11","vmNumber":101,"window":"7",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("VmFocusOfTheLargestWindow", "vm focus win11 --window 18446744073709551615")
          .sends("onFocusChanged(int32 101, int32 1, uint64 18446744073709551615)")
          .prints("focus of win11 reported")
          .printsJson(R"({"operation":"onFocusChanged","vm":"win11","vmNumber":101,)"
                      R"("window":"18446744073709551615","status":0,"statusName":"ok"})"),
      Command("VmFocusLost", "vm focus win11 --lost --window 0x3a00007")
          .sends("onFocusChanged(int32 101, int32 0, uint64 60817415)")
          .prints("focus of win11 reported")
          .printsJson(R"({"operation":"onFocusChanged","vm":"win11","vmNumber":101,)"
                      R"("window":"60817415","lost":true,"status":0,"statusName":"ok"})"),
      Command("PortSet", "port set 3 -70000 --vm win11")
          .sends("setPortChannelStatus(int32 101, int32 3, int32 -70000)")
          .prints("port 3 of win11 has status -70000")
          .printsJson(R"({"operation":"setPortChannelStatus","vm":"win11","vmNumber":101,)"
                      R"("port":3,"portStatus":-70000,"status":0,"statusName":"ok"})"),
      Command("TokenSet", "token set abc")
          .sends("updateDriveToken(bytes[3] 616263)")
          .prints("drive token handed over")
          .printsJson(R"({"operation":"updateDriveToken","status":0,"statusName":"ok"})"),
      Command("PipeAdd", "pipe add 7 --vm win11")
          .sends("createPipe(int32 101, int32 1, " + pipe7 + ")")
          .prints("1 pipe of win11 opened")
          .printsJson(R"({"operation":"createPipe","vm":"win11","vmNumber":101,"pipe":["7"],)"
                      R"("status":0,"statusName":"ok"})"),
      Command("PipeAddWithNames", "pipe add 7,usb,data 0xff --vm win11")
          .sends("createPipe(int32 101, int32 2, " + pipe("07", "757362", "64617461") + ", " +
                 pipe("ff", "", "") + ")")
          .prints("2 pipes of win11 opened")
          .printsJson(R"({"operation":"createPipe","vm":"win11","vmNumber":101,)"
                      R"("pipe":["7,usb,data","0xff"],"status":0,"statusName":"ok"})"),
      Command("PipeRemoveWithNames", "pipe remove 7,usb,data --vm win11")
          .sends("destroyPipe(int32 101, int32 1, " + pipe("07", "757362", "64617461") + ")")
          .prints("1 pipe of win11 closed")
          .printsJson(R"({"operation":"destroyPipe","vm":"win11","vmNumber":101,)"
                      R"("pipe":["7,usb,data"],"status":0,"statusName":"ok"})"),
      Command("PipeRemove", "pipe remove --vm win11 7")
          .sends("destroyPipe(int32 101, int32 1, " + pipe7 + ")")
          .prints("1 pipe of win11 closed")
          .printsJson(R"({"operation":"destroyPipe","vm":"win11","vmNumber":101,"pipe":["7"],)"
                      R"("status":0,"statusName":"ok"})"),
  };
}

}  // namespace velctl_tests
