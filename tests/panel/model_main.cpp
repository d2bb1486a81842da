// The main function of tests of models: Qt without windows.

#include <gmock/gmock.h>
#include <QCoreApplication>

#include "tests/client/end_of_loop.h"

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  const QCoreApplication application(argc, argv);
  const int status = RUN_ALL_TESTS();
  runLoopToItsEnd();
  return status;
}
