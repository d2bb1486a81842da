// The program panel as a user starts it.

#include <iostream>

#include <QElapsedTimer>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "tests/panel/panel_test.h"

namespace panel {
namespace {

using testing::HasSubstr;

class ProgramTest : public PanelTest {
 protected:
  // Nothing of the user is read or written.
  ProgramTest() {
    environment.insert("XDG_CONFIG_HOME", folder.path());
    environment.insert("LC_ALL", "C.UTF-8");
    // Qt's offscreen platform leaks its screen. The tests of the window look for leaks of the
    // panel.
    environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":detect_leaks=0");
  }

  int run(const QStringList& arguments) {
    constexpr int kPatienceMs = 240000;
    program.setProcessEnvironment(environment);
    program.start(PANEL_PROGRAM, arguments);
    EXPECT_TRUE(program.waitForFinished(kPatienceMs));
    errors = program.readAllStandardError().toStdString();
    return program.exitCode();
  }

  const QTemporaryDir folder;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  QProcess program;
  std::string errors;
};

TEST_F(ProgramTest, APictureOfTheWindowIsThereSoonAfterTheStart) {
  const QString picture = folder.filePath("panel.png");
  QElapsedTimer time;
  time.start();

  EXPECT_EQ(run({"--screenshot", picture}), 0) << errors;

  // From nothing to a written picture: more than a person waits for.
  RecordProperty("start_ms", std::to_string(time.elapsed()));
  std::cout << "start, lists read, painted, picture written: " << time.elapsed() << " ms\n";
  const QImage image(picture);
  EXPECT_GT(image.width(), 300);
  EXPECT_FALSE(image.allGray());
}

TEST_F(ProgramTest, APictureThatCannotBeWrittenIsAnError) {
  EXPECT_EQ(run({"--screenshot", folder.filePath("no/such/folder.png")}), 4);

  EXPECT_THAT(errors, HasSubstr("cannot write the picture; does the folder exist?"));
}

TEST_F(ProgramTest, RunsOnAnXServer) {
  const QString xvfb = QStandardPaths::findExecutable("Xvfb");
  if (xvfb.isEmpty()) {
    GTEST_SKIP() << "there is no Xvfb: scripts/install-dependencies";
  }
  // The server chooses a free display, and writes its number when it is ready.
  QProcess server;
  server.start(xvfb, {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
  constexpr int kPatienceMs = 240000;
  ASSERT_TRUE(server.waitForReadyRead(kPatienceMs)) << server.readAllStandardError().toStdString();
  const QString display = ':' + QString::fromLatin1(server.readAllStandardOutput().trimmed());
  environment.insert("DISPLAY", display);
  environment.insert("QT_QPA_PLATFORM", "xcb");
  const QString picture = folder.filePath("panel.png");

  EXPECT_EQ(run({"--screenshot", picture}), 0) << errors;

  EXPECT_GT(QImage(picture).width(), 300);
  server.terminate();
  EXPECT_TRUE(server.waitForFinished(kPatienceMs));
}

TEST_F(ProgramTest, APageThatIsNotThereIsAnError) {
  for (const char* const page : {"0", "6", "pen", ""}) {
    EXPECT_EQ(run({"--screenshot", folder.filePath("panel.png"), "--page", page}), 1) << page;

    EXPECT_THAT(errors, HasSubstr("there is no such page; choose one of 1 to 5")) << page;
  }
}

TEST_F(ProgramTest, ItsHelpSpeaksTheLanguageOfTheUser) {
  environment.insert("LC_ALL", "de_DE.UTF-8");
  environment.insert("QT_QPA_PLATFORM", "offscreen");

  EXPECT_EQ(run({"--help"}), 0) << errors;

  EXPECT_THAT(program.readAllStandardOutput().toStdString(),
              HasSubstr("Verbindet Geräte und Drucker dieses Rechners mit VMs."));
}

}  // namespace
}  // namespace panel
