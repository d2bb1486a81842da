// Files with recordings: what is written is read again, secrets are masked, mistakes have lines.

#include "vel/apps/local/velsim/recording/recording_file.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vel/apps/local/velsim/recording/value_json.h"

namespace velsim {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

const std::string kHeader = R"({"velsim":"recording","version":1})";

class RecordingFileTest : public ::testing::Test {
 protected:
  RecordingFileTest() {
    std::string pattern = (fs::temp_directory_path() / "recording-XXXXXX").string();
    folder_ = ::mkdtemp(pattern.data());
  }
  ~RecordingFileTest() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::string path() const { return (folder_ / "r.jsonl").string(); }

  void write(const std::string& text) const { std::ofstream(path()) << text; }
  std::string content() const {
    std::ostringstream text;
    text << std::ifstream(path()).rdbuf();
    return text.str();
  }

  std::vector<RecordedLine> read() const {
    std::vector<std::string> mistakes;
    std::vector<RecordedLine> lines = readRecording(path(), &mistakes);
    EXPECT_THAT(mistakes, IsEmpty());
    return lines;
  }
  // Without the path.
  std::vector<std::string> mistakesIn(const std::string& text) const {
    write(text);
    std::vector<std::string> mistakes;
    readRecording(path(), &mistakes);
    for (std::string& mistake : mistakes) {
      EXPECT_THAT(mistake, StartsWith(path()));
      mistake.erase(0, path().size());
    }
    return mistakes;
  }
  std::vector<RecordedLine> writtenAndRead(const RecordedLine& line, bool isWithSecrets) const {
    fs::remove(path());
    auto writer = RecordingWriter::create(path(), "direct:", isWithSecrets);
    EXPECT_TRUE(writer) << writer.reason();
    EXPECT_TRUE((*writer)->append(line));
    return read();
  }

 private:
  fs::path folder_;
};

RecordedLine callOf(const std::string& method, const qxbus::Values& arguments) {
  RecordedLine line;
  line.id = 1;
  line.client = ":1.7";
  line.name = method;
  line.values = MaskableValues(arguments.begin(), arguments.end());
  return line;
}

qxbus::Bytes blockOf(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST_F(RecordingFileTest, EveryValueIsReadAsItWasWritten) {
  const qxbus::Values values = {
      std::int16_t{-32768},
      std::int32_t{-1},
      std::numeric_limits<std::uint64_t>::max(),
      std::numeric_limits<std::int64_t>::min(),
      0.1,
      -0.0,
      5.0,
      std::numeric_limits<double>::infinity(),
      std::string("a\n\"\xc3\xa4"),
      std::string(),
      qxbus::Bytes{0, 255, 10},
      qxbus::Bytes{},
      std::uint16_t{65535},
      std::uint32_t{4294967295},
  };

  const std::vector<RecordedLine> lines = writtenAndRead(callOf("any", values), false);

  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].number, 2);
  EXPECT_EQ(lines[0].client, ":1.7");
  EXPECT_EQ(lines[0].name, "any");
  ASSERT_EQ(lines[0].values.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(lines[0].values[i], MaskableValue(values[i])) << i;
  }
}

TEST_F(RecordingFileTest, NotANumberKeepsItsBits) {
  const std::vector<RecordedLine> lines =
      writtenAndRead(callOf("any", {std::numeric_limits<double>::quiet_NaN()}), false);

  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(std::isnan(std::get<double>(*lines[0].values[0])));
}

TEST_F(RecordingFileTest, RecordsStandBesideTheirBytesByFieldName) {
  qxbus::Bytes joystick(138);
  joystick[2] = 0x57;
  joystick[3] = 0x7e;
  joystick[10] = 'P';
  RecordedLine call = callOf("getJoystickDevList", {});
  auto writer = RecordingWriter::create(path(), "direct:", false);
  ASSERT_TRUE(writer);
  ASSERT_TRUE((*writer)->append(call));
  call.kind = RecordedLine::Kind::kReply;
  call.values = {qxbus::Value(std::int32_t{1}), qxbus::Value(joystick)};
  ASSERT_TRUE((*writer)->append(call));

  EXPECT_THAT(content(),
              HasSubstr(R"("decoded":{"count":1,"list":[{"position":0,"vid":32343,"pid":0,)"
                        R"("mapping":0,"isCalibrated":0,"name":"P"}]}})"));
}

