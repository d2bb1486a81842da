// panel: the VMs, devices and printers of the service, in a window.

#include <QApplication>
#include <QCommandLineParser>

#include "examples/panel/panel_model.h"
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

  panel::PanelModel model;
  panel::Window window(model);
  window.show();
  return QApplication::exec();
}
