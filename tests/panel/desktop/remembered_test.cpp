// Where the window was, after the next start.

#include "examples/panel/desktop/remembered.h"

#include <QSplitter>
#include <QTemporaryDir>

#include "tests/panel/window_test.h"

namespace panel {
namespace {

class RememberedTest : public testing::Test {
 protected:
  const QTemporaryDir folder;
  QSettings settings{folder.filePath("panel.conf"), QSettings::IniFormat};
};

// A window with a splitter of two parts.
struct SplitWindow : QWidget {
  explicit SplitWindow(const QString& name = "parts") {
    splitter.setObjectName(name);
    splitter.addWidget(new QWidget);
    splitter.addWidget(new QWidget);
    splitter.resize(200, 50);
  }

  QSplitter splitter{this};
};

TEST_F(RememberedTest, AWindowReturnsToItsPlaceSizeAndParts) {
  {
    SplitWindow window;
    const Remembered remembered(window, settings);
    window.setGeometry(30, 40, 333, 222);
    window.splitter.setSizes({150, 50});
    window.show();
  }
  settings.sync();

  SplitWindow window;
  const Remembered remembered(window, settings);

  EXPECT_EQ(window.geometry(), QRect(30, 40, 333, 222));
  EXPECT_GT(window.splitter.sizes().front(), 2 * window.splitter.sizes().back());
}

TEST_F(RememberedTest, AWindowThatIsClosedIsKeptAlsoWhenTheProgramIsKilledLater) {
  SplitWindow closed;
  const Remembered remembered(closed, settings);
  closed.show();
  closed.setGeometry(30, 40, 321, 222);
  closed.close();
  settings.sync();

  SplitWindow window;
  const Remembered another(window, settings);

  EXPECT_EQ(window.size(), QSize(321, 222));
}

TEST_F(RememberedTest, SettingsThatAreDamagedAreLeftAlone) {
  settings.setValue("window/geometry", QByteArray("garbled"));
  settings.setValue("window/parts", 7);
  SplitWindow window;
  window.resize(300, 200);

  const Remembered remembered(window, settings);

  EXPECT_EQ(window.size(), QSize(300, 200));
}

TEST_F(WindowTest, HasItsOwnSizeAtTheFirstStart) {
  const QTemporaryDir folder;
  QSettings settings(folder.filePath("panel.conf"), QSettings::IniFormat);
  const QSize own = window.size();

  const Remembered remembered(window, settings);

  EXPECT_EQ(window.size(), own);
  EXPECT_FALSE(window.findChildren<QSplitter*>().first()->objectName().isEmpty());
}

}  // namespace
}  // namespace panel
