// The main function of tests with Qt, which run without a display unless the environment names a
// platform that has one.

#include <memory>

#include <gmock/gmock.h>
#include <QApplication>

#include "tests/client/end_of_loop.h"

// Functions of LeakSanitizer, null without it.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace {

// Qt's offscreen platform never frees its screen. Leaks after this function count.
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
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  testing::InitGoogleMock(&argc, argv);
  const std::unique_ptr<QApplication> application = makeApplication(argc, argv);
  const int status = RUN_ALL_TESTS();
  runLoopToItsEnd();
  return status;
}
