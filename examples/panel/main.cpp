// panel: the VMs, devices and printers of the service, in a window.

#include <QApplication>
#include <QCommandLineParser>

#include "examples/panel/service/service.h"
#include "examples/panel/window.h"

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QCoreApplication::setApplicationName("panel");
  QCommandLineParser parser;
  parser.setApplicationDescription(QCoreApplication::translate(
      "panel",
      "Attaches the devices and printers of this machine to VMs. QXBUS_ADDRESS names the "
      "bus of the service."));
  parser.addHelpOption();
  parser.process(application);

  panel::Service service;
  panel::Window window(service);
  window.show();
  return QApplication::exec();
}
