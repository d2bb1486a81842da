#include "tests/panel/window_test.h"

#include <QAccessible>
#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <QTimer>
#include <QWindow>

namespace panel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(WindowTest, ShowsVmsAndACardForEachDeviceAndPrinter) {
  EXPECT_EQ(banner(), "Connecting to the service\u2026");
  EXPECT_TRUE(window.hasBanner());

  ASSERT_TRUE(isReady());

  EXPECT_FALSE(window.hasBanner());
  EXPECT_THAT(vmTexts(), ElementsAre("debian", "ubuntu", "win10", "win11"));
  EXPECT_THAT(shownCards(),
              ElementsAre("Barcode scanner", "Built-in camera", "Drawing tablet", "Label printer",
                          "Memory stick", "Office laser", "Photo printer"));
  EXPECT_EQ(card(kCamera).kind().toStdString(), "Camera");
  EXPECT_EQ(stateOf(kCamera), "On this machine");
  EXPECT_EQ(page.summary().toStdString(), "7 of 7 shown, 0 attached");
}

TEST_F(WindowTest, TheSwitchAttachesToTheChosenVmAndDetaches) {
  ASSERT_TRUE(isReady());
  choose("win10");
  EXPECT_EQ(card(kCamera).toggle().text().toStdString(), "Attach to win10");
  for (const Number& number : {kCamera, kLaser}) {
    click(number);
    EXPECT_FALSE(card(number).toggle().isChecked()) << "not before the service has done it";
    EXPECT_TRUE(card(number).isInProgress());
    EXPECT_TRUE(ends(number));

    EXPECT_FALSE(card(number).isInProgress());
    EXPECT_TRUE(card(number).toggle().isChecked());
    EXPECT_EQ(stateOf(number), "Attached to win10");
  }
  EXPECT_THAT(simulated("Built-in camera"), HasSubstr("in vm 102"));
  EXPECT_THAT(vmTexts(), ElementsAre("debian", "ubuntu", "win10 (2)", "win11"));
  EXPECT_EQ(page.summary().toStdString(), "7 of 7 shown, 2 attached");

  // From where it is, whatever is chosen.
  choose("ubuntu");
  click(kCamera);
  EXPECT_TRUE(ends(kCamera));
  EXPECT_FALSE(card(kCamera).toggle().isChecked());
  EXPECT_EQ(stateOf(kCamera), "On this machine");
  EXPECT_THAT(vmTexts(), ElementsAre("debian", "ubuntu", "win10 (1)", "win11"));
}

TEST_F(WindowTest, IsUsedByKeyboardAlone) {
  ASSERT_TRUE(isReady());
  QTest::keyClick(&window, Qt::Key_V, Qt::AltModifier);
  ASSERT_EQ(window.focusWidget(), &window.vms());
  QTest::keyClick(window.focusWidget(), Qt::Key_End);
  QTest::keyClick(&window, Qt::Key_F, Qt::ControlModifier);
  ASSERT_EQ(window.focusWidget(), &page.search());
  QTest::keyClicks(window.focusWidget(), "camera");
  EXPECT_THAT(shownCards(), ElementsAre("Built-in camera"));

  QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
  EXPECT_EQ(window.focusWidget(), &page.filter());
  QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
  ASSERT_EQ(window.focusWidget(), &card(kCamera).toggle());
  QTest::keyClick(window.focusWidget(), Qt::Key_Space);

  EXPECT_EQ(window.focusWidget(), &card(kCamera).toggle()) << "while it works";
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "Attached to win11");
  EXPECT_EQ(window.focusWidget(), &card(kCamera).toggle());
  QTest::keyClick(window.focusWidget(), Qt::Key_Escape);
  EXPECT_EQ(shownCards().size(), 7U);
}

