// Tablet events on their way through Qt: posted to a window, mapped to the widget under the pen and
// handed over from there, as they are in a client.

#include <functional>
#include <utility>

#include <QApplication>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include "tests/pen/pen_test.h"

namespace {

using testing::ElementsAre;

class Pad : public QWidget {
 public:
  Pad(QWidget* parent, std::function<void(QTabletEvent*)> onTablet)
      : QWidget(parent), onTablet_(std::move(onTablet)) {
    setTabletTracking(true);
  }

 protected:
  void tabletEvent(QTabletEvent* event) override {
    onTablet_(event);
    event->accept();
  }

 private:
  std::function<void(QTabletEvent*)> onTablet_;
};

// A window with a pad at 30, 40 in it.
class EventLoopTest : public PenTest {
 protected:
  EventLoopTest() : pad_(&window_, [this](QTabletEvent* event) { take(event); }) {
    window_.resize(400, 300);
    pad_.setGeometry(30, 40, 200, 100);
    window_.show();
    connectPen();
  }

  void take(QTabletEvent* event) {
    isInLoop_ = isInLoop_ && QThread::currentThread()->loopLevel() > 0;
    proxy.SendPenData("win11", event, 0, kOwnPosition, kOwnPosition);
  }
  // Where the pen is in the window.
  void post(QEvent::Type type, double x, double y, double pressure = 0) {
    const QPointF global = window_.windowHandle()->mapToGlobal(QPoint(0, 0)) + QPointF(x, y);
    const bool isDown = pressure > 0;
    QCoreApplication::postEvent(
        window_.windowHandle(),
        new QTabletEvent(type, QPointF(x, y), global, QTabletEvent::Stylus, QTabletEvent::Pen,
                         pressure, 12, -7, 0, -90, 0, Qt::NoModifier, 1, Qt::LeftButton,
                         isDown ? Qt::LeftButton : Qt::NoButton));
  }
  // Until all that has been posted is delivered.
  void runLoop() {
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QApplication::exec();
  }
  std::vector<std::pair<int, int>> positions() const {
    std::vector<std::pair<int, int>> positions;
    for (const Written& frame : written) {
      positions.emplace_back(static_cast<int>(numberAt(frame.bytes, kPacketInFrame + 50)),
                             static_cast<int>(numberAt(frame.bytes, kPacketInFrame + 54)));
    }
    return positions;
  }
  std::vector<std::uint32_t> at(std::size_t offset) const {
    std::vector<std::uint32_t> numbers;
    for (const Written& frame : written) {
      numbers.push_back(numberAt(frame.bytes, kPacketInFrame + offset));
    }
    return numbers;
  }

  QWidget window_;
  Pad pad_;
  bool isInLoop_ = true;
};

TEST_F(EventLoopTest, AStrokeOnAWidgetBecomesFrames) {
  post(QEvent::TabletMove, 35, 45);
  post(QEvent::TabletPress, 40, 50, 0.5);
  post(QEvent::TabletMove, 50.5, 60.4, 0.75);
  post(QEvent::TabletRelease, 60, 70);
  post(QEvent::TabletMove, 61, 71);
  EXPECT_THAT(written, testing::IsEmpty());

  runLoop();

  EXPECT_TRUE(isInLoop_);
  EXPECT_THAT(at(26), ElementsAre(kHovering, kPressed, kDrawing, kHovering, kHovering));
  EXPECT_THAT(at(146), ElementsAre(0u, 512u, 768u, 0u, 0u));
  EXPECT_THAT(at(154), testing::Each(static_cast<std::uint32_t>(-92160)));
  EXPECT_THAT(at(162), testing::Each(12u));
  EXPECT_THAT(at(170), testing::Each(static_cast<std::uint32_t>(-7)));
  EXPECT_EQ(lastRequest(), 5u);
}

TEST_F(EventLoopTest, PositionsAreThoseInTheWidget) {
  post(QEvent::TabletPress, 40, 50, 0.5);
  post(QEvent::TabletMove, 50.5, 60.4, 0.5);

  runLoop();

  EXPECT_THAT(positions(), ElementsAre(std::pair(10, 10), std::pair(21, 20)));
}

TEST_F(EventLoopTest, AStrokeThatLeavesTheWidgetContinuesOutside) {
  post(QEvent::TabletPress, 31, 41, 0.5);
  post(QEvent::TabletMove, 10, 10, 0.5);
  post(QEvent::TabletRelease, 5, 5);

  runLoop();

  EXPECT_THAT(positions(), ElementsAre(std::pair(1, 1), std::pair(-20, -30), std::pair(-25, -35)));
  EXPECT_THAT(at(26), ElementsAre(kPressed, kDrawing, kHovering));
}

TEST_F(EventLoopTest, AnEventMayBePostedByTheOneBefore) {
  int left = 3;
  proxy.PortInit(
      kPenPort, true, [&](const std::string&, unsigned int length, unsigned char* bytes) {
        written.push_back({"", bytesOf(bytes, length)});
        if (--left > 0) {
          QCoreApplication::postEvent(&pad_, new QTabletEvent(penAt(left, left).event()));
        }
        return 0u;
      });
  post(QEvent::TabletPress, 40, 50, 0.5);

  while (left > 0) {
    runLoop();
  }

  EXPECT_THAT(at(50), ElementsAre(10u, 2u, 1u));
  EXPECT_THAT(at(26), ElementsAre(kPressed, kDrawing, kDrawing));
}

}  // namespace
