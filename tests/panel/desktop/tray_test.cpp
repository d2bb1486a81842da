// The icon in the tray, its menu, and notifications while the window is not in front.

#include "examples/panel/desktop/tray.h"

#include <algorithm>
#include <future>

#include <QApplication>

#include "tests/panel/window_test.h"

namespace panel {
namespace {

using testing::HasSubstr;
using testing::Not;

class TrayTest : public WindowTest {
 protected:
  Tray tray{window, service};

  std::string counts() { return tray.counts().toStdString(); }
  QAction& action(const QString& text) {
    for (QAction* const each : tray.menu().actions()) {
      if (each->text() == text) {
        return *each;
      }
    }
    throw std::runtime_error("there is no such action");
  }
  // What is shown while the window is not in front. One of the texts is enough.
  testing::AssertionResult notifies(const std::vector<std::string>& texts) {
    const auto isShown = [&](const std::string& text) {
      return tray.notification().contains(text.c_str());
    };
    if (loopUntil([&] { return std::any_of(texts.begin(), texts.end(), isShown); })) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "the last one: " << tray.notification().toStdString() << "; the window: " << banner();
  }
  testing::AssertionResult notifies(const char* text) {
    return notifies(std::vector<std::string>{text});
  }
};

TEST_F(TrayTest, CountsWhatIsAttached) {
  // A window that is slow to appear has read everything by then.
  EXPECT_EQ(counts(), service.isReady() ? "0 of 7 attached" : "The service is not available");
  ASSERT_TRUE(isReady());
  EXPECT_EQ(counts(), "0 of 7 attached");
  const QImage before = tray.icon().icon().pixmap(32).toImage();

  click(kCamera);
  EXPECT_TRUE(ends(kCamera));

  EXPECT_EQ(counts(), "1 of 7 attached");
  EXPECT_EQ(tray.icon().toolTip().toStdString(), "1 of 7 attached");
  EXPECT_NE(tray.icon().icon().pixmap(32).toImage(), before);
  velsim().kill();
  ASSERT_TRUE(becomesUnavailable());
  EXPECT_EQ(counts(), "The service is not available");
}

TEST_F(TrayTest, TheIconIsFineOnFineScreensAndFollowsThePalette) {
  const QIcon icon = Tray::iconFor(3, QGuiApplication::palette());
  EXPECT_TRUE(icon.availableSizes().contains(QSize(16, 16)));
  EXPECT_TRUE(icon.availableSizes().contains(QSize(44, 44))) << "22 pixels on a fine screen";

  QPalette dark;
  dark.setColor(QPalette::WindowText, Qt::white);
  EXPECT_NE(Tray::iconFor(3, dark).pixmap(32).toImage(), icon.pixmap(32).toImage());
  EXPECT_EQ(Tray::iconFor(100, dark).pixmap(32).toImage(),
            Tray::iconFor(99, dark).pixmap(32).toImage());
}

TEST_F(TrayTest, TheMenuShowsTheWindowAndQuits) {
  window.hide();
  action("&Show window").trigger();
  EXPECT_TRUE(window.isVisible());

  bool hasQuit = false;
  QMetaObject::invokeMethod(
      qApp, [&] { action("&Quit").trigger(); }, Qt::QueuedConnection);
  QMetaObject::invokeMethod(
      qApp, [&] { hasQuit = true; }, Qt::QueuedConnection);
  EXPECT_EQ(QApplication::exec(), 0);
  QCoreApplication::processEvents();
  EXPECT_TRUE(hasQuit);
}

TEST_F(TrayTest, AClickHidesTheWindowInFrontAndShowsAHiddenOne) {
  emit tray.icon().activated(QSystemTrayIcon::Trigger);
  EXPECT_FALSE(window.isVisible());
  emit tray.icon().activated(QSystemTrayIcon::Trigger);
  EXPECT_TRUE(window.isVisible());
  emit tray.icon().activated(QSystemTrayIcon::Context);
  EXPECT_TRUE(window.isVisible());
}

TEST_F(TrayTest, WithoutATrayTheWindowEndsTheProgram) {
  // Qt's offscreen platform has no tray.
  ASSERT_FALSE(QSystemTrayIcon::isSystemTrayAvailable());

  EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
}

// --- Notifications -------------------------------------------------------------------------------

TEST_F(TrayTest, PlugEventsAreNotifiedWhileTheWindowIsHidden) {
  ASSERT_TRUE(isReady());
  window.hide();

  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
  EXPECT_TRUE(notifies("Front camera was plugged in"));
  unplug(plugged);
  EXPECT_TRUE(notifies("Front camera was unplugged"));
}

TEST_F(TrayTest, AWindowInFrontNeedsNoNotifications) {
  ASSERT_TRUE(isReady());
  const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
  ASSERT_TRUE(appears(plugged));

  window.hide();
  plug("camera \"Back camera\"");

  EXPECT_TRUE(notifies("Back camera"));
  EXPECT_THAT(tray.notification().toStdString(), Not(HasSubstr("Front")));
}

TEST_F(TrayTest, AFailedAttachmentAndADeathAreNotified) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 error \"the cable is loose\"");
  window.hide();
  model.attach(kStick, "ubuntu");
  EXPECT_TRUE(notifies("Memory stick: The cable is loose. See the service's log."));

  velsim().kill();
  // The second when a reading has noticed it before the event: one may be under way, because the
  // library sees the return of an earlier service late.
  EXPECT_TRUE(notifies({"The service has ended. Start velserviced, or velsim to try without",
                        " is gone. Try again;"}));
  velsim().start();
  ASSERT_TRUE(isReady());
  // The devices of the new service are no news.
  plug("camera \"Front camera\"");
  EXPECT_TRUE(notifies("Front camera"));
  EXPECT_EQ(tray.notification().toStdString(), "Front camera was plugged in");
}

TEST_F(TrayTest, ManyChangesAtOnceAreOneNotification) {
  constexpr int kDevices = 6;
  ASSERT_TRUE(isReady());
  window.hide();
  // Subscribed last: an event that arrives here waits in the loop of the panel already.
  std::promise<void> arrived;
  int events = 0;
  const vel::Subscription last = vel::Client().onDevice([&](const vel::DeviceEvent&) {
    if (++events == kDevices) {
      arrived.set_value();
    }
  });

  for (int i = 0; i < kDevices; ++i) {
    plug("generic \"Adapter\"");
  }
  arrived.get_future().wait();

  EXPECT_TRUE(notifies("Further changes: 2"));
}

}  // namespace
}  // namespace panel