TEST_F(WindowTest, EverythingThatTakesTheFocusHasANameForAScreenReader) {
  ASSERT_TRUE(isReady());
  int count = 0;
  for (QWidget* const widget : window.findChildren<QWidget*>()) {
    if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) != 0 &&
        !widget->focusProxy()) {
      const auto* const accessible = QAccessible::queryAccessibleInterface(widget);
      ASSERT_NE(accessible, nullptr);
      EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
          << widget->metaObject()->className();
      ++count;
    }
  }
  EXPECT_EQ(count, 16) << "VMs, pages, search, filter, seven switches and five menus";
  const auto* const toggle = QAccessible::queryAccessibleInterface(&card(kCamera).toggle());
  EXPECT_EQ(toggle->role(), QAccessible::CheckBox);
  EXPECT_EQ(toggle->text(QAccessible::Name).toStdString(), "Attach Built-in camera to debian");
}

TEST_F(WindowTest, TheNameOfAVmIsShownAsItIs) {
  ASSERT_TRUE(isReady());
  window.vms().setVms({"R&D %2"});
  window.vms().setCounts({{"R&D %2", 3}});

  EXPECT_THAT(vmTexts(), ElementsAre("R&D %2 (3)"));
  EXPECT_EQ(card(kCamera).toggle().text().toStdString(), "Attach to R&D %2");
  EXPECT_TRUE(card(kCamera).toggle().shortcut().isEmpty()) << "Alt+D is the key of a page";
}

// Sees what a drag carries. Qt's offscreen platform ends every drag where it begins, so a test has
// to drop by itself.
class DragWatcher : public QObject {
 public:
  DragWatcher() { QCoreApplication::instance()->installEventFilter(this); }

  const QByteArray& carried() const { return carried_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* const drag = dynamic_cast<QDrag*>(watched);
    if (drag && event->type() == QEvent::DeferredDelete) {
      carried_ = drag->mimeData()->data(kNumberFormat);
    }
    return false;
  }

 private:
  QByteArray carried_;
};

// Moves the mouse to a place of a window while a drag runs, and lets go when the window takes it.
class DragHand : public QObject {
 public:
  DragHand(QWindow* window, QWidget* target, const QPoint& place)
      : window_(window), target_(target), place_(place) {
    target_->installEventFilter(this);
    connect(&tick_, &QTimer::timeout, this, [this] { move(); });
    tick_.start(std::chrono::milliseconds(10));
  }

 protected:
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    isOver_ = isOver_ || event->type() == QEvent::DragMove;
    return false;
  }

 private:
  void move() {
    const QPoint place = target_->mapTo(target_->window(), place_);
    isLeft_ = !isLeft_;
    QTest::mouseMove(window_, place + QPoint(isLeft_ ? 0 : 1, 0));
    if (isOver_) {
      tick_.stop();
      QTest::mouseRelease(window_, Qt::LeftButton, Qt::NoModifier, place);
    }
  }

  QWindow* const window_;
  QWidget* const target_;
  const QPoint place_;
  QTimer tick_;
  bool isLeft_ = false;
  bool isOver_ = false;
};

void beginDrag(Card& card) {
  QTest::mousePress(&card, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
  QTest::mouseMove(&card, QPoint(9, 8));
  QMouseEvent move(QEvent::MouseMove, QPointF(9.0 + QApplication::startDragDistance(), 8),
                   Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&card, &move);
}

TEST_F(WindowTest, OnADisplayACardIsDraggedWithTheMouse) {
  if (QGuiApplication::platformName() != "xcb") {
    GTEST_SKIP() << "a drag needs a display";
  }
  ASSERT_TRUE(isReady());
  beginDrag(card(kCamera));
  const DragHand hand(window.windowHandle(), window.vms().viewport(),
                      window.vms().visualItemRect(window.vms().item(1)).center());

  EXPECT_TRUE(loopUntil(
      [&] { return card(kCamera).isInProgress() || stateOf(kCamera) != "On this machine"; }));
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "Attached to ubuntu");
}

