// The window of penpad, driven with events.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QApplication>
#include <QMouseEvent>

#include "examples/penpad/window.h"
#include "pen/stroke_file.h"

namespace {

using pencanvas::FrameTable;
using testing::HasSubstr;

class WindowTest : public testing::Test {
 protected:
  WindowTest() { window.show(); }

  void pen(QEvent::Type type, double x, double y, double pressure = 0, int tiltX = 0,
           double rotation = 0) {
    stroke::Event event;
    event.type = type;
    event.x = x;
    event.y = y;
    event.pressure = pressure;
    event.tiltX = tiltX;
    event.rotation = rotation;
    QTabletEvent tablet = event.toTablet();
    QCoreApplication::sendEvent(&window.drawn(), &tablet);
  }
  void stroke(int y) {
    pen(QEvent::TabletPress, 20, y, 0.5);
    pen(QEvent::TabletMove, 90.5, y + 30, 1);
    pen(QEvent::TabletRelease, 91, y + 31);
  }
  void mouse(QEvent::Type type, double x, double y, unsigned long time,
             Qt::MouseButtons buttons = Qt::LeftButton) {
    const bool moves = type == QEvent::MouseMove;
    QMouseEvent event(type, QPointF(x, y), moves ? Qt::NoButton : Qt::LeftButton, buttons,
                      Qt::NoModifier);
    event.setTimestamp(time);
    QCoreApplication::sendEvent(&window.drawn(), &event);
  }
  void giveDeviceNumber(int number) {
    window.deviceNumber().setValue(number);
    window.deviceButton().click();
  }
  std::string cell(int row, FrameTable::Column column) {
    const QModelIndex index = window.frames().index(row, column);
    return window.frames().data(index, Qt::DisplayRole).toString().toStdString();
  }
  int pressureOf(int row) { return std::stoi(cell(row, FrameTable::kPressure)); }
  std::string status() const { return window.status().toStdString(); }
  bool sheetsAreEqual() {
    return window.drawn().grab().toImage() == window.redrawn().grab().toImage();
  }

