// Commands that wait for more than an answer: diagnoses, searches, commands of the service.

#include "tests/velctl/commands.h"

namespace velctl_tests {

std::vector<Command> waitingCommands() {
  return {
      Command("DeviceDiagnoseBySource", "device diagnose --source 258 --vm win11 --follow 0")
          .sends("diagnose(int32 101, bytes[8] 0201000000000000)")
          .reads(Answer::kContent)
          .answered(Reply().string("{\"velservice\":4097}"))
          .prints("{\"velservice\":4097}")
          .printsJson(R"({"operation":"diagnose","vm":"win11","vmNumber":101,"source":"258",)"
                      R"("text":"{\"velservice\":4097}"})"),
      Command("DeviceDiagnose", "device diagnose 65535 --vm win11 --follow 0")
          .sends("diagnoseDevice(int32 101, int32 65535)")
          .reads(Answer::kContent)
          .answered(Reply().string("fine"))
          .prints("fine")
          .printsJson(R"({"operation":"diagnoseDevice","vm":"win11","vmNumber":101,)"
                      R"("device":65535,"text":"fine"})"),
      Command("SharedPrinterSearch", "shared-printer search 10.0.0.7:631")
          .sends(R"(searchSharePrinter(string "10.0.0.7:631"))")
          .givesData()
          .answered(Reply()
                        .int32(0)
                        .int32(2)
                        .string("10.0.0.7")
                        .string("Office")
                        .string("Second floor")
                        .string("10.0.0.7")
                        .string("Labels")
                        .string(""))
          .prints("ADDRESS   NAME    DESCRIPTION\n"
                  "10.0.0.7  Office  Second floor\n"
                  "10.0.0.7  Labels")
          .printsJson(R"({"operation":"searchSharePrinter","address":"10.0.0.7:631","printers":[)"
                      R"({"address":"10.0.0.7","name":"Office","description":"Second floor"},)"
                      R"({"address":"10.0.0.7","name":"Labels","description":""}]})"),
      Command("SharedPrinterStop", "shared-printer stop")
          .sends("stopSearchSharePrinter()")
          .prints("search stopped")
          .printsJson(R"({"operation":"stopSearchSharePrinter","status":0,"statusName":"ok"})"),
      Command("SharedPrinterAdd",
              "shared-printer add 10.0.0.7 Office 'Second floor' 10.0.0.8 Labels ''")
          .sends(R"(addSharePrinter(int32 2, cstring "10.0.0.7", cstring "Office", )"
                 R"(cstring "Second floor", cstring "10.0.0.8", cstring "Labels", cstring ""))")
          .prints("2 printers added")
          .printsJson(R"({"operation":"addSharePrinter","printers":[)"
                      R"({"address":"10.0.0.7","name":"Office","description":"Second floor"},)"
                      R"({"address":"10.0.0.8","name":"Labels","description":""}],)"
                      R"("status":0,"statusName":"ok"})"),
      Command("SharedPrinterRemove", "shared-printer remove 10.0.0.7 Office")
          .sends(R"(deleteSharePrinter(cstring "10.0.0.7", cstring "Office"))")
          .prints("\"Office\" removed")
          .printsJson(R"({"operation":"deleteSharePrinter","address":"10.0.0.7","name":"Office",)"
                      R"("status":0,"statusName":"ok"})"),
      Command("CommandRunWithoutWaiting", "command run -7 'a b' --vm win11 --wait 0")
          .sends(R"(dovelcmd(int32 101, string "a b", int32 -7))")
          .prints("command -7 accepted")
          .printsJson(R"({"operation":"dovelcmd","vm":"win11","vmNumber":101,"id":-7,)"
                      R"("text":"a b","status":0,"statusName":"ok"})"),
      Command("CommandHelp", "command help --vm win11")
          .sends("getvelcmdhelp(int32 101)")
          .reads(Answer::kContent)
          .answered(Reply().string("1 restart\n2 dump\n"))
          .prints("1 restart\n2 dump")
          .printsJson(R"({"operation":"getvelcmdhelp","vm":"win11","vmNumber":101,)"
                      R"("text":"1 restart\n2 dump\n"})"),
  };
}

}  // namespace velctl_tests