TEST_F(WindowTest, ACardIsDraggedOntoAVm) {
  if (QGuiApplication::platformName() == "xcb") {
    GTEST_SKIP() << "a display has drags that do not end where they begin";
  }
  ASSERT_TRUE(isReady());
  const DragWatcher watcher;
  beginDrag(card(kCamera));
  ASSERT_TRUE(loopUntil([&] { return !watcher.carried().isEmpty(); }));
  QMimeData carried;
  carried.setData(kNumberFormat, watcher.carried());

  const auto dropOn = [&](const QMimeData& data, const QPoint& place) {
    QWidget* const target = window.vms().viewport();
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &enter);
    QDragMoveEvent over(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &over);
    if (enter.isAccepted() && over.isAccepted()) {
      QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
      QCoreApplication::sendEvent(target, &drop);
    }
    return enter.isAccepted() && over.isAccepted();
  };
  const auto placeOf = [&](int row) {
    return window.vms().visualItemRect(window.vms().item(row)).center();
  };

  EXPECT_TRUE(dropOn(carried, placeOf(1)));
  EXPECT_TRUE(card(kCamera).isInProgress());
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "Attached to ubuntu");
  EXPECT_TRUE(dropOn(carried, placeOf(3)));
  EXPECT_TRUE(ends(kCamera));
  // The event of the detachment may come after the result, and that of the attachment after it.
  EXPECT_TRUE(loopUntil([&] { return stateOf(kCamera) == "Attached to win11"; }))
      << stateOf(kCamera);
  EXPECT_EQ(window.vms().chosen(), "debian") << "a drop chooses nothing";

  // Beside the VMs, and other data.
  EXPECT_FALSE(dropOn(carried, QPoint(5, window.vms().viewport()->height() - 1)));
  QMimeData text;
  text.setText("device 12");
  EXPECT_FALSE(dropOn(text, placeOf(1)));
}

TEST_F(WindowTest, TheMenuOfACardSetsPolicyAndAutoConnect) {
  ASSERT_TRUE(isReady());
  const auto chooseIn = [&](QAction& action) {
    QMenu& menu = card(kCamera).more().menu();
    menu.popup(window.mapToGlobal(QPoint(0, 0)));
    QTest::mouseClick(&menu, Qt::LeftButton, Qt::NoModifier, menu.actionGeometry(&action).center());
    EXPECT_FALSE(menu.isVisible());
    EXPECT_TRUE(card(kCamera).isInProgress());
    EXPECT_TRUE(ends(kCamera));
  };
  MoreButton& more = card(kCamera).more();
  EXPECT_TRUE(more.policy(vel::LocalPolicy::kNone).isChecked());
  EXPECT_FALSE(card(kLaser).more().isVisible());

  chooseIn(more.policy(vel::LocalPolicy::kForbidden));
  EXPECT_EQ(stateOf(kCamera), "On this machine, must not be attached");
  EXPECT_TRUE(more.policy(vel::LocalPolicy::kForbidden).isChecked());
  velsim().control("fault setLocalPolicy 1 error \"the disk is full\"");
  chooseIn(more.policy(vel::LocalPolicy::kAllowed));
  EXPECT_EQ(problemOf(kCamera), "The disk is full. See the service's log.");
  EXPECT_TRUE(more.policy(vel::LocalPolicy::kForbidden).isChecked()) << "what the service has";

  chooseIn(more.autoConnect());
  EXPECT_TRUE(loopUntil([&] { return more.autoConnect().isChecked(); }));
}

TEST_F(WindowTest, TheMenuOfACameraChecksWhetherItMayBeUsed) {
  ASSERT_TRUE(isReady());
  MoreButton& more = card(kCamera).more();
  EXPECT_TRUE(more.checkCamera().isVisible());
  EXPECT_FALSE(card(kStick).more().checkCamera().isVisible());

  velsim().control("camera deny");
  more.checkCamera().trigger();
  EXPECT_TRUE(card(kCamera).isInProgress());
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(problemOf(kCamera),
            "Cameras must not be used on this machine. Allow them in the privacy settings of the "
            "system.");
  velsim().control("camera allow");
  more.checkCamera().trigger();
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(problemOf(kCamera), "");
  EXPECT_EQ(card(kCamera).note().toStdString(), "Cameras may be used.");
  velsim().control("fault CheckCameraAuthStat 1 error \"the portal is missing\"");
  more.checkCamera().trigger();
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(problemOf(kCamera), "The portal is missing. See the service's log.");
  EXPECT_EQ(card(kCamera).note().toStdString(), "");
}

