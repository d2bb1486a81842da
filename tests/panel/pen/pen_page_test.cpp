// The page of the pen: what is drawn, and what is sent for it.

#include "examples/panel/pen/pen_page.h"

#include "tests/panel/window_test.h"

namespace panel {
namespace {

using pencanvas::FrameTable;

class PenPageTest : public WindowTest {
 protected:
  PenPageTest() { window.pages().setCurrentWidget(&pen); }

  std::string cell(int row, FrameTable::Column column) {
    return pen.frames().index(row, column).data().toString().toStdString();
  }
  void sendPen(QEvent::Type type, const QPointF& place, double pressure, int tiltX, int tiltY) {
    QTabletEvent event(type, place, place, QTabletEvent::Stylus, QTabletEvent::Pen, pressure, tiltX,
                       tiltY, 0, 0, 0, Qt::NoModifier, 0, Qt::LeftButton, Qt::LeftButton);
    QCoreApplication::sendEvent(&pen.pad(), &event);
  }
  // How many pixels of the sheet have no colour of paper.
  int inkedPixels() {
    const QImage sheet = pen.pad().grab().toImage();
    const QRgb paper = pen.palette().color(QPalette::Base).rgb();
    int count = 0;
    for (int y = 0; y < sheet.height(); ++y) {
      for (int x = 0; x < sheet.width(); ++x) {
        count += sheet.pixel(x, y) == paper ? 0 : 1;
      }
    }
    return count;
  }

  PenPage& pen = window.pages().page<PenPage>();
};

TEST_F(PenPageTest, ShowsPressureAndTiltAndEachFrame) {
  ASSERT_TRUE(isReady());
  sendPen(QEvent::TabletPress, {30, 30}, 0.25, -30, 12);
  EXPECT_EQ(pen.pen().toStdString(), "Pressure 25 %, tilt -30°, 12°");
  sendPen(QEvent::TabletMove, {60, 30}, 0.5, 45, 0);
  sendPen(QEvent::TabletRelease, {60, 30}, 0, 45, 0);

  ASSERT_EQ(pen.frames().rowCount(), 3);
  EXPECT_EQ(cell(0, FrameTable::kPressure), "256");
  EXPECT_EQ(cell(0, FrameTable::kTilt), "-30°, 12°");
  EXPECT_EQ(cell(1, FrameTable::kX), "60");
  EXPECT_EQ(pen.counts().toStdString(), "3 frames sent for 3 events");
}

TEST_F(PenPageTest, TheSheetShowsWhereThePenLeans) {
  ASSERT_TRUE(isReady());
  sendPen(QEvent::TabletPress, {60, 60}, 0.5, 0, 0);
  const QImage upright = pen.pad().grab().toImage();
  sendPen(QEvent::TabletMove, {60, 60}, 0.5, 60, 0);
  const QImage leaning = pen.pad().grab().toImage();

  // The line of the lean, 36 pixels long.
  const QRgb paper = pen.palette().color(QPalette::Base).rgb();
  EXPECT_EQ(upright.pixel(85, 60), paper);
  EXPECT_NE(leaning.pixel(85, 60), paper);
}

TEST_F(PenPageTest, ASampleIsDrawnAndClearedByKeyboard) {
  ASSERT_TRUE(isReady());
  EXPECT_EQ(inkedPixels(), 0);

  pen.sampleButton().setFocus();
  QTest::keyClick(window.focusWidget(), Qt::Key_Space);
  EXPECT_GT(inkedPixels(), 500);
  EXPECT_EQ(pen.frames().rowCount(), 121);

  QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
  ASSERT_EQ(window.focusWidget(), &pen.clearButton());
  QTest::keyClick(window.focusWidget(), Qt::Key_Space);
  EXPECT_EQ(inkedPixels(), 0);
  EXPECT_EQ(pen.frames().rowCount(), 0);
}

TEST_F(PenPageTest, TheMouseIsAPen) {
  ASSERT_TRUE(isReady());
  QTest::mousePress(&pen.pad(), Qt::LeftButton, Qt::NoModifier, QPoint(20, 20));
  QTest::mouseMove(&pen.pad(), QPoint(50, 40));
  QTest::mouseRelease(&pen.pad(), Qt::LeftButton, Qt::NoModifier, QPoint(50, 40));

  EXPECT_GE(pen.frames().rowCount(), 2);
  EXPECT_GT(inkedPixels(), 0);
}

TEST_F(PenPageTest, ThePaperFollowsThePalette) {
  ASSERT_TRUE(isReady());
  sendPen(QEvent::TabletPress, {60, 60}, 0.5, 0, 0);
  QPalette dark = pen.palette();
  dark.setColor(QPalette::Base, Qt::black);
  dark.setColor(QPalette::Text, Qt::white);
  pen.setPalette(dark);

  const QImage sheet = pen.pad().grab().toImage();
  EXPECT_EQ(sheet.pixelColor(5, 5), QColor(Qt::black));
  EXPECT_EQ(sheet.pixelColor(60, 60), QColor(Qt::white));
}

}  // namespace
}  // namespace panel
