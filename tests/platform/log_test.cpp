#include "tests/platform/log_test.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// --- Before initialisation ----------------------------------------------------------------------

TEST_F(LogTest, BeforeInitialisationOnlyErrorsAreWrittenToStandardError) {
  const std::string written = standardErrorOf([] {
    log(kDebug, "debug text");
    log(kBetween, "text between");
    log(kError, "error text");
    log(kError + 1, "worse text");
  });

  EXPECT_EQ(written, "[VEL_LOG] error text\n[VEL_LOG] worse text\n");
}

TEST_F(LogTest, BeforeInitialisationControlCharactersAreEscaped) {
  const std::string written =
      standardErrorOf([] { log(kError, "a\x1b[2J\n\xc2\x9b\xff \xc3\xa4"); });

  EXPECT_EQ(written, "[VEL_LOG] a\\x1b[2J\\x0a\\xc2\\x9b\\xff \xc3\xa4\n");
}

TEST_F(LogTest, BeforeInitialisationTheLevelAddsNothing) {
  const std::string written = standardErrorOf(
      [] {
        log(kDebug, "debug text");
        log(kError, "error text");
      },
      "debug");

  EXPECT_EQ(written, "[VEL_LOG] error text\n");
}

TEST_F(LogTest, BeforeInitialisationTheLevelSuppressesErrors) {
  EXPECT_EQ(standardErrorOf([] { log(kError, "error text"); }, "off"), "");
}

// --- Formatting ---------------------------------------------------------------------------------

TEST_F(LogTest, TextsAreFormattedAsByPrintf) {
  const std::string written = standardErrorOf([] {
    norvoLogPrint(0, kError, "VEL_LOG", "%s %d %u %lld 0x%.4x %ld%%", "text", -1, 4000000000u,
                  -5000000000ll, 10, 7L);
  });

  EXPECT_EQ(written, "[VEL_LOG] text -1 4000000000 -5000000000 0x000a 7%\n");
}

TEST_F(LogTest, ANullTextIsPrintedAsNull) {
  const std::string written = standardErrorOf([] {
    const char* volatile null = nullptr;
    norvoLogPrint(0, kError, "VEL_LOG", "name:%s", null);
  });

  EXPECT_EQ(written, "[VEL_LOG] name:(null)\n");
}

TEST_F(LogTest, BracesAreOrdinaryCharacters) {
  EXPECT_EQ(standardErrorOf([] { log(kError, "{} {0} {unclosed"); }),
            "[VEL_LOG] {} {0} {unclosed\n");
}

TEST_F(LogTest, ALongTextIsNotCutOff) {
  const std::string text(100000, 'x');

  EXPECT_EQ(standardErrorOf([&text] { log(kError, text); }), "[VEL_LOG] " + text + "\n");
}

TEST_F(LogTest, ANullTagOrFormatIsHarmless) {
  const std::string written = standardErrorOf([] {
    const char* volatile null = nullptr;
    // A plain pointer, for which the compiler does not check the format.
    void (*const print)(int, int, const char*, const char*, ...) = &norvoLogPrint;
    print(0, kError, null, "text");
    print(0, kError, "VEL_LOG", null);
  });

  EXPECT_EQ(written, "[] text\n");
}

// --- Files --------------------------------------------------------------------------------------

TEST_F(LogTest, LinesGoToAFileInTheDirectory) {
  const std::string written = standardErrorOf([] {
    const TemporaryDirectory directory;
    pellamLogInit(directory.path().c_str());

    log(kDebug, "debug text");
    norvoLogPrint(0, kBetween, "OTHER", "text {} between");
    log(kError, "error text");

    EXPECT_THAT(
        linesOf(directory / "velproxy.log"),
        ElementsAre(
            AllOf(ContainsRegex("^[0-9-]+ [0-9:.]+ "), HasSubstr(" debug [VEL_LOG] debug text")),
            HasSubstr(" [OTHER] text {} between"), HasSubstr(" error [VEL_LOG] error text")));
  });

  EXPECT_EQ(written, "");
}

TEST_F(LogTest, AnErrorIsOnTheDiskAtOnce) {
  standardErrorOf([] {
    const TemporaryDirectory directory;
    pellamLogInit(directory.path().c_str());
    for (int i = 0; i < 3; ++i) {
      log(kError, "error text");
      EXPECT_EQ(linesOf(directory / "velproxy.log").size(), static_cast<std::size_t>(i + 1));
    }
  });
}

TEST_F(LogTest, EarlierLinesAreKept) {
  standardErrorOf([] {
    const TemporaryDirectory directory;
    std::ofstream(directory / "velproxy.log") << "of an earlier run\n";
    pellamLogInit(directory.path().c_str());
    log(kError, "of this run");

    EXPECT_THAT(linesOf(directory / "velproxy.log"),
                ElementsAre("of an earlier run", HasSubstr("of this run")));
  });
}

TEST_F(LogTest, TheDirectoryIsCreated) {
  standardErrorOf([] {
    const TemporaryDirectory directory;
    pellamLogInit((directory / "a" / "b").c_str());
    log(kError, "error text");

    EXPECT_THAT(contentOf(directory / "a" / "b" / "velproxy.log"), HasSubstr("error text"));
  });
}