TEST_F(WindowTest, TheMenuOfACardDiagnosesItsDevice) {
  ASSERT_TRUE(isReady());
  choose("win11");

  card(kCamera).more().diagnose().trigger();

  ASSERT_NE(page.diagnosis(), nullptr);
  EXPECT_EQ(page.diagnosis()->windowTitle().toStdString(), "Diagnosis of Built-in camera in win11");
  QTest::mouseClick(&page.diagnosis()->closeButton(), Qt::LeftButton);
  EXPECT_FALSE(page.diagnosis()->isVisible());
  // A reset does not end a diagnosis.
  velsim().kill();
}

TEST_F(WindowTest, TheContextMenuIsTheSame) {
  ASSERT_TRUE(isReady());
  for (const Number& number : {kCamera, kLaser}) {
    QContextMenuEvent asked(QContextMenuEvent::Mouse, QPoint(8, 8));
    QCoreApplication::sendEvent(&card(number), &asked);
    EXPECT_EQ(card(number).more().menu().isVisible(), number == kCamera);
    card(number).more().menu().close();
  }
}

TEST_F(WindowTest, OtherDataIsNotTakenForACard) {
  EXPECT_EQ(numberIn(dragDataOf(kCamera)), kCamera);
  EXPECT_EQ(numberIn(dragDataOf(kLaser)), kLaser);
  for (const char* const data : {"", "device", "device x", "device 70000", "device 1 2", " "}) {
    EXPECT_FALSE(numberIn(data)) << data;
  }
}

// --- Failures ------------------------------------------------------------------------------------

TEST_F(WindowTest, TheReasonOfAFailureStandsOnTheCardUntilTheNextAttempt) {
  ASSERT_TRUE(isReady());
  velsim().control("fault connectDevice 1 error \"the cable is loose\"");

  click(kStick);
  EXPECT_TRUE(ends(kStick));

  EXPECT_EQ(problemOf(kStick), "The cable is loose. See the service's log.");
  EXPECT_FALSE(card(kStick).toggle().isChecked());
  EXPECT_EQ(problemOf(kCamera), "");
  QCoreApplication::processEvents();
  EXPECT_NEAR(card(kStick).width(), card(kCamera).width(), 1);
  EXPECT_EQ(card(kStick).toggle().accessibleDescription(), card(kStick).problem());

  click(kStick);
  EXPECT_EQ(problemOf(kStick), "");
  EXPECT_TRUE(ends(kStick));
  EXPECT_EQ(problemOf(kStick), "");
  // A reading that began before may show its own state first.
  EXPECT_TRUE(loopUntil([&] { return stateOf(kStick) == "Attached to debian"; }));
}

TEST_F(WindowTest, ARefusalSaysWhatToDo) {
  ASSERT_TRUE(isReady());
  const vel::Result<void> forbidden = vel::Client().setLocalPolicy(
      std::get<vel::DeviceNumber>(kStick), vel::LocalPolicy::kForbidden, "Memory stick", "");
  ASSERT_TRUE(forbidden);

  click(kStick);
  EXPECT_TRUE(ends(kStick));

  EXPECT_EQ(problemOf(kStick),
            "The service refused: by the policy of the device, or by the user. Change its policy, "
            "or allow it on this machine.");
}

