// The page of the quality: bandwidth reports of any client, as lines over time.

#include "examples/panel/quality/quality_page.h"

#include "tests/panel/window_test.h"

namespace panel {
namespace {

using testing::HasSubstr;

class QualityTest : public WindowTest {
 protected:
  static void report(const std::string& vm, std::uint64_t first, std::uint64_t second) {
    const vel::Result<void> sent = vel::Client().reportBandwidth(vm, first, second);
    ASSERT_TRUE(sent) << sent.error().message();
  }

  QualityPage& quality = window.pages().page<QualityPage>();
};

TEST_F(QualityTest, PlotsWhatAClientReportsForTheChosenVm) {
  ASSERT_TRUE(isReady());
  choose("win10");
  window.pages().setCurrentWidget(&quality);
  EXPECT_EQ(quality.title().toStdString(), "Bandwidth of win10, as its clients report it");
  EXPECT_EQ(quality.remark().toStdString(), "No client has reported yet.");
  const QImage before = quality.plot().grab().toImage();

  report("win10", 100, 30);
  ASSERT_TRUE(loopUntil([&] { return !quality.model().of("win10").empty(); }));
  report("win10", 180, 60);
  ASSERT_TRUE(loopUntil([&] { return quality.model().of("win10").back().first == 180; }));

  EXPECT_EQ(quality.model().of("win10").front().second, 30);
  EXPECT_EQ(quality.remark(), "");
  EXPECT_EQ(quality.plot().accessibleDescription().toStdString(),
            "First figure: 180, Second figure: 60");
  EXPECT_NE(quality.plot().grab().toImage(), before);
  choose("ubuntu");
  EXPECT_EQ(quality.remark().toStdString(), "No client has reported yet.");
}

TEST_F(QualityTest, NothingIsReadWhileThePageIsHidden) {
  ASSERT_TRUE(isReady());
  QualityModel readings(service, std::chrono::milliseconds(1));
  report("win10", 1, 2);
  service.refresh();
  readings.watch(true);
  ASSERT_TRUE(loopUntil([&] { return readings.of("win10").size() >= 2; }));

  readings.watch(false);
  window.pages().setCurrentWidget(&quality);
  // Events come in order: with one of the page, those that were on their way have come.
  ASSERT_TRUE(loopUntil([&] { return quality.model().of("win10").size() >= 1; }));
  const std::size_t read = readings.of("win10").size();

  ASSERT_TRUE(loopUntil([&] { return quality.model().of("win10").size() >= 2; }));
  EXPECT_LE(readings.of("win10").size(), read + 1) << "the one that was under way";
}

TEST_F(QualityTest, AServiceWithoutTheCommandSaysSo) {
  ASSERT_TRUE(isReady());
  velsim().control("fault dovelcmd 1- error \"no such command\"");
  window.pages().setCurrentWidget(&quality);

  EXPECT_TRUE(loopUntil([&] { return quality.remark().contains("No such command."); }));
}

TEST_F(QualityTest, ReadingsAreForgottenOneByOne) {
  ASSERT_TRUE(isReady());
  QualityModel readings(service, std::chrono::milliseconds(0));
  report("win10", 1, 2);
  service.refresh();
  readings.watch(true);

  ASSERT_TRUE(
      loopUntil([&] { return readings.of("win10").size() == QualityModel::kMostReadings; }));
  report("win10", 7, 8);
  ASSERT_TRUE(loopUntil([&] { return readings.of("win10").back().first == 7; }));
  EXPECT_EQ(readings.of("win10").size(), QualityModel::kMostReadings);
}

TEST(PlotTest, TheAxisEndsWithARoundNumber) {
  const std::pair<double, double> rows[] = {{0, 1},       {1, 1},        {1.1, 2},     {3, 5},
                                            {51, 100},    {100, 100},    {100.5, 200}, {-1, 1},
                                            {0.03, 0.05}, {1.8e19, 2e19}};
  for (const auto& [greatest, end] : rows) {
    EXPECT_DOUBLE_EQ(Plot::roundedUp(greatest), end) << greatest;
  }
}

}  // namespace
}  // namespace panel