TEST_F(LogTest, InitialisingAgainChangesNothing) {
  standardErrorOf([] {
    const TemporaryDirectory directory;
    for (int i = 0; i < 3; ++i) {
      pellamLogInit(directory.path().c_str());
      log(kError, "error text");
    }

    EXPECT_EQ(linesOf(directory / "velproxy.log").size(), 3u);
  });
}

TEST_F(LogTest, AnotherDirectoryReplacesTheFirst) {
  standardErrorOf([] {
    const TemporaryDirectory first;
    const TemporaryDirectory second;
    pellamLogInit(first.path().c_str());
    log(kError, "one");
    pellamLogInit(second.path().c_str());
    log(kError, "two");

    EXPECT_THAT(linesOf(first / "velproxy.log"), ElementsAre(HasSubstr("one")));
    EXPECT_THAT(linesOf(second / "velproxy.log"), ElementsAre(HasSubstr("two")));
  });
}

TEST_F(LogTest, ANullOrEmptyDirectoryIsIgnored) {
  const std::string written = standardErrorOf([] {
    pellamLogInit(nullptr);
    pellamLogInit("");
    log(kError, "error text");
    log(kDebug, "debug text");
  });

  EXPECT_EQ(written, "[VEL_LOG] error text\n");
}

TEST_F(LogTest, WithoutAUsableDirectoryErrorsGoToStandardError) {
  const std::string written = standardErrorOf([] {
    const TemporaryDirectory directory;
    std::ofstream(directory / "file") << "not a directory";
    pellamLogInit((directory / "file" / "below").c_str());
    log(kError, "error text");
    log(kDebug, "debug text");
  });

  EXPECT_THAT(written, AllOf(HasSubstr("cannot log to "), HasSubstr("[VEL_LOG] error text\n"),
                             Not(HasSubstr("debug text"))));
}

TEST_F(LogTest, FilesAreRotatedBeforeTheyGrowWithoutLimit) {
  standardErrorOf([] {
    const TemporaryDirectory directory;
    pellamLogInit(directory.path().c_str());
    const std::string text(64 * 1024, 'x');
    constexpr int kLines = 500;  // 32 MB
    for (int i = 0; i < kLines; ++i) {
      log(kDebug, text);
    }
    log(kError, "the last line");

    int files = 0;
    std::uintmax_t size = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory.path())) {
      ++files;
      size += entry.file_size();
    }
    EXPECT_GT(files, 1);
    EXPECT_LT(files, 10);
    EXPECT_LT(size, kLines * text.size());
    EXPECT_EQ(linesOf(directory / "velproxy.log").back().find("the last line"),
              linesOf(directory / "velproxy.log").back().size() - 13);
  });
}

TEST_F(LogTest, ManyThreadsMayLogWhileTheLogIsInitialised) {
  standardErrorOf([] {
    const TemporaryDirectory directory;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&directory] {
        for (int k = 0; k < 25; ++k) {
          pellamLogInit(directory.path().c_str());
          log(kError, "whole line");
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }

    EXPECT_THAT(linesOf(directory / "velproxy.log"),
                AllOf(testing::SizeIs(100), testing::Each(testing::EndsWith("] whole line"))));
  });
}

// --- QX_LOG_LEVEL -------------------------------------------------------------------------------

struct LevelCase {
  const char* name;
  const char* value;
  const char* written;  // which of debug, between and error
};

class LogLevelTest : public LogTest, public testing::WithParamInterface<LevelCase> {};

TEST_P(LogLevelTest, IsTheLeastLevelWritten) {
  standardErrorOf(
      [] {
        const TemporaryDirectory directory;
        pellamLogInit(directory.path().c_str());
        log(kDebug, "D");
        log(kBetween, "B");
        log(kError, "E");
        // Written at every level, and flushes the lines before it.
        log(1000, "end");

        std::string written;
        for (const std::string& line : linesOf(directory / "velproxy.log")) {
          written += line.back() == 'd' ? "" : line.substr(line.size() - 1);
        }
        EXPECT_EQ(written, GetParam().written);
      },
      GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Values, LogLevelTest,
    testing::Values(LevelCase{"Unset", "", "DBE"}, LevelCase{"Debug", "debug", "DBE"},
                    LevelCase{"Info", "info", "BE"}, LevelCase{"Warn", "warn", "BE"},
                    LevelCase{"Error", "error", "E"}, LevelCase{"Off", "off", ""},
                    LevelCase{"Capitals", "ERROR", "E"}, LevelCase{"Zero", "0", "DBE"},
                    LevelCase{"Five", "5", "DBE"}, LevelCase{"Six", "6", "BE"},
                    LevelCase{"Seven", "7", "E"}, LevelCase{"Eight", "8", ""},
                    LevelCase{"Nonsense", "loud", "DBE"}, LevelCase{"NumberAndMore", "7x", "DBE"},
                    LevelCase{"Negative", "-1", "DBE"},
                    LevelCase{"Huge", "99999999999999999999", "DBE"}),
    [](const testing::TestParamInfo<LevelCase>& row) { return row.param.name; });

}  // namespace
