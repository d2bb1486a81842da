// panel: the VMs, devices and printers of the service, in a window.

#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QSettings>

#include "examples/panel/desktop/language.h"
#include "examples/panel/desktop/remembered.h"
#include "examples/panel/desktop/tray.h"
#include "examples/panel/service/service.h"
#include "examples/panel/window.h"

namespace {

constexpr int kExitUsage = 1;  // as Qt's parser has it
constexpr int kExitNotWritten = 4;
constexpr char kScreenshot[] = "screenshot";
constexpr char kPage[] = "page";

QString text(const char* english) {
  return QCoreApplication::translate("panel", english);
}

void readArguments(QCommandLineParser& parser) {
  parser.setApplicationDescription(
      text(QT_TRANSLATE_NOOP("panel",
                             "Attaches the devices and printers of this machine to VMs. "
                             "QXBUS_ADDRESS names the bus of the service.")));
  parser.addHelpOption();
  parser.addOption(
      {kScreenshot,
       text(QT_TRANSLATE_NOOP("panel",
                              "Write a picture of the window to this PNG file and exit; needs no "
                              "display")),
       "file"});
  parser.addOption({kPage, text(QT_TRANSLATE_NOOP("panel", "Begin with this page; the first is 1")),
                    "number", "1"});
  parser.process(*QCoreApplication::instance());
}

// A picture needs no display, and Qt asks for the display before it reads the command line.
void choosePlatform(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (QByteArray(argv[i]).startsWith(QByteArray("--") + kScreenshot) &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
      qputenv("QT_QPA_PLATFORM", "offscreen");
    }
  }
}

// False: there is no such page.
bool showPage(panel::Pages& pages, const QString& number) {
  const int page = number.toInt();
  if (page < 1 || page > pages.count()) {
    std::fprintf(stderr, "panel: --page %s: there is no such page; choose one of 1 to %d\n",
                 qPrintable(number), pages.count());
    return false;
  }
  pages.setCurrentIndex(page - 1);
  return true;
}

void save(panel::Window& window, const QString& file) {
  const bool isSaved = window.grab().save(file, "PNG");
  if (!isSaved) {
    std::fprintf(stderr, "panel: %s: cannot write the picture; does the folder exist?\n",
                 qPrintable(file));
  }
  QCoreApplication::exit(isSaved ? 0 : kExitNotWritten);
}

// As soon as the service has answered, or cannot be reached.
int takePicture(const QString& file, const QString& page) {
  panel::Service service;
  panel::Window window(service);
  if (!showPage(window.pages(), page)) {
    return kExitUsage;
  }
  QObject::connect(
      &service, &panel::Service::stateChanged, &window, [&] { save(window, file); },
      Qt::QueuedConnection);
  window.show();
  return QApplication::exec();
}

int show(const QString& page) {
  panel::Service service;
  panel::Window window(service);
  if (!showPage(window.pages(), page)) {
    return kExitUsage;
  }
  QSettings settings;
  const panel::Remembered remembered(window, settings);
  panel::Tray tray(window, service);
  QApplication::setWindowIcon(tray.icon().icon());
  window.show();
  return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
  choosePlatform(argc, argv);
  QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
  QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
  QCoreApplication::setOrganizationName("velproxy");
  QCoreApplication::setApplicationName("panel");
  const QApplication application(argc, argv);
  const panel::Language language{QLocale()};
  QCommandLineParser parser;
  readArguments(parser);
  const QString page = parser.value(kPage);
  return parser.isSet(kScreenshot) ? takePicture(parser.value(kScreenshot), page) : show(page);
}
