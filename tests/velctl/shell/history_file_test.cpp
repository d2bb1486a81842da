#include "vel/apps/local/velctl/shell/history_file.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velctl {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class HistoryFileTest : public testing::Test {
 protected:
  HistoryFileTest() {
    std::string name = (fs::temp_directory_path() / "velctl-history-XXXXXX").string();
    directory_ = ::mkdtemp(name.data());
  }
  ~HistoryFileTest() override { fs::remove_all(directory_); }

  fs::path file() const { return directory_ / "velctl_history"; }
  HistoryFile history() const { return HistoryFile(directory_.string()); }
  void write(const std::string& content) const { std::ofstream(file()) << content; }
  std::string content() const {
    std::ostringstream text;
    text << std::ifstream(file()).rdbuf();
    return text.str();
  }
  mode_t mode() const {
    struct stat status = {};
    EXPECT_EQ(::stat(file().c_str(), &status), 0);
    return status.st_mode & 07777;
  }
  const fs::path& directory() const { return directory_; }

 private:
  fs::path directory_;
};

TEST_F(HistoryFileTest, LinesAreThereInTheNextSession) {
  history().append("device list");
  history().append("device show '\xe5\x89\x8d'");

  EXPECT_THAT(history().load(), ElementsAre("device list", "device show '\xe5\x89\x8d'"));
}

TEST_F(HistoryFileTest, TheFileIsForItsUserAlone) {
  history().append("device list");
  EXPECT_EQ(mode(), mode_t{0600});

  ::chmod(file().c_str(), 0644);
  history().append("device list");
  EXPECT_EQ(mode(), mode_t{0600});
  ::chmod(file().c_str(), 0666);
  history().load();
  EXPECT_EQ(mode(), mode_t{0600});
}

TEST_F(HistoryFileTest, AFileThatIsTooLongKeepsItsLastLines) {
  std::string lines;
  for (std::size_t i = 1; i <= HistoryFile::kMostLines + 2; ++i) {
    lines += "device show " + std::to_string(i) + '\n';
  }
  write(lines);

  const std::vector<std::string> loaded = history().load();

  ASSERT_THAT(loaded, SizeIs(HistoryFile::kMostLines));
  EXPECT_EQ(loaded.front(), "device show 3");
  EXPECT_EQ(content().substr(0, 14), "device show 3\n");
  EXPECT_EQ(mode(), mode_t{0600});
  EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(directory()), {}), SizeIs(1));
}

TEST_F(HistoryFileTest, LinesThatATerminalObeysAreLeftOut) {
  write("device list\n\x1b[2J\n\ndevice show \xe2\x80\xae\n");

  EXPECT_THAT(history().load(), ElementsAre("device list"));
  history().append("device show \x1b[2J");
  EXPECT_THAT(history().load(), ElementsAre("device list"));
}

TEST_F(HistoryFileTest, ALinkIsNoHistory) {
  const fs::path other = directory() / "other";
  std::ofstream(other) << "device list\n";
  fs::create_symlink(other, file());

  history().append("device show 1");

  EXPECT_THAT(history().load(), IsEmpty());
  EXPECT_EQ(fs::file_size(other), 12U);
}

TEST_F(HistoryFileTest, WithoutADirectoryThereIsNoHistory) {
  HistoryFile("").append("device list");
  EXPECT_THAT(HistoryFile("").load(), IsEmpty());
  HistoryFile("/nowhere/at/all").append("device list");
  EXPECT_THAT(HistoryFile("/nowhere/at/all").load(), IsEmpty());
}

TEST_F(HistoryFileTest, APipeInItsPlaceHoldsNothingUp) {
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);

  history().append("device list");
  EXPECT_THAT(history().load(), IsEmpty());
}

}  // namespace
}  // namespace velctl
