// Every page as it looks: in light, dark and high contrast, and from right to left, compared with
// kept pictures. README.md beside this file says how to make them anew.

#include <cmath>
#include <cstdlib>
#include <memory>

#include <QApplication>
#include <QDir>
#include <QFontInfo>
#include <QImage>
#include <QStyle>
#include <QStyleFactory>

#include "examples/panel/pen/pen_page.h"
#include "examples/panel/quality/quality_page.h"
#include "tests/panel/window_test.h"

namespace panel {
namespace {

constexpr char kFont[] = "DejaVu Sans";
constexpr int kFontPixels = 12;
constexpr QSize kSize(640, 480);

// --- Comparison ----------------------------------------------------------------------------------

// Libraries of fonts draw edges of letters a little differently. A pixel counts when it differs
// much, and a picture when a part of its pixels does that a moved or missing word exceeds.
constexpr int kMuch = 64;
constexpr double kMostDifferent = 0.004;

double differentShare(const QImage& a, const QImage& b) {
  if (a.size() != b.size()) {
    return 1;
  }
  int count = 0;
  for (int y = 0; y < a.height(); ++y) {
    for (int x = 0; x < a.width(); ++x) {
      const QRgb left = a.pixel(x, y);
      const QRgb right = b.pixel(x, y);
      const int most =
          std::max({std::abs(qRed(left) - qRed(right)), std::abs(qGreen(left) - qGreen(right)),
                    std::abs(qBlue(left) - qBlue(right))});
      count += most > kMuch ? 1 : 0;
    }
  }
  return count / (double{1} * a.width() * a.height());
}

// --- Looks ---------------------------------------------------------------------------------------

QPalette paletteOf(const QColor& window, const QColor& base, const QColor& text,
                   const QColor& highlight, const QColor& highlighted, const QColor& disabled) {
  QPalette palette(text, window, window.lighter(), window.darker(), window.darker(120), text, base);
  palette.setColor(QPalette::AlternateBase, window.lighter(115));
  palette.setColor(QPalette::Highlight, highlight);
  palette.setColor(QPalette::HighlightedText, highlighted);
  palette.setColor(QPalette::ToolTipBase, base);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::Link, highlight);
  palette.setColor(QPalette::PlaceholderText, disabled);
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, disabled);
  }
  return palette;
}

struct Look {
  std::string name;
  QPalette palette;
  Qt::LayoutDirection direction = Qt::LeftToRight;
};

Look lookOf(const std::string& name) {
  const std::unique_ptr<QStyle> fusion(QStyleFactory::create("Fusion"));
  const QPalette light = fusion->standardPalette();
  if (name == "dark") {
    return {name, paletteOf(QColor(45, 45, 48), QColor(30, 30, 30), QColor(235, 235, 235),
                            QColor(42, 130, 218), Qt::white, QColor(128, 128, 128))};
  }
  if (name == "contrast") {
    return {name, paletteOf(Qt::black, Qt::black, Qt::white, Qt::yellow, Qt::black,
                            QColor(160, 160, 160))};
  }
  return {name, light, name == "right-to-left" ? Qt::RightToLeft : Qt::LeftToRight};
}

// Puts the application back afterwards.
class Dressed {
 public:
  explicit Dressed(const Look& look) {
    QApplication::setStyle("Fusion");
    QFont font(kFont);
    font.setPixelSize(kFontPixels);
    QApplication::setFont(font);
    QApplication::setPalette(look.palette);
    QApplication::setCursorFlashTime(0);
    QApplication::setLayoutDirection(look.direction);
  }
  ~Dressed() {
    QApplication::setLayoutDirection(Qt::LeftToRight);
    QApplication::setPalette(palette_);
    QApplication::setFont(font_);
  }
  Dressed(const Dressed&) = delete;
  Dressed& operator=(const Dressed&) = delete;

 private:
  const QPalette palette_ = QApplication::palette();
  const QFont font_ = QApplication::font();
};

// --- Pictures ------------------------------------------------------------------------------------

class PicturesTest : public PanelTest, public testing::WithParamInterface<const char*> {
 protected:
  PicturesTest() : dressed_(lookOf(GetParam())) { window.resize(kSize); }

  void SetUp() override {
    if (QFontInfo(QFont(kFont)).family() != kFont) {
      GTEST_SKIP() << "the font " << kFont << " is missing: scripts/install-dependencies";
    }
    window.show();
    ASSERT_TRUE(loopUntil([&] { return service.isReady(); }));
  }