  penpad::Window window;
};

TEST_F(WindowTest, ShowsWhyNoFrameIsSentBeforeTheDeviceNumber) {
  const QImage empty = window.redrawn().grab().toImage();

  stroke(20);

  EXPECT_EQ(status(),
            "Nothing is sent: the far end has not given the pen a device number. 3 tablet events, "
            "0 frames.");
  EXPECT_EQ(window.frames().rowCount(), 0);
  EXPECT_EQ(window.redrawn().grab().toImage(), empty);
  EXPECT_TRUE(window.deviceButton().isEnabled());
}

TEST_F(WindowTest, SendsAfterTheButtonIsPressed) {
  stroke(20);
  giveDeviceNumber(9);
  EXPECT_EQ(status(), "Sending as device 9. 3 tablet events, 0 frames.");
  EXPECT_FALSE(window.deviceButton().isEnabled());

  stroke(100);

  EXPECT_EQ(status(), "Sending as device 9. 6 tablet events, 3 frames.");
  EXPECT_EQ(window.frames().rowCount(), 3);
  EXPECT_EQ(cell(0, FrameTable::kDevice), "9");
  EXPECT_FALSE(sheetsAreEqual());
}

TEST_F(WindowTest, DeviceNumberZeroIsNone) {
  giveDeviceNumber(0);

  EXPECT_THAT(status(), HasSubstr("has not given the pen a device number"));
  EXPECT_TRUE(window.deviceButton().isEnabled());
}

TEST_F(WindowTest, RedrawsTheDrawnStroke) {
  giveDeviceNumber(5);
  EXPECT_TRUE(sheetsAreEqual());
  const QImage empty = window.redrawn().grab().toImage();

  stroke(20);
  pen(QEvent::TabletMove, 200, 200);
  stroke(60);

  EXPECT_NE(window.redrawn().grab().toImage(), empty);
  EXPECT_TRUE(sheetsAreEqual());
}

TEST_F(WindowTest, RedrawsAPressWithoutAMove) {
  giveDeviceNumber(5);
  const QImage empty = window.redrawn().grab().toImage();

  pen(QEvent::TabletPress, 50, 50, 1);

  EXPECT_NE(window.redrawn().grab().toImage(), empty);
  EXPECT_TRUE(sheetsAreEqual());
}

TEST_F(WindowTest, RedrawsAfterItsSizeHasChanged) {
  giveDeviceNumber(5);
  stroke(20);

  window.resize(1200, 800);
  QCoreApplication::processEvents();

  EXPECT_TRUE(sheetsAreEqual());
}

TEST_F(WindowTest, ShowsEachFrameInARow) {
  giveDeviceNumber(5);

  pen(QEvent::TabletPress, 20.5, 30.4, 0.25, -7, -90);
  pen(QEvent::TabletMove, -10.6, 30, 1);

  EXPECT_EQ(cell(0, FrameTable::kRequest), "1");
  EXPECT_EQ(cell(0, FrameTable::kDevice), "5");
  EXPECT_EQ(cell(0, FrameTable::kX), "21");
  EXPECT_EQ(cell(0, FrameTable::kY), "30");
  EXPECT_EQ(cell(0, FrameTable::kPressure), "256");
  EXPECT_EQ(cell(0, FrameTable::kTilt), "-7\u00B0, 0\u00B0");
  EXPECT_EQ(cell(0, FrameTable::kRotation), "-90.0\u00B0");
  EXPECT_EQ(cell(0, FrameTable::kFlags), "NEW  INRANGE  PRIMARY  CONFIDENCE  UPDATE");
  EXPECT_EQ(cell(1, FrameTable::kRequest), "2");
  EXPECT_EQ(cell(1, FrameTable::kX), "-11");
  EXPECT_EQ(cell(1, FrameTable::kFlags),
            "INRANGE  INCONTACT  FIRSTBUTTON  PRIMARY  CONFIDENCE  UPDATE");
}

TEST_F(WindowTest, KeepsTheNewestOfManyFrames) {
  giveDeviceNumber(5);
  for (int i = 0; i < 5010; ++i) {
    pen(QEvent::TabletMove, 1, 1);
  }

  EXPECT_EQ(window.frames().rowCount(), 5000);
  EXPECT_EQ(cell(0, FrameTable::kRequest), "11");
  EXPECT_EQ(cell(4999, FrameTable::kRequest), "5010");
}

TEST_F(WindowTest, SendsNothingWhileThePortIsClosed) {
  giveDeviceNumber(5);
  stroke(20);

  window.portOpen().click();
  stroke(60);
  EXPECT_EQ(status(), "Nothing is sent: the port is closed. 6 tablet events, 3 frames.");

  window.portOpen().click();
  stroke(100);
  EXPECT_EQ(window.frames().rowCount(), 6);
  EXPECT_EQ(cell(5, FrameTable::kRequest), "6");
}

TEST_F(WindowTest, IsCleared) {
  giveDeviceNumber(5);
  const QImage empty = window.redrawn().grab().toImage();
  stroke(20);

  window.clearButton().click();

  EXPECT_EQ(window.frames().rowCount(), 0);
  EXPECT_EQ(window.redrawn().grab().toImage(), empty);
  EXPECT_EQ(window.drawn().grab().toImage(), empty);
}

TEST_F(WindowTest, SendsProximityEvents) {
  giveDeviceNumber(5);
  for (const QEvent::Type type : {QEvent::TabletEnterProximity, QEvent::TabletLeaveProximity}) {
    stroke::Event event;
    event.type = type;
    QTabletEvent tablet = event.toTablet();
    QCoreApplication::sendEvent(QCoreApplication::instance(), &tablet);
  }

  ASSERT_EQ(window.frames().rowCount(), 2);
  EXPECT_EQ(cell(0, FrameTable::kFlags), "event 171, enter proximity");
  EXPECT_EQ(cell(1, FrameTable::kFlags), "event 172, leave proximity");
}

// --- The mouse ----------------------------------------------------------------------------------

TEST_F(WindowTest, AMouseDrawsAsAPen) {
  giveDeviceNumber(5);

  mouse(QEvent::MouseMove, 10, 10, 100, Qt::NoButton);
  mouse(QEvent::MouseButtonPress, 10, 10, 110);
  mouse(QEvent::MouseMove, 20, 12, 120);
  mouse(QEvent::MouseButtonRelease, 21, 12, 130, Qt::NoButton);

  ASSERT_EQ(window.frames().rowCount(), 4);
  EXPECT_EQ(cell(0, FrameTable::kFlags), "INRANGE  PRIMARY  CONFIDENCE  UPDATE");
  EXPECT_EQ(cell(0, FrameTable::kPressure), "0");
  EXPECT_EQ(cell(1, FrameTable::kFlags), "NEW  INRANGE  PRIMARY  CONFIDENCE  UPDATE");
  EXPECT_EQ(cell(2, FrameTable::kFlags),
            "INRANGE  INCONTACT  FIRSTBUTTON  PRIMARY  CONFIDENCE  UPDATE");
  EXPECT_EQ(cell(2, FrameTable::kX), "20");
  EXPECT_EQ(cell(3, FrameTable::kFlags), "INRANGE  PRIMARY  CONFIDENCE  UPDATE");
  EXPECT_EQ(cell(3, FrameTable::kPressure), "0");
  EXPECT_TRUE(sheetsAreEqual());
}

TEST_F(WindowTest, ASlowMousePressesHarderThanAFastOne) {
  giveDeviceNumber(5);
  const auto draw = [this](double step) {
    mouse(QEvent::MouseButtonPress, 0, 10, 0);
    for (int i = 1; i <= 10; ++i) {
      mouse(QEvent::MouseMove, i * step, 10, static_cast<unsigned long>(i) * 10);
    }
    mouse(QEvent::MouseButtonRelease, 10 * step, 10, 110, Qt::NoButton);
    return pressureOf(window.frames().rowCount() - 2);
  };

  const int slow = draw(1);
  const int fast = draw(40);

  EXPECT_GT(slow, 700);
  EXPECT_LT(fast, 300);
  EXPECT_GT(fast, 0);
}

TEST_F(WindowTest, AMouseThatDoesNotMoveInTimePressesWithinLimits) {
  giveDeviceNumber(5);
  mouse(QEvent::MouseButtonPress, 0, 10, 50);

  // Two events of one millisecond, and a clock that goes back.
  mouse(QEvent::MouseMove, 100, 10, 50);
  mouse(QEvent::MouseMove, 100, 10, 40);

  for (int row = 0; row < 3; ++row) {
    EXPECT_GT(pressureOf(row), 0);
    EXPECT_LE(pressureOf(row), 1024);
  }
}

TEST_F(WindowTest, OtherButtonsDoNotDraw) {
  giveDeviceNumber(5);
  QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), Qt::RightButton, Qt::RightButton,
                    Qt::NoModifier);

  QCoreApplication::sendEvent(&window.drawn(), &press);

  EXPECT_EQ(window.frames().rowCount(), 0);
}

}  // namespace
