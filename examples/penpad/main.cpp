// penpad: draw with a pen, and see the frames that the library sends.

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <QApplication>
#include <QTimer>

#include "examples/penpad/exit_codes.h"
#include "examples/penpad/replay.h"
#include "examples/penpad/window.h"
#include "pen/stroke_file.h"

namespace {

struct Options {
  std::string replay;
  std::string screenshot;
  bool isWithoutDevice = false;
};

void printError(const std::string& line) {
  std::fprintf(stderr, "penpad: %s\n", line.c_str());
}

penpad::ExitCode save(penpad::Window& window, const std::string& name) {
  if (window.picture().save(QString::fromStdString(name), "PNG")) {
    return penpad::kExitOk;
  }
  printError(name + ": cannot write the picture; does the folder exist?");
  return penpad::kExitNotWritten;
}

int show(const Options& options, std::vector<stroke::Event> events, int argc, char** argv) {
  const bool isPicture = !options.screenshot.empty();
  if (isPicture && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    // A picture needs no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QApplication application(argc, argv);
  QApplication::setStyle("Fusion");
  penpad::Window window;
  const auto atEnd = [&] {
    if (isPicture) {
      QCoreApplication::exit(save(window, options.screenshot));
    }
  };
  penpad::Replay replay(
      std::move(events),
      isPicture ? penpad::Replay::Pace::kAtOnce : penpad::Replay::Pace::kAsRecorded,
      &window.drawn(), atEnd);
  window.show();
  if (!options.replay.empty() && !options.isWithoutDevice) {
    window.deviceButton().click();
  }
  if (isPicture || !options.replay.empty()) {
    replay.start();
  }
  return QApplication::exec();
}

int run(const Options& options, int argc, char** argv) {
  std::vector<stroke::Event> events;
  if (!options.replay.empty()) {
    events = stroke::readFile(options.replay);
  }
  return show(options, std::move(events), argc, argv);
}

int parseAndRun(int argc, char** argv) {
  Options options;
  CLI::App app(
      "Draw with a pen or the mouse. The left sheet shows the input, the right sheet the same "
      "strokes from the frames that the library sends, the table those frames.",
      "penpad");
  app.add_option("--replay", options.replay,
                 "Play a recorded stroke: one JSON event per line (see strokes/)");
  app.add_option("--screenshot", options.screenshot,
                 "Write a picture of the window to this PNG file and exit; needs no display");
  app.add_flag("--no-device", options.isWithoutDevice, "Replay before the pen has a device number");
  app.footer(
      "Exit status: 0 success, 1 internal error, 2 wrong usage, 3 cannot read the stroke,\n"
      "4 cannot write the picture.");
  try {
    app.parse(argc, argv);
    return run(options, argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    printError(std::string(error.what()) + "; see penpad --help");
    return penpad::kExitUsage;
  } catch (const stroke::FileError& error) {
    printError(error.what());
    return penpad::kExitBadStroke;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return parseAndRun(argc, argv);
  } catch (const std::exception& error) {
    printError(error.what());
    return penpad::kExitFailed;
  }
}
