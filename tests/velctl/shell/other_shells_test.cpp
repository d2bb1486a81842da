// The completion of velctl in bash, zsh and fish, as their users have it.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/velctl/shell/shell_test.h"

namespace velctl_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

std::vector<std::string> linesIn(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

class OtherShellsTest : public ShellTest {
 protected:
  OtherShellsTest() { velsim().control("plug camera \"Front camera\""); }

  void plug(const std::string& name) { velsim().control("plug camera \"" + name + '"'); }
  std::string script(const std::string& shell) const {
    return run({VELCTL_PATH, "completion", shell}).out;
  }
};

// A shell at a terminal, whose Ctrl-T writes the line as it is edited to the file lines.
class TypedLines {
 public:
  TypedLines(std::unique_ptr<processes::Terminal> terminal,
             const processes::Process::Options& options, std::filesystem::path lines)
      : terminal_(std::move(terminal)), process_(options), lines_(std::move(lines)) {
    EXPECT_TRUE(shows("ready> ")) << terminal_->text();
  }

  // The line behind these keys.
  std::string after(const std::string& keys) {
    constexpr char kClear[] = "\x15";
    constexpr char kWriteLine[] = "\x14";
    terminal_->type(kClear + keys + kWriteLine);
    ++count_;
    std::vector<std::string> lines;
    const bool isThere = processes::comesTrue([&] {
      std::ostringstream text;
      text << std::ifstream(lines_).rdbuf();
      lines = linesIn(text.str());
      return lines.size() >= count_ && text.str().back() == '\n';
    });
    EXPECT_TRUE(isThere) << terminal_->text();
    return isThere ? lines.back() : "";
  }
  void run(const std::string& line) { terminal_->type("\x15" + line + "\n"); }
  bool shows(const std::string& text) {
    return processes::comesTrue([&] { return terminal_->text().find(text) != std::string::npos; });
  }
  const std::string& text() { return terminal_->text(); }

 private:
  const std::unique_ptr<processes::Terminal> terminal_;
  processes::Process process_;
  const std::filesystem::path lines_;
  std::size_t count_ = 0;
};

class BashTest : public OtherShellsTest {
 protected:
  TypedLines bash() {
    write("velctl.bash", script("bash"));
    write("rc",
          "PS1='ready> '\n"
          "bind 'set bell-style none'\n"
          "bind -x '\"\\C-t\": printf \"%s\\n\" \"$READLINE_LINE\" >>\"$HOME/lines\"'\n"
          ". \"$HOME/velctl.bash\"\n");
    auto terminal = std::make_unique<processes::Terminal>();
    const auto on =
        onTerminal(*terminal, {"bash", "--noprofile", "--rcfile", file("rc").string(), "-i"});
    return TypedLines(std::move(terminal), on, file("lines"));
  }
};

class ZshTest : public OtherShellsTest {
 protected:
  TypedLines zsh() {
    write("_velctl", script("zsh"));
    write(".zshrc",
          "PS1='ready> '\n"
          "setopt no_beep no_list_beep\n"
          "fpath=($HOME $fpath)\n"
          "autoload -Uz compinit && compinit -u -D\n"
          "write-line() { print -r -- \"$BUFFER\" >>\"$HOME/lines\" }\n"
          "zle -N write-line\n"
          "bindkey -e && bindkey '^T' write-line\n");
    auto terminal = std::make_unique<processes::Terminal>();
    const auto on = onTerminal(*terminal, {"zsh", "-d", "-i"});
    return TypedLines(std::move(terminal), on, file("lines"));
  }
};

class FishTest : public OtherShellsTest {
 protected:
  // What fish offers for a line, each with its description behind a tab.
  std::vector<std::string> offers(const std::string& line) const {
    write("velctl.fish", script("fish"));
    const processes::Finished finished =
        run({"fish", "--no-config", "-c", "source $HOME/velctl.fish; complete -C $argv[1]", line});
    EXPECT_THAT(finished.err, IsEmpty());
    return linesIn(finished.out);
  }
};

TEST_F(BashTest, CompletesCommandsOptionsAndNames) {
  TypedLines bash = this->bash();

  EXPECT_EQ(bash.after("velctl devi\t"), "velctl device ");
  EXPECT_EQ(bash.after("velctl device att\t"), "velctl device attach ");
  EXPECT_EQ(bash.after("velctl device show --js\t"), "velctl device show --json ");
  EXPECT_EQ(bash.after("velctl device show Fr\t"), R"(velctl device show Front\ camera )");
  EXPECT_EQ(bash.after("velctl device list --vm win1\t"), "velctl device list --vm win1");
  EXPECT_EQ(bash.after("velctl device list --vm debi\t"), "velctl device list --vm debian ");
  EXPECT_EQ(bash.after("velctl device list --vm=debi\t"), "velctl device list --vm=debian ");
  EXPECT_EQ(bash.after("velctl nosuch \t"), "velctl nosuch ");
}

TEST_F(BashTest, CompletesInsideQuotations) {
  TypedLines bash = this->bash();

  EXPECT_EQ(bash.after("velctl device show \"Fr\t"), R"(velctl device show "Front camera" )");
  EXPECT_EQ(bash.after("velctl device show 'Fr\t"), "velctl device show 'Front camera' ");
  EXPECT_EQ(bash.after("velctl device show 'Front c\t"), "velctl device show 'Front camera' ");
  EXPECT_EQ(bash.after("velctl device show Front\\ c\t"), R"(velctl device show Front\ camera )");
}

TEST_F(BashTest, CompletesFileNamesWhereAFileIsMeant) {
  write("stroke of a pen.jsonl", "");
  TypedLines bash = this->bash();
  bash.run("cd");

  EXPECT_EQ(bash.after("velctl pen replay str\t"),
            R"(velctl pen replay stroke\ of\ a\ pen.jsonl )");
  EXPECT_EQ(bash.after("velctl device show str\t"), "velctl device show str");
}

TEST_F(BashTest, ANameIsNeverRun) {
  plug("$(touch $HOME/ran)");
  plug("`touch $HOME/ran`");
  plug("x;touch $HOME/ran");
  TypedLines bash = this->bash();

  EXPECT_EQ(bash.after("velctl device show \\$\t"),
            R"(velctl device show \$\(touch\ \$HOME/ran\) )");
  EXPECT_EQ(bash.after("velctl device show \"x\t"), R"(velctl device show "x;touch \$HOME/ran" )");
  bash.run("velctl device show \\$\t");

  EXPECT_TRUE(bash.shows("$(touch $HOME/ran)\r\n")) << "the device of this name";
  bash.after("velctl device show \t\t");
  EXPECT_FALSE(std::filesystem::exists(file("ran")));
}

TEST_F(BashTest, AVariableInFrontOfTheCommandDoesNoHarm) {
  TypedLines bash = this->bash();

  EXPECT_EQ(bash.after("QX_LOG_LEVEL=off velctl device att\t"),
            "QX_LOG_LEVEL=off velctl device attach ");
}

TEST_F(ZshTest, CompletesCommandsOptionsAndNames) {
  TypedLines zsh = this->zsh();

  EXPECT_EQ(zsh.after("velctl devi\t"), "velctl device ");
  EXPECT_EQ(zsh.after("velctl device att\t"), "velctl device attach ");
  EXPECT_EQ(zsh.after("velctl device show --js\t"), "velctl device show --json ");
  EXPECT_EQ(zsh.after("velctl device show Fr\t"), R"(velctl device show Front\ camera )");
  EXPECT_EQ(zsh.after("velctl device show \"Fr\t"), R"(velctl device show "Front camera" )");
  EXPECT_EQ(zsh.after("velctl device show 'Fr\t"), "velctl device show 'Front camera' ");
  EXPECT_EQ(zsh.after("velctl device list --vm debi\t"), "velctl device list --vm debian ");
  EXPECT_EQ(zsh.after("velctl device list --vm=debi\t"), "velctl device list --vm=debian ");
}

TEST_F(ZshTest, CompletesFileNamesWhereAFileIsMeant) {
  write("stroke of a pen.jsonl", "");
  TypedLines zsh = this->zsh();
  zsh.run("cd");

  EXPECT_EQ(zsh.after("velctl pen replay str\t"), R"(velctl pen replay stroke\ of\ a\ pen.jsonl )");
}

TEST_F(ZshTest, ShowsWhatEachWordMeans) {
  TypedLines zsh = this->zsh();

  zsh.after("velctl device \t");

  EXPECT_TRUE(zsh.shows("attach  -- Attach a device to a VM"));
}

TEST_F(ZshTest, ANameIsNeverRun) {
  plug("$(touch $HOME/ran)");
  plug("`touch $HOME/ran`");
  TypedLines zsh = this->zsh();

  EXPECT_EQ(zsh.after("velctl device show \\$\t"),
            R"(velctl device show \$\(touch\ \$HOME/ran\) )");
  zsh.run("velctl device show \\$\t");

  EXPECT_TRUE(zsh.shows("$(touch $HOME/ran)\r\n")) << "the device of this name";
  EXPECT_FALSE(std::filesystem::exists(file("ran")));
}

TEST_F(FishTest, CompletesCommandsOptionsAndNames) {
  EXPECT_THAT(offers("velctl device at"), testing::ElementsAre("attach\tAttach a device to a VM"));
  EXPECT_THAT(offers("velctl device show Fr"), testing::ElementsAre("Front camera\tdevice 31"));
  EXPECT_THAT(offers("velctl device show 'Fr"), testing::ElementsAre("Front camera\tdevice 31"));
  EXPECT_THAT(offers("velctl device show \"Front c"),
              testing::ElementsAre("Front camera\tdevice 31"));
  EXPECT_THAT(offers("velctl device show Front\\ c"),
              testing::ElementsAre("Front camera\tdevice 31"));
  EXPECT_THAT(offers("velctl device list --vm debi"), testing::ElementsAre("debian\tVM 104"));
  EXPECT_THAT(offers("velctl device list --vm=debi"), testing::ElementsAre("--vm=debian\tVM 104"));
  EXPECT_THAT(offers("velctl device list --js"),
              testing::ElementsAre(HasSubstr("--json\tWrite data as JSON")));
  EXPECT_THAT(offers("velctl completion "), IsSupersetOf({"bash", "fish", "zsh"}));
}

TEST_F(FishTest, CompletesFileNamesWhereAFileIsMeant) {
  write("stroke of a pen.jsonl", "");

  EXPECT_THAT(offers("cd $HOME; velctl pen replay " + file("str").string()),
              testing::ElementsAre(testing::StartsWith(file("stroke of a pen.jsonl").string())));
}

TEST_F(FishTest, ANameIsNeverRun) {
  plug("$(touch $HOME/ran)");
  plug("(touch $HOME/ran)");

  EXPECT_THAT(offers("velctl device show "),
              IsSupersetOf({"(touch $HOME/ran)\tdevice 33", "$(touch $HOME/ran)\tdevice 32"}));
  EXPECT_FALSE(std::filesystem::exists(file("ran")));
}

// What all three ask.
TEST_F(OtherShellsTest, CandidatesAreLinesWithoutAnythingThatATerminalObeys) {
  plug("a\x1b[2Jb");
  plug(
      "win\xe2\x80\x8b"
      "11");

  const std::string out = run({VELCTL_PATH, "__complete", "device", "show", ""}).out;

  EXPECT_THAT(out, AllOf(HasSubstr("Front camera\tdevice 31\n"), HasSubstr("32\ta\\x1b[2Jb\n"),
                         HasSubstr("33\twin\\xe2\\x80\\x8b11\n")));
}

TEST_F(OtherShellsTest, WithoutAServiceNamesAreMissingAndNothingIsReported) {
  velsim().stop();

  const processes::Finished names = run({VELCTL_PATH, "__complete", "device", "show", ""});
  const processes::Finished options = run({VELCTL_PATH, "__complete", "device", "show", "--js"});

  EXPECT_EQ(names.status, 0);
  EXPECT_THAT(names.out + names.err, IsEmpty());
  EXPECT_THAT(options.out, HasSubstr("--json\t"));
}

TEST_F(OtherShellsTest, AServiceIsWaitedForForASecondOrAsLongAsTheUserSays) {
  // The library waits 3 seconds for the answer.
  velsim().control("fault getDeviceList 1 delay 1500");
  velsim().control("fault getDeviceList 2- delay 2900");
  const auto candidates = [this](const std::string& seconds) {
    processes::Process::Options given =
        options({VELCTL_PATH, "__complete", "device", "show", "Built"});
    given.environment["VELCTL_COMPLETION_SECONDS"] = seconds;
    const processes::Finished finished = processes::run(given);
    EXPECT_EQ(finished.status, 0);
    EXPECT_THAT(finished.err, IsEmpty());
    return finished.out;
  };

  EXPECT_EQ(candidates("240"), "Built-in camera\tdevice 12\n");
  EXPECT_THAT(candidates(""), IsEmpty());
  EXPECT_THAT(candidates("1"), IsEmpty());
  EXPECT_THAT(candidates("0"), IsEmpty()) << "no number of seconds";
}

TEST_F(OtherShellsTest, TheBusOfTheTypedCommandCounts) {
  velsim_testing::VelsimProcess other;
  other.control("plug camera \"Other camera\"");

  EXPECT_EQ(run({VELCTL_PATH, "__complete", "--bus", other.address(), "device", "show", "Oth"}).out,
            "Other camera\tdevice 31\n");
}

}  // namespace
}  // namespace velctl_tests