TEST_F(RecordingFileTest, SecretsAreMaskedUnlessTheyAreAskedFor) {
  struct Row {
    const char* method;
    qxbus::Values arguments;
    std::size_t secret;
    const char* text;
  };
  const Row rows[] = {
      {"updateDriveToken", {blockOf("tok-4711")}, 0, "tok-4711"},
      {"addNetworkPrinter",
       {std::string("10.0.0.7"), std::string("P"), std::string("pin=4711")},
       2,
       "4711"},
      {"addNetworkDevice", {std::int32_t{1}, blockOf("user=me;key=4711")}, 1, "4711"},
      {"addPrinter",
       {std::string("P"), std::string("ipp://me:p@ss4711@host/q"), std::string("d")},
       1,
       "4711"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method);

    const std::vector<RecordedLine> lines =
        writtenAndRead(callOf(row.method, row.arguments), false);

    EXPECT_THAT(content(), Not(HasSubstr(row.text)));
    const qxbus::Bytes bytes = blockOf(row.text);
    EXPECT_THAT(content(), Not(HasSubstr("34373131")));  // 4711 in hexadecimal
    ASSERT_EQ(lines.size(), 1u);
    for (std::size_t i = 0; i < row.arguments.size(); ++i) {
      EXPECT_EQ(lines[0].values[i].has_value(), i != row.secret);
    }

    const std::vector<RecordedLine> open = writtenAndRead(callOf(row.method, row.arguments), true);

    ASSERT_EQ(open.size(), 1u);
    EXPECT_EQ(open[0].values[row.secret], MaskableValue(row.arguments[row.secret]));
  }
}

