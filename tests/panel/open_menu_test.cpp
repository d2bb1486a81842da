// A device that goes while a person is about to do something with it.

#include <QPointer>
#include <QTimer>

#include "tests/panel/window_test.h"

namespace panel {
namespace {

TEST_F(WindowTest, ADeviceMayGoWhileItsMenuIsOpen) {
  ASSERT_TRUE(isReady());
  const vel::DeviceNumber device = plug("generic \"Adapter\"");
  ASSERT_TRUE(appears(device));
  const QPointer<QMenu> menu = &card(device).more().menu();
  bool wasOpen = false;
  QTimer tick;
  QObject::connect(&tick, &QTimer::timeout, [&] {
    if (menu && menu->isVisible() && !wasOpen) {
      wasOpen = true;
      unplug(device);
    }
  });
  tick.start(10);

  // Returns when the menu has closed.
  card(device).more().showMenu();

  EXPECT_TRUE(wasOpen);
  EXPECT_EQ(page.board().card(device), nullptr);
  EXPECT_TRUE(menu.isNull());
  plugged().clear();
}

}  // namespace
}  // namespace panel