TEST_F(WindowTest, AServiceThatDiesGreysTheWindowUntilTheNextOneIsThere) {
  ASSERT_TRUE(isReady());
  card(kCamera).toggle().setFocus();

  velsim().kill();
  ASSERT_TRUE(becomesUnavailable());

  EXPECT_TRUE(window.hasBanner());
  // A request that was under way has another reason at first.
  EXPECT_TRUE(loopUntil([&] {
    return window.bannerText().contains("Start velserviced, or velsim to try without hardware.");
  }));
  EXPECT_FALSE(card(kCamera).toggle().isEnabled());
  EXPECT_FALSE(window.vms().isEnabled());
  EXPECT_TRUE(window.retryButton().isEnabled());

  velsim().start();
  ASSERT_TRUE(isReady());

  EXPECT_FALSE(window.hasBanner());
  EXPECT_EQ(window.focusWidget(), &card(kCamera).toggle());
  click(kCamera);
  EXPECT_TRUE(ends(kCamera));
  EXPECT_EQ(stateOf(kCamera), "Attached to debian");
}

// --- Search, filter, events ----------------------------------------------------------------------

TEST_F(WindowTest, SearchAndFilterChooseTheCards) {
  velsim().control("attach 11 \"ubuntu\"");
  ASSERT_TRUE(isReady());
  ASSERT_TRUE(loopUntil([&] { return isAttached(model, kStick, "ubuntu"); }));

  QTest::keyClicks(&page.search(), "PRINTER");
  EXPECT_THAT(shownCards(), ElementsAre("Label printer", "Office laser", "Photo printer"));
  EXPECT_EQ(page.summary().toStdString(), "3 of 7 shown, 1 attached");
  page.search().clear();
  QTest::keyClicks(&page.search(), "ubuntu");
  EXPECT_THAT(shownCards(), ElementsAre("Memory stick"));
  page.search().clear();

  const auto shownWithNextFilter = [&] {
    QTest::keyClick(&page.filter(), Qt::Key_Down);
    return shownCards();
  };
  EXPECT_EQ(shownWithNextFilter().size(), 5U) << "devices";
  EXPECT_THAT(shownWithNextFilter(), ElementsAre("Office laser", "Photo printer"));
  EXPECT_THAT(shownWithNextFilter(), ElementsAre("Memory stick"));
  // Only those that are attached remain.
  click(kStick);
  EXPECT_TRUE(ends(kStick));
  EXPECT_THAT(shownCards(), ElementsAre());
  EXPECT_EQ(shownWithNextFilter().size(), 7U) << "not attached";
}

TEST_F(WindowTest, CardsComeAndGoWithTheirDevices) {
  ASSERT_TRUE(isReady());

  const vel::DeviceNumber plugged = plug("camera \"A <b>new</b> camera\"");
  ASSERT_TRUE(appears(plugged));

  EXPECT_EQ(shownCards().front(), "A <b>new</b> camera");
  click(plugged);
  EXPECT_TRUE(ends(plugged));
  EXPECT_EQ(stateOf(plugged), "Attached to debian");
  unplug(plugged);
  EXPECT_TRUE(loopUntil([&] { return page.board().card(plugged) == nullptr; }));
  EXPECT_THAT(vmTexts(), ElementsAre("debian", "ubuntu", "win10", "win11"));
}

TEST_F(WindowTest, EachOfManyDevicesHasACard) {
  ASSERT_TRUE(isReady());
  std::vector<vel::DeviceNumber> numbers;
  for (int i = 0; i < 50; ++i) {
    numbers.push_back(plug("generic \"Adapter\""));
    // The card of one that goes leaves its place to another.
    if (i % 3 == 0) {
      unplug(numbers.back());
      numbers.pop_back();
    }
  }
  ASSERT_TRUE(loopUntil([&] { return page.board().count() == 7 + 33; }));
  EXPECT_EQ(shownCards().size(), 7U + 33U);
  for (const vel::DeviceNumber number : numbers) {
    unplug(number);
  }
  EXPECT_TRUE(loopUntil([&] { return page.board().count() == 7; }));
  EXPECT_EQ(shownCards().size(), 7U);
}

}  // namespace
}  // namespace panel
