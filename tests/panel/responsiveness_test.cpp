// The window while the service hangs and every call takes its full time.

#include <algorithm>
#include <iostream>

#include <QElapsedTimer>

#include "examples/panel/joysticks/joysticks_page.h"
#include "examples/panel/printing/printing_page.h"
#include "tests/panel/window_test.h"

namespace panel {
namespace {

using testing::HasSubstr;

// The longest time between two turns of the event loop.
class GapMeter {
 public:
  GapMeter() {
    QObject::connect(&timer_, &QTimer::timeout, [this] { measure(); });
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.start(1);
    sinceTurn_.start();
  }

  qint64 longestMs() const { return longestMs_; }
  int turns() const { return turns_; }

 private:
  void measure() {
    longestMs_ = std::max(longestMs_, sinceTurn_.restart());
    ++turns_;
  }

  QTimer timer_;
  QElapsedTimer sinceTurn_;
  qint64 longestMs_ = 0;
  int turns_ = 0;
};

TEST_F(WindowTest, TheEventLoopGoesOnWhileEveryCallTakesItsFullTime) {
  ASSERT_TRUE(isReady());
  const GapMeter gap;
  QElapsedTimer time;
  time.start();
  {
    const Hanging hanging(velsim());
    click(kCamera);
    click(kLaser);
    QTest::keyClick(&window, Qt::Key_F5);
    QTest::keyClicks(&page.search(), "camera");
    page.search().clear();
    EXPECT_TRUE(card(kCamera).isInProgress());
    for (const Number& number : {kCamera, kLaser}) {
      EXPECT_TRUE(ends(number));
      EXPECT_THAT(problemOf(number), HasSubstr("No reply in time."));
    }
    EXPECT_TRUE(becomesUnavailable());
    EXPECT_THAT(banner(), HasSubstr("if the service hangs, end it and start it."));
  }
  EXPECT_TRUE(isReady());

  RecordProperty("longest_gap_ms", std::to_string(gap.longestMs()));
  std::cout << "longest gap of the event loop: " << gap.longestMs() << " ms in " << time.elapsed()
            << " ms\n";
  const auto limit = vel::Client::timeLimit("connectDevice");
  EXPECT_GE(time.elapsed(), 2 * limit.count()) << "the calls have not taken their time";
  // A machine may be busy; a window that waits for one call would be here twice as long.
  EXPECT_LT(gap.longestMs(), limit.count() / 2);
}

TEST_F(WindowTest, NoPageWaitsForAServiceThatHangs) {
  ASSERT_TRUE(isReady());
  JoysticksPage& joysticks = window.pages().page<JoysticksPage>();
  PrintingPage& printing = window.pages().page<PrintingPage>();
  QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
  QTest::keyClick(&window, Qt::Key_3, Qt::ControlModifier);
  ASSERT_TRUE(loopUntil([&] {
    return joysticks.cards().size() == 3 && printing.queues().queues().count() == 2 &&
           !printing.queues().model().isBusy() && !printing.network().model().isBusy();
  }));
  const GapMeter gap;
  {
    const Hanging hanging(velsim());
    QTest::keyClicks(&printing.shared().address().edit(), "10.0.0.7");
    QTest::mouseClick(&printing.shared().search(), Qt::LeftButton);
    QTest::keyClicks(&printing.network().address().edit(), "10.0.0.6");
    QTest::mouseClick(&printing.network().add(), Qt::LeftButton);
    QTest::mouseClick(&printing.shared().stop(), Qt::LeftButton);
    QTest::mouseClick(&joysticks.cards().front()->calibrate(), Qt::LeftButton);
    EXPECT_TRUE(printing.shared().model().isSearching());
    EXPECT_TRUE(becomesUnavailable());
    // A search may take 10 s, and another slow operation waits for it.
    EXPECT_TRUE(loopUntil([&] {
      return !printing.shared().model().isBusy() && !printing.network().model().isBusy() &&
             !joysticks.cards().front()->status().isBusy();
    }));
    EXPECT_NE(printing.shared().status().problem(), QString());
    EXPECT_NE(printing.network().status().problem(), QString());
    EXPECT_NE(joysticks.cards().front()->status().problem(), QString());
  }
  EXPECT_TRUE(isReady());

  std::cout << "longest gap of the event loop: " << gap.longestMs() << " ms\n";
  EXPECT_LT(gap.longestMs(), vel::Client::timeLimit("connectDevice").count() / 2);
}

TEST_F(WindowTest, TheButtonLooksForTheServiceAtOnce) {
  Service patient(std::chrono::hours(1));
  Window other(patient);
  other.show();
  const auto becomes = [&](Service::State state) {
    return loopUntil([&] { return patient.state() == state; });
  };
  ASSERT_TRUE(becomes(Service::State::kReady));
  {
    const Hanging hanging(velsim());
    patient.refresh();
    ASSERT_TRUE(becomes(Service::State::kUnavailable));
  }

  QTest::mouseClick(&other.retryButton(), Qt::LeftButton);

  EXPECT_TRUE(becomes(Service::State::kReady));
  EXPECT_FALSE(other.hasBanner());
}

}  // namespace
}  // namespace panel
