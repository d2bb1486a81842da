// velctl doctor: each kind of breakage, provoked.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "base/unix_socket.h"
#include "tests/velctl/state_test.h"

namespace velctl_tests {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class DoctorTest : public StateTest {
 protected:
  // Of a bus that cannot be reached; without one, of the service.
  velctl::ExitCode unreachable() const {
    return isDirect() ? velctl::kExitNoService : velctl::kExitNoBus;
  }

  static Json link(const Json& json, const std::string& name) {
    const auto found = std::find_if(json["links"].begin(), json["links"].end(),
                                    [&](const Json& each) { return each["link"] == name; });
    return found == json["links"].end() ? Json() : *found;
  }
  static std::vector<std::string> statesOf(const Json& json) {
    std::vector<std::string> states;
    for (const Json& each : json["links"]) {
      states.push_back(each["link"].get<std::string>() + ' ' + each["state"].get<std::string>());
    }
    return states;
  }

  // Expects that this link is the first one that is wrong, for this reason.
  static void expectWrong(const Finished& finished, const std::string& name, velctl::ExitCode code,
                          const std::string& reason, const std::string& remedy) {
    EXPECT_EQ(finished.status, code) << finished.err;
    const Json json = jsonOf(finished);
    ASSERT_TRUE(json.is_object()) << finished.out;
    EXPECT_EQ(link(json, name)["state"], "wrong") << finished.out;
    EXPECT_THAT(link(json, name)["text"].get<std::string>(), HasSubstr(reason));
    EXPECT_THAT(link(json, name)["remedy"].get<std::string>(), HasSubstr(remedy));
    EXPECT_EQ(json["error"]["exitStatus"], code);
    EXPECT_THAT(finished.err, AllOf(HasSubstr("velctl: doctor: " + name + ": "), HasSubstr(reason),
                                    HasSubstr(remedy)));
    for (const Json& each : json["links"]) {
      if (each["link"] == name) {
        break;
      }
      EXPECT_EQ(each["state"], "ok") << each;
    }
  }

