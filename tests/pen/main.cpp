// Tests that need Qt, which is told before anything else that there is no display.

#include <memory>

#include <gmock/gmock.h>
#include <QApplication>

// Of LeakSanitizer, where it is linked in.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace {

// Qt's offscreen platform never frees its screen. Everything later counts.
std::unique_ptr<QApplication> makeApplication(int& argc, char** argv) {
  if (__lsan_disable) {
    __lsan_disable();
  }
  auto application = std::make_unique<QApplication>(argc, argv);
  if (__lsan_enable) {
    __lsan_enable();
  }
  return application;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  testing::InitGoogleMock(&argc, argv);
  const std::unique_ptr<QApplication> application = makeApplication(argc, argv);
  return RUN_ALL_TESTS();
}
