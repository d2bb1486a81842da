#include "vel/apps/local/velctl/output/table.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/printable.h"
#include "vel/apps/local/velctl/output/width.h"

namespace velctl {
namespace {

using testing::HasSubstr;
using testing::Not;

const Terminal kPipe;

Terminal wide(std::size_t columns) {
  return {columns, false};
}

Terminal coloured() {
  return {std::nullopt, true};
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::size_t widestLine(const std::string& text) {
  std::size_t widest = 0;
  for (const std::string& line : linesOf(text)) {
    widest = std::max(widest, widthOf(line));
  }
  return widest;
}

// Wide, combining and hostile names.
Table devices() {
  Table table({"DEVICE", "STATUS", "VM", "NAME"});
  table.add(
      {"31", "attached (2)", "win11", "Front camera of the conference room on the second floor"});
  table.add(
      {"32", "detached (0)", "", "\xe5\x89\x8d\xe9\x9d\xa2\xe3\x82\xab\xe3\x83\xa1\xe3\x83\xa9"});
  table.add(
      {"65535", "attached (2)", "\xe7\xa0\x94\xe7\xa9\xb6\xe5\xae\xa4", "Cafe\xcc\x81 tablet"});
  table.add({"7", "attached (2)",
             base::printable("win\xe2\x80\x8b"
                             "11"),
             base::printable("\x1b[2J\xe2\x80\xaegpj.exe")});
  return table;
}

TEST(TableTest, OnAWideTerminalNothingIsCut) {
  const char text[] =
      "DEVICE  STATUS        VM                 NAME\n"
      "31      attached (2)  win11              Front camera of the conference room on the second "
      "floor\n"
      "32      detached (0)                     "
      "\xe5\x89\x8d\xe9\x9d\xa2\xe3\x82\xab\xe3\x83\xa1\xe3\x83\xa9\n"
      "65535   attached (2)  \xe7\xa0\x94\xe7\xa9\xb6\xe5\xae\xa4             Cafe\xcc\x81 tablet\n"
      "7       attached (2)  win\\xe2\\x80\\x8b11  \\x1b[2J\\xe2\\x80\\xaegpj.exe";

  EXPECT_EQ(devices().text(wide(200)), text);
  EXPECT_EQ(devices().text(kPipe), text) << "a pipe gets everything";
}

TEST(TableTest, OnATerminalOf80ColumnsTheLongestNameIsCut) {
  EXPECT_EQ(
      devices().text(wide(80)),
      "DEVICE  STATUS        VM                 NAME\n"
      "31      attached (2)  win11              Front camera of the conference room "
      "on\xe2\x80\xa6\n"
      "32      detached (0)                     "
      "\xe5\x89\x8d\xe9\x9d\xa2\xe3\x82\xab\xe3\x83\xa1\xe3\x83\xa9\n"
      "65535   attached (2)  \xe7\xa0\x94\xe7\xa9\xb6\xe5\xae\xa4             Cafe\xcc\x81 tablet\n"
      "7       attached (2)  win\\xe2\\x80\\x8b11  \\x1b[2J\\xe2\\x80\\xaegpj.exe");
}

TEST(TableTest, OnATerminalOf40ColumnsTheWidestColumnsAreCutAlike) {
  const std::string text = devices().text(wide(40));

  EXPECT_EQ(text,
            "DEVICE  STATUS     VM         NAME\n"
            "31      attached\xe2\x80\xa6  win11      Front cam\xe2\x80\xa6\n"
            "32      detached\xe2\x80\xa6             "
            "\xe5\x89\x8d\xe9\x9d\xa2\xe3\x82\xab\xe3\x83\xa1\xe3\x83\xa9\n"
            "65535   attached\xe2\x80\xa6  \xe7\xa0\x94\xe7\xa9\xb6\xe5\xae\xa4     Cafe"
            "\xcc\x81 tabl\xe2\x80\xa6\n"
            "7       attached\xe2\x80\xa6  win\\xe2\\\xe2\x80\xa6  \\x1b[2J\\x\xe2\x80\xa6");
  EXPECT_LE(widestLine(text), 40u);
}

TEST(TableTest, ATableThatFitsExactlyIsNotCut) {
  Table table;
  table.add({"a device", "attached to win11"});

  EXPECT_EQ(table.text(wide(27)), "a device  attached to win11");
  EXPECT_EQ(table.text(wide(26)), "a device  attached to win\xe2\x80\xa6");
}

TEST(TableTest, NoColumnOfTextsIsNarrowerThanEightOrItsHeading) {
  Table table({"A LONG HEADING", "B"});
  table.add({"a text that is long enough", "another text that is long enough"});

  EXPECT_EQ(table.text(wide(3)),
            "A LONG HEADING  B\n"
            "a text that i\xe2\x80\xa6  another\xe2\x80\xa6");
}

TEST(TableTest, NumbersAreNeverCut) {
  Table table({"SOURCE", "IDS", "NAME"});
  table.add({"18446744073709551615", "046d:c52b-00000000", "Front camera"});
  table.add({"", "0x00000000000000ff", ""});

  EXPECT_EQ(table.text(wide(20)),
            "SOURCE                IDS                 NAME\n"
            "18446744073709551615  046d:c52b-00000000  Front c\xe2\x80\xa6\n"
            "                      0x00000000000000ff");
}

TEST(TableTest, NoBlanksStandAtTheEndOfALine) {
  Table table({"A", "LONGER", "C"});
  table.add({"\xc3\xa4\xc3\xa4\xc3\xa4", "1", "x"});
  table.add({"1", "2", ""});
  table.add({"1", "", ""});
  table.add({"1"});

  EXPECT_EQ(table.text(kPipe),
            "A    LONGER  C\n"
            "\xc3\xa4\xc3\xa4\xc3\xa4  1       x\n"
            "1    2\n"
            "1\n"
            "1");
}

TEST(TableTest, ATableMayHaveNoHeadings) {
  Table table;
  EXPECT_TRUE(table.isEmpty());
  EXPECT_EQ(table.text(kPipe), "");
  table.add({"win11", "101"});
  table.add({"debian", "104"});

  EXPECT_FALSE(table.isEmpty());
  EXPECT_EQ(table.text(kPipe), "win11   101\ndebian  104");
}

TEST(TableTest, HeadingsAloneAreATableThatIsEmpty) {
  const Table table({"A", "B"});

  EXPECT_TRUE(table.isEmpty());
  EXPECT_EQ(table.text(kPipe), "A  B");
}

TEST(TableTest, ARowMayBeEmpty) {
  Table table;
  table.add({"", ""});
  table.add({"a", "b"});

  EXPECT_EQ(table.text(kPipe), "\na  b");
}

TEST(TableTest, ColourIsAroundTheTextOnly) {
  Table table({"VM", "STATUS"});
  table.add({"win11", Cell("attached (2)", Style::kGood)});
  table.add({Cell("a", Style::kBad), Cell("", Style::kWarning)});

  EXPECT_EQ(table.text(coloured()),
            "\x1b[1mVM\x1b[0m     \x1b[1mSTATUS\x1b[0m\n"
            "win11  \x1b[32mattached (2)\x1b[0m\n"
            "\x1b[31ma\x1b[0m");
  EXPECT_THAT(table.text(kPipe), Not(HasSubstr("\x1b")));
}

TEST(TableTest, EveryStyleButThePlainOneHasCodes) {
  const Style styles[] = {Style::kHeading, Style::kGood, Style::kWarning, Style::kBad,
                          Style::kFaint};
  std::vector<std::string> texts;
  for (const Style style : styles) {
    Table table;
    table.add({Cell("a", style)});
    texts.push_back(table.text(coloured()));
  }

  EXPECT_THAT(texts, testing::ElementsAre("\x1b[1ma\x1b[0m", "\x1b[32ma\x1b[0m", "\x1b[33ma\x1b[0m",
                                          "\x1b[31ma\x1b[0m", "\x1b[2ma\x1b[0m"));
}

TEST(FieldsTest, ValuesStandInOneColumn) {
  EXPECT_EQ(fieldsText({{"name", "Front camera"}, {"vendor id", "046d"}, {"vm", ""}}, kPipe),
            "name       Front camera\n"
            "vendor id  046d\n"
            "vm");
  EXPECT_EQ(fieldsText({}, kPipe), "");
}

TEST(FieldsTest, AValueIsNotCut) {
  const std::string value(100, 'x');

  EXPECT_EQ(fieldsText({{"text", value}}, wide(40)), "text  " + value);
}

TEST(FieldsTest, LinesOfAValueStandBelowEachOther) {
  EXPECT_EQ(fieldsText({{"text", "one\n\ntwo\n"}, {"status", "0"}}, kPipe),
            "text    one\n"
            "\n"
            "        two\n"
            "status  0");
}

TEST(FieldsTest, NamesAreHeadings) {
  EXPECT_EQ(fieldsText({{"status", Cell("busy (7)", Style::kBad)}}, coloured()),
            "\x1b[1mstatus\x1b[0m  \x1b[31mbusy (7)\x1b[0m");
}

}  // namespace
}  // namespace velctl