  Finished asStranger(const std::string& line) const {
    Process::Options stranger = options(line);
    stranger.command = asAStranger(stranger.command);
    return processes::run(stranger);
  }
};

INSTANTIATE_TEST_SUITE_P(Ways, DoctorTest, testing::Values(Way::kBus, Way::kDirect), nameOfWay);

TEST_P(DoctorTest, FindsNothingWhenAllIsWell) {
  const std::string port = pathIn("pen");
  startVelsim({"--pen-port", port});

  const Finished doctor = velctl("doctor --json --pen-port " + port);

  EXPECT_EQ(doctor.status, velctl::kExitDone) << doctor.err;
  EXPECT_THAT(doctor.err, IsEmpty());
  const Json json = jsonOf(doctor);
  EXPECT_THAT(statesOf(json),
              ElementsAre("address ok", "socket ok", "permission ok", "listener ok", "access ok",
                          "service ok", "user ok", "call ok", "log ok", "pen-port ok"));
  EXPECT_THAT(link(json, "address")["text"].get<std::string>(),
              HasSubstr(address() + ", from QXBUS_ADDRESS"));
  EXPECT_EQ(link(json, "service")["text"], "process " + std::to_string(velsim().pid()));
  EXPECT_THAT(link(json, "log")["text"].get<std::string>(), HasSubstr(pathIn("data") + ", "));
}

TEST_P(DoctorTest, ForPeopleHasALineForEachLink) {
  startVelsim();

  const Finished doctor = velctl("doctor");

  EXPECT_EQ(doctor.status, velctl::kExitDone) << doctor.err;
  EXPECT_EQ(std::count(doctor.out.begin(), doctor.out.end(), '\n'), 10);
  EXPECT_THAT(doctor.out, AllOf(HasSubstr("socket      ok       " + socket() + '\n'),
                                HasSubstr("pen-port    skipped  its path is not known; ")));
}

TEST_P(DoctorTest, ForPeopleSaysWhatToDoBelowWhatIsWrong) {
  const Finished doctor = velctl("doctor");

  EXPECT_EQ(doctor.status, velctl::kExitNoService);
  EXPECT_THAT(doctor.out, HasSubstr("\n                     start velserviced, or velsim "));
  EXPECT_THAT(doctor.out, HasSubstr("call        skipped  because of "));
}

TEST_P(DoctorTest, FindsAnAddressThatIsMalformed) {
  expectWrong(velctl("doctor --json", {{"QXBUS_ADDRESS", "nonsense"}}), "address",
              velctl::kExitNoBus, "no colon follows the transport", "correct QXBUS_ADDRESS");
}

TEST_P(DoctorTest, FindsASocketThatIsMissing) {
  const Finished doctor = velctl("doctor --json", {{"QXBUS_ADDRESS", addressOf(pathIn("no"))}});

  expectWrong(doctor, "socket", unreachable(), pathIn("no") + ": No such file or directory",
              isDirect() ? "start velserviced" : "start the bus");
  EXPECT_THAT(statesOf(jsonOf(doctor)),
              ElementsAre("address ok", "socket wrong", "permission skipped", "listener skipped",
                          "access skipped", "service skipped", "user skipped", "call skipped",
                          "log ok", "pen-port skipped"));
}

TEST_P(DoctorTest, FindsAFileThatIsNoSocket) {
  std::ofstream(pathIn("file")) << "text";

  expectWrong(velctl("doctor --json", {{"QXBUS_ADDRESS", addressOf(pathIn("file"))}}), "socket",
              unreachable(), pathIn("file") + ": the file there is not a socket",
              "remove the file");
}

TEST_P(DoctorTest, FindsADirectoryThatKeepsTheUserOut) {
  if (!canBeAStranger()) {
    GTEST_SKIP() << "needs root and setpriv to become another user";
  }
  startVelsim();
  ::chmod(bus().directory().c_str(), 0700);

  const Finished doctor = asStranger("doctor --json");

  expectWrong(doctor, "permission", unreachable(),
              bus().directory().string() + " belongs to user root (0) and has mode 0700",
              "enter the directory");
}

TEST_P(DoctorTest, FindsASocketThatKeepsTheUserOut) {
  if (!canBeAStranger()) {
    GTEST_SKIP() << "needs root and setpriv to become another user";
  }
  startVelsim();
  ::chmod(socket().c_str(), 0600);

  expectWrong(asStranger("doctor --json"), "permission", unreachable(),
              socket() + " belongs to user root (0) and has mode 0600", "write to the socket");
}

TEST_P(DoctorTest, FindsASocketWithoutAListener) {
  {
    const base::Listener listener(pathIn("new"));
    std::filesystem::create_hard_link(pathIn("new"), pathIn("stale"));
  }

  expectWrong(velctl("doctor --json", {{"QXBUS_ADDRESS", addressOf(pathIn("stale"))}}), "listener",
              unreachable(), "Connection refused", "has ended or hangs");
}

TEST_P(DoctorTest, FindsABusOrServiceThatLetsNobodyIn) {
  startVelsim();
  if (isDirect()) {
    hangVelsim();
  } else {
    bus().hang();
  }

  const Finished doctor = velctl("doctor --json");
  bus().resume();

  expectWrong(doctor, "access", unreachable(), "no reply in time", "start it again");
}

TEST_P(DoctorTest, FindsAServiceThatIsAbsent) {
  if (isDirect()) {
    GTEST_SKIP() << "without a bus its socket is missing";
  }

  expectWrong(velctl("doctor --json"), "service", velctl::kExitNoService, "no service on the bus",
              "start velserviced");
}

TEST_P(DoctorTest, FindsAServiceOfAnotherUser) {
  if (isDirect() || !canBeAStranger()) {
    GTEST_SKIP() << "needs a bus, root, and setpriv to become another user";
  }
  const Process::Options other = bus().options(asAStranger({VELSIM_PATH}));
  const Process stranger(other);
  ASSERT_TRUE(processes::isReady(stranger)) << stranger.err();

  const Finished doctor = velctl("doctor --json");
  const Finished status = velctl("status --json");

  expectWrong(doctor, "user", velctl::kExitNoService, std::string("runs as user ") + kStranger,
              "start one as user root (0)");
  EXPECT_EQ(status.status, velctl::kExitNoService);
  EXPECT_EQ(jsonOf(status)["service"], "refused");
  EXPECT_EQ(jsonOf(status)["process"], stranger.pid());
}

TEST_P(DoctorTest, FindsAServiceThatDoesNotAnswer) {
  startVelsim();
  velsim().control("fault getVmList * no-answer");

  expectWrong(velctl("doctor --json"), "call", velctl::kExitNoReply,
              "getVmList: ", "the service hangs");
}

TEST_P(DoctorTest, SaysWhatItKnowsWhenTheTimeIsOver) {
  startVelsim();
  velsim().control("fault getVmList * no-answer");

  const auto endedWhileItCalls = [this](const std::string& line) {
    return processes::endedInItsMidst(
        [&](const std::string& seconds) { return velctl(line + " --timeout " + seconds); },
        [](const Finished& finished) {
          return finished.err.find("no answer within the time") != std::string::npos;
        });
  };

  expectWrong(endedWhileItCalls("doctor --json"), "call", velctl::kExitNoReply,
              "getVmList: no answer within the time of --timeout", "the service hangs");

  const Finished status = endedWhileItCalls("status --json");
  EXPECT_EQ(status.status, velctl::kExitNoReply);
  EXPECT_EQ(jsonOf(status)["service"], "not answering");
  EXPECT_TRUE(jsonOf(status)["process"].is_number());
}

TEST_P(DoctorTest, NamesTheOptionThatTheAddressComesFrom) {
  const Finished finished = velctl("doctor --json --bus direct:/nowhere/vel");

  EXPECT_THAT(link(jsonOf(finished), "address")["text"].get<std::string>(),
              HasSubstr("direct:/nowhere/vel, from --bus"));
}

TEST_P(DoctorTest, FindsAServiceThatAnswersWithErrors) {
  startVelsim();
  velsim().control("fault getVmList * error \"out of order\"");

  expectWrong(velctl("doctor --json"), "call", velctl::kExitErrorReply, "out of order",
              "see the service's log for getVmList");
}

// --- The log -------------------------------------------------------------------------------------

TEST_P(DoctorTest, FindsALogDirectoryThatOthersCanWriteTo) {
  startVelsim();
  std::filesystem::create_directory(pathIn("open"));
  ::chmod(pathIn("open").c_str(), 0770);

  const Finished doctor = velctl("doctor --json", {{"QX_APP_DATA", pathIn("open")}});

  expectWrong(doctor, "log", velctl::kExitFailed, pathIn("open") + ": other users can write to it",
              "set QX_APP_DATA to another");
}

TEST_P(DoctorTest, FindsALogDirectoryThatIsALink) {
  startVelsim();
  std::filesystem::create_directory(pathIn("real"));
  std::filesystem::create_directory_symlink(pathIn("real"), pathIn("link"));

  expectWrong(velctl("doctor --json", {{"QX_APP_DATA", pathIn("link")}}), "log",
              velctl::kExitFailed, "it is a symbolic link", "QX_APP_DATA");
}

TEST_P(DoctorTest, FindsALogDirectoryOfAnotherUser) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to give a directory away";
  }
  startVelsim();
  std::filesystem::create_directory(pathIn("theirs"));
  constexpr uid_t kTheirs = 65534;
  ASSERT_EQ(::chown(pathIn("theirs").c_str(), kTheirs, kTheirs), 0);

  expectWrong(velctl("doctor --json", {{"QX_APP_DATA", pathIn("theirs")}}), "log",
              velctl::kExitFailed, "it belongs to another user", "QX_APP_DATA");
}