TEST_F(RecordingFileTest, UsersInTheAddressesOfAnAnswerAreMasked) {
  RecordedLine call = callOf("searchAllPrinter", {});
  auto writer = RecordingWriter::create(path(), "direct:", false);
  ASSERT_TRUE(writer);
  ASSERT_TRUE((*writer)->append(call));
  call.kind = RecordedLine::Kind::kReply;
  call.values = {qxbus::Value(
      std::string(R"([{"uri":"smb://me:secret@a/b"},{"uri":"ipp://host/x@y"},{"mail":"a@b"}])"))};
  ASSERT_TRUE((*writer)->append(call));

  EXPECT_EQ(std::get<std::string>(*read().at(1).values[0]),
            R"([{"uri":"smb://masked@a/b"},{"uri":"ipp://host/x@y"},{"mail":"a@b"}])");
}

TEST_F(RecordingFileTest, OnlyItsUserCanReadIt) {
  ASSERT_TRUE(RecordingWriter::create(path(), "direct:", false));

  struct stat state = {};
  ASSERT_EQ(::stat(path().c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777, 0600u);
}

TEST_F(RecordingFileTest, OnlyItsUserCanReadAnEmptyFileThatWasThere) {
  write("");
  ASSERT_EQ(::chmod(path().c_str(), 0644), 0);

  ASSERT_TRUE(RecordingWriter::create(path(), "direct:", false));

  struct stat state = {};
  ASSERT_EQ(::stat(path().c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777, 0600u);
}

TEST_F(RecordingFileTest, ALinkOfTheUserIsFollowed) {
  const std::string target = path() + ".target";
  std::ofstream(target) << "";
  fs::create_symlink(target, path());

  ASSERT_TRUE(RecordingWriter::create(path(), "direct:", false));

  EXPECT_GT(fs::file_size(target), 0u);
}

TEST_F(RecordingFileTest, ALinkThatLeadsNowhereIsNotFollowed) {
  const std::string target = path() + ".target";
  fs::create_symlink(target, path());

  EXPECT_FALSE(RecordingWriter::create(path(), "direct:", false));

  EXPECT_FALSE(fs::exists(target));
}

// What another user puts at the path, in a directory that all can write to.
TEST_F(RecordingFileTest, WhatAnotherUserHasPutAtThePathIsRefused) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can give a file away";
  }
  constexpr uid_t kAnotherUser = 65534;
  const std::string target = path() + ".target";
  const auto refusal = [this] {
    const auto writer = RecordingWriter::create(path(), "direct:", false);
    fs::remove(path());
    return writer.reason();
  };
  const std::string refused = "will not write to " + path() + ": another user has put it there";

  // To read the recording.
  write("");
  ASSERT_EQ(::chown(path().c_str(), kAnotherUser, kAnotherUser), 0);
  EXPECT_EQ(refusal(), refused);
  // The same, further away.
  std::ofstream(target) << "";
  ASSERT_EQ(::chown(target.c_str(), kAnotherUser, kAnotherUser), 0);
  fs::create_symlink(target, path());
  EXPECT_EQ(refusal(), "will not write to " + path() + ": it belongs to another user");
  // To have it written into a file of the user.
  fs::remove(target);
  std::ofstream(target) << "";
  fs::create_symlink(target, path());
  ASSERT_EQ(::lchown(path().c_str(), kAnotherUser, kAnotherUser), 0);
  EXPECT_EQ(refusal(), refused);
  // Or to keep velsim waiting.
  ASSERT_EQ(::mkfifo(path().c_str(), 0666), 0);
  ASSERT_EQ(::chown(path().c_str(), kAnotherUser, kAnotherUser), 0);
  EXPECT_EQ(refusal(), refused);

  EXPECT_EQ(fs::file_size(target), 0u);
}

TEST_F(RecordingFileTest, AFileThatHoldsSomethingIsNotOverwritten) {
  write("precious\n");

  const auto writer = RecordingWriter::create(path(), "direct:", false);

  EXPECT_THAT(writer.reason(), StartsWith("will not overwrite " + path()));
  EXPECT_EQ(content(), "precious\n");
}

TEST_F(RecordingFileTest, AFileThatCannotBeWrittenGivesTheReason) {
  EXPECT_THAT(RecordingWriter::create("/nosuch/r.jsonl", "direct:", false).reason(),
              HasSubstr("/nosuch/r.jsonl: No such file or directory"));
  if (fs::exists("/dev/full")) {
    EXPECT_THAT(RecordingWriter::create("/dev/full", "direct:", false).reason(),
                HasSubstr("/dev/full: No space left on device"));
  }
}

TEST_F(RecordingFileTest, EveryMistakeIsReportedWithItsLine) {
  const std::string good =
      R"({"time":1,"kind":"call","id":1,"client":":1.1","method":"m","values":[]})";

  EXPECT_THAT(
      mistakesIn(
          kHeader + '\n' + good + '\n' +
          "[]\n"
          R"({"time":2,"kind":"cal"})"
          "\n"
          R"({"time":-1,"kind":"gone"})"
          "\n"
          R"({"time":2,"kind":"event","name":"e","values":[]})"
          "\n"
          R"({"time":2,"kind":"gone","extra":1})"
          "\n"
          R"({"time":2,"kind":"event","name":"e","broadcast":false,"values":[{"i":7},{"n":40000}]})"
          "\n"
          R"({"time":2,"kind":"event","name":"e","broadcast":false,"values":[{"n":-32769}]})"
          "\n"
          R"({"time":2,"kind":"event","name":"e","broadcast":false,"values":[{"ay":"0g"}]})"
          "\n"
          R"({"time":2,"kind":"event","name":"e","broadcast":false,"values":[{"z":1}]})"
          "\n"
          R"({"time":2,"kind":"event","name":"e","broadcast":false,"values":[{"masked":"i"}]})"
          "\n" +
          good + '\n' +
          R"({"time":3,"kind":"reply","id":9,"duration":1,"method":"m","values":[]})" + '\n' +
          R"({"time":3,"kind":"reply","id":1,"duration":1,"method":"n","values":[]})" + '\n' +
          R"({"time":0.5,"kind":"gone"})" + '\n' + R"({"time":3,"kind":"err)"),
      ElementsAre(
          ":3: must be a JSON object",
          ":4: kind: must be call, reply, error, event, gone or there, got \"cal\"",
          ":5: time: must be milliseconds from 0 to 10000000000", ":6: broadcast: is missing",
          ":7: extra: unknown member; the members are time, kind, decoded",
          ":8: values: value 2: \"n\" must hold a number from -32768 to 32767",
          ":9: values: value 1: \"n\" must hold a number from -32768 to 32767",
          ":10: values: value 1: \"ay\" must hold pairs of hexadecimal digits",
          HasSubstr(":11: values: value 1: unknown type \"z\" of a value; the types are n, i"),
          ":12: values: only a call may have masked values",
          ":13: id: a call above has the same id 1",
          ":14: id: no call above waits for an answer to 9", ":15: method: the call was m",
          ":16: time: is before the line above",
          ":17: is no JSON object, or ends early: the recording may be cut"));
}

TEST_F(RecordingFileTest, AHeaderMustBeThereAndOfThisVersion) {
  EXPECT_THAT(mistakesIn(""),
              ElementsAre(":1: the file is empty: a recording begins with a header"));
  EXPECT_THAT(mistakesIn("{}\n"), ElementsAre(StartsWith(":1: is no header of a recording")));
  EXPECT_THAT(mistakesIn("\x7f"
                         "ELF\n"),
              ElementsAre(StartsWith(":1: ")));
  EXPECT_THAT(mistakesIn(R"({"velsim":"recording","version":2})"
                         "\n"),
              ElementsAre(":1: version: must be 1, which this velsim reads, got 2"));
}

TEST_F(RecordingFileTest, AnotherFileThanARecordingIsReported) {
  std::vector<std::string> mistakes;
  readRecording("/nosuch.jsonl", &mistakes);
  readRecording("/", &mistakes);

  EXPECT_THAT(mistakes, ElementsAre(HasSubstr("/nosuch.jsonl: No such file or directory"),
                                    HasSubstr("cannot read /")));
}

// Hostile files: each is read, or refused with a line; none brings the reader down.
TEST_F(RecordingFileTest, NoFileIsTooStrange) {
  const std::string event =
      R"({"time":2,"kind":"event","name":"velevent","broadcast":false,"values":[{"i":0},{"i":4},{"ay":"0c00"}]})";
  std::mt19937 random(4711);
  for (int round = 0; round < 500; ++round) {
    std::string text = kHeader + '\n' + event + '\n';
    for (int change = 0; change < 3; ++change) {
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0:
          text[at] = static_cast<char>(random() % 256);
          break;
        case 1:
          text.erase(at, random() % 20);
          break;
        default:
          text.insert(at, text.substr(random() % text.size(), random() % 30));
          break;
      }
      text += '\n';
    }
    for (const std::string& mistake : mistakesIn(text)) {
      EXPECT_THAT(mistake, StartsWith(":"));
    }
  }
  EXPECT_THAT(mistakesIn(kHeader + '\n' + std::string(100000, '[') + '\n'),
              ElementsAre(StartsWith(":2: ")));
  EXPECT_EQ(mistakesIn(kHeader + '\n' + std::string(5000, '\n')).size(), 100u);
  // It overflowed the stack: the version was written into the message by a function that calls
  // itself.
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  EXPECT_THAT(mistakesIn(R"({"velsim":"recording","version":)" + deep + "}\n"),
              ElementsAre(":1: version: must be 1, which this velsim reads, got an array"));
  EXPECT_THAT(mistakesIn(R"({"velsim":)" + deep + R"(,"version":1})"),
              ElementsAre(StartsWith(":1: is no header of a recording")));
}

// So that a person can read it, and that both tools agree on the line.
TEST(ValueJsonTest, TextsOfALineAreInUtf8) {
  EXPECT_EQ(velsim::lineOf(OrderedJson("T\xC3\xBCr")), "\"T\xC3\xBCr\"");
}

}  // namespace
}  // namespace velsim