  // Something to see on the pages that begin empty.
  static void fill(QWidget& page) {
    if (auto* const pen = dynamic_cast<PenPage*>(&page)) {
      pen->sampleButton().click();
    } else if (auto* const quality = dynamic_cast<QualityPage*>(&page)) {
      ASSERT_TRUE(loopUntil([&] { return !quality->model().of("debian").empty(); }));
      // One reading a second would be long to wait for, and the next one would take the place of
      // these.
      quality->model().blockSignals(true);
      std::vector<double> wave;
      std::vector<double> lower;
      for (int i = 0; i < static_cast<int>(QualityModel::kMostReadings); ++i) {
        wave.push_back(50 + 40 * std::sin(i / 9.0));
        lower.push_back(wave.back() / 3);
      }
      quality->plot().setLines({{"First figure", wave}, {"Second figure", lower}});
    }
  }

  static bool isWriting() { return std::getenv("PANEL_WRITE_PICTURES") != nullptr; }

  // scale   2: as on a fine screen
  void expectLook(const QString& name, int scale = 1) {
    // Pages read when they are shown: what they look like then is not theirs for long.
    constexpr int kSettledMs = 500;
    constexpr int kPatienceMs = 20000;
    const QString file = name + '-' + GetParam() + ".png";
    if (isWriting()) {
      QTest::qWait(kSettledMs);
      ASSERT_TRUE(picture(scale).save(QDir(PICTURES).filePath(file)));
      return;
    }
    const QImage kept(QDir(PICTURES).filePath(file));
    const bool isKept = QTest::qWaitFor(
        [&] { return differentShare(picture(scale), kept) <= kMostDifferent; }, kPatienceMs);
    if (!isKept) {
      const QDir results(PICTURE_RESULTS);
      EXPECT_TRUE(results.mkpath("."));
      EXPECT_TRUE(picture(scale).save(results.filePath(file)));
      ADD_FAILURE() << file.toStdString() << ": a share of " << differentShare(picture(scale), kept)
                    << " of its pixels differs; " << results.filePath(file).toStdString()
                    << " has what it looks like. tests/panel/pictures/README.md says what to do.";
    }
  }

  QImage picture(int scale) {
    QPixmap grabbed(window.size() * scale);
    grabbed.setDevicePixelRatio(scale);
    window.render(&grabbed);
    return grabbed.toImage().convertToFormat(QImage::Format_RGB32);
  }

 private:
  const Dressed dressed_;

 protected:
  Service service{std::chrono::milliseconds(50)};
  Window window{service};
};

INSTANTIATE_TEST_SUITE_P(Looks, PicturesTest,
                         testing::Values("light", "dark", "contrast", "right-to-left"),
                         [](const testing::TestParamInfo<const char*>& row) {
                           std::string name = row.param;
                           name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                           return name;
                         });

TEST_P(PicturesTest, EachPage) {
  Pages& pages = window.pages();
  ASSERT_TRUE(vel::Client().reportBandwidth("debian", 90, 30));
  for (int index = 0; index < pages.count(); ++index) {
    pages.setCurrentIndex(index);
    QCoreApplication::processEvents();
    fill(*pages.widget(index));
    expectLook(pages.widget(index)->accessibleName().toLower().replace(' ', '-'));
  }
}

TEST_P(PicturesTest, AQuestionAnAttachedDeviceAndAProblem) {
  velsim().control("fault connectDevice 1 error \"the cable is loose\"");
  window.things().attach(kStick, "win11");
  ASSERT_TRUE(loopUntil([&] { return isIdle(window.things(), kStick); }));
  window.things().attach(kCamera, "win11");
  ASSERT_TRUE(loopUntil([&] { return isIdle(window.things(), kCamera); }));
  plug("camera \"Front camera\"");
  plug("generic \"Adapter\"");
  ASSERT_TRUE(loopUntil([&] { return window.newDevices().waiting().size() == 2; }));
  expectLook("question");
}

TEST_P(PicturesTest, AServiceThatIsAway) {
  velsim().kill();
  ASSERT_TRUE(loopUntil([&] { return window.bannerText().startsWith("No service"); }));
  expectLook("away");
}

TEST_P(PicturesTest, FineOnAFineScreen) {
  if (std::string(GetParam()) == "light") {
    expectLook("fine", 2);
  }
}

// The comparison sees what a person sees.
TEST(PictureComparisonTest, SeesAMissingWordAndAnotherColour) {
  const QDir folder(PICTURES);
  const QImage light(folder.filePath("devices-and-printers-light.png"));
  ASSERT_FALSE(light.isNull());

  EXPECT_EQ(differentShare(light, light), 0);
  EXPECT_GT(differentShare(light, QImage(folder.filePath("devices-and-printers-dark.png"))), 0.5);
  EXPECT_GT(
      differentShare(light, QImage(folder.filePath("devices-and-printers-right-to-left.png"))),
      kMostDifferent);
  EXPECT_GT(differentShare(light, QImage(folder.filePath("question-light.png"))), kMostDifferent);
  EXPECT_EQ(differentShare(light, QImage()), 1);
}

}  // namespace
}  // namespace panel