TEST_P(DoctorTest, FindsALogDirectoryThatCannotBeMade) {
  startVelsim();
  std::ofstream(pathIn("file")) << "text";

  expectWrong(velctl("doctor --json", {{"QX_APP_DATA", pathIn("file") + "/inner"}}), "log",
              velctl::kExitFailed, "cannot be made", "QX_APP_DATA");
}

TEST_P(DoctorTest, FindsALogThatCannotGrow) {
  startVelsim();
  // Files of the process may have no bytes: as on a full disk, for one process. Its own output goes
  // through pipes.
  Process::Options options = this->options("doctor --json");
  options.command.insert(
      options.command.begin(),
      {"sh", "-c", "{ (trap '' XFSZ; ulimit -f 0; exec \"$@\") 2>/dev/null; echo $?; } | cat",
       "sh"});

  const Finished limited = processes::run(options);

  const std::size_t lineEnd = limited.out.find('\n');
  ASSERT_NE(lineEnd, std::string::npos) << limited.out << limited.err;
  const Json json = Json::parse(limited.out.substr(0, lineEnd), nullptr, false);
  EXPECT_EQ(link(json, "log")["state"], "wrong") << limited.out;
  EXPECT_THAT(link(json, "log")["text"].get<std::string>(), HasSubstr("nothing can be written"));
  EXPECT_EQ(limited.out.substr(lineEnd), "\n1\n");
}

TEST_P(DoctorTest, LeavesNoFileInTheLogDirectory) {
  startVelsim();

  ASSERT_EQ(velctl("doctor").status, velctl::kExitDone);

  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(pathIn("data"))) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_THAT(names, ElementsAre("velproxy.log"));
}

// --- The pen port --------------------------------------------------------------------------------

TEST_P(DoctorTest, FindsAPenPortThatIsMissing) {
  startVelsim();

  expectWrong(velctl("doctor --json --pen-port " + pathIn("pen")), "pen-port",
              velctl::kExitNoService, pathIn("pen") + ": the port cannot be reached",
              "start its listener");
}

TEST_P(DoctorTest, ReportsTheFirstOfSeveralThingsThatAreWrong) {
  const Finished doctor =
      velctl("doctor --json --pen-port " + pathIn("pen"), {{"QX_APP_DATA", pathIn("bus.conf")}});

  EXPECT_EQ(doctor.status, velctl::kExitNoService);
  const Json json = jsonOf(doctor);
  EXPECT_EQ(link(json, "log")["state"], "wrong");
  EXPECT_EQ(link(json, "pen-port")["state"], "wrong");
  EXPECT_THAT(doctor.err, HasSubstr(isDirect() ? "velctl: doctor: socket: " : "doctor: service: "));
}

}  // namespace
}  // namespace velctl_tests
