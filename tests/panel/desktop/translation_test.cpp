// The texts of the panel in other languages: each is translated, and none stands in the window
// without having been offered to a translator.

#include <set>

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>

#include "examples/panel/desktop/language.h"
#include "tests/panel/window_test.h"

namespace panel {
namespace {

using testing::IsEmpty;

// --- The file of a translator --------------------------------------------------------------------

struct Messages {
  std::set<std::string> all;  // context and source
  std::set<std::string> unfinished;
};

Messages messagesIn(const QString& name) {
  QFile file(name);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
  QXmlStreamReader xml(&file);
  Messages messages;
  std::string context;
  std::string source;
  while (!xml.atEnd()) {
    if (xml.readNext() != QXmlStreamReader::StartElement) {
      continue;
    }
    if (xml.name() == QString("name")) {
      context = xml.readElementText().toStdString() + ": ";
    } else if (xml.name() == QString("source")) {
      source = context + xml.readElementText().toStdString();
      messages.all.insert(source);
    } else if (xml.name() == QString("translation")) {
      const bool isMarked = xml.attributes().hasAttribute("type");
      if (xml.readElementText().isEmpty() || isMarked) {
        messages.unfinished.insert(source);
      }
    }
  }
  EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
  return messages;
}

TEST(TranslationTest, EachTextOfTheSourcesIsInTheFileAndTranslated) {
  const QTemporaryDir folder;
  const QString copy = folder.filePath("panel_de.ts");
  ASSERT_TRUE(QFile::copy(PANEL_SOURCES "/translations/panel_de.ts", copy));
  const Messages before = messagesIn(copy);

  const int status = QProcess::execute(
      LUPDATE, {"-silent", "-locations", "none", "-no-obsolete", "-I" REPOSITORY, PANEL_SOURCES,
                REPOSITORY "/examples/pen_canvas", FOREIGN_TEXTS, "-ts", copy});

  ASSERT_EQ(status, 0);
  EXPECT_GT(before.all.size(), 50U);
  EXPECT_EQ(messagesIn(copy).all, before.all)
      << "bring the file up to date: cmake --build --preset dev --target panel_translations";
  EXPECT_THAT(before.unfinished, IsEmpty()) << "translate them in panel_de.ts";
}

// --- The window ----------------------------------------------------------------------------------

// Marks each text that goes through translation.
class MarkingTranslator : public QTranslator {
 public:
  explicit MarkingTranslator(QString direction = "LTR") : direction_(std::move(direction)) {
    QCoreApplication::installTranslator(this);
  }

  bool isEmpty() const override { return false; }
  QString translate(const char* context, const char* source, const char* /*disambiguation*/,
                    int /*n*/) const override {
    if (QByteArray(source) == "QT_LAYOUT_DIRECTION") {
      return direction_;
    }
    // Those of Qt itself have translators of their own.
    const QByteArray name = context;
    const bool isMarked = name.startsWith("panel") || name == kForeignTexts || name == "QTabBar";
    return isMarked ? "\u00AB" + QString(source) + "\u00BB" : QString();
  }

 private:
  const QString direction_;
};

// Everything that a person may read or hear of a widget.
std::vector<QString> textsOf(QWidget& widget) {
  std::vector<QString> texts = {widget.accessibleName(), widget.accessibleDescription(),
                                widget.toolTip(), widget.windowTitle()};
  if (const auto* const label = qobject_cast<QLabel*>(&widget)) {
    texts.push_back(label->text());
  } else if (const auto* const button = qobject_cast<QAbstractButton*>(&widget)) {
    texts.push_back(button->text());
  } else if (const auto* const line = qobject_cast<QLineEdit*>(&widget)) {
    texts.push_back(line->placeholderText());
  } else if (const auto* const box = qobject_cast<QComboBox*>(&widget)) {
    for (int i = 0; i < box->count(); ++i) {
      texts.push_back(box->itemText(i));
    }
  }
  for (const QAction* const action : widget.actions()) {
    texts.push_back(action->text());
    texts.push_back(action->toolTip());
  }
  return texts;
}

std::set<std::string> unmarkedTexts(QWidget& window, const ThingsModel& model) {
  std::set<std::string> unmarked;
  QList<QWidget*> widgets = window.findChildren<QWidget*>();
  widgets.append(&window);
  for (QWidget* const widget : widgets) {
    for (const QString& text : textsOf(*widget)) {
      const bool isName = std::any_of(model.things().begin(), model.things().end(),
                                      [&](const auto& each) { return each.second.name == text; });
      if (!text.isEmpty() && !isName && !text.contains("\u00AB")) {
        unmarked.insert(text.toStdString());
      }
    }
  }
  return unmarked;
}

class TranslatedWindowTest : public PanelTest {
 protected:
  static bool isReady(const Service& service) {
    return loopUntil([&] { return service.isReady(); });
  }
};

TEST_F(TranslatedWindowTest, NoTextOfTheWindowIsLeftOut) {
  const MarkingTranslator translator;
  Service service;
  Window window(service);
  window.show();
  ASSERT_TRUE(isReady(service));

  EXPECT_THAT(unmarkedTexts(window, window.things()), IsEmpty());
  EXPECT_GT(window.findChildren<QWidget*>().size(), 50);
}

TEST_F(TranslatedWindowTest, TheWindowSpeaksGerman) {
  const Language german(QLocale(QLocale::German, QLocale::Austria));
  Service service(std::chrono::milliseconds(50));
  Window window(service);
  ASSERT_TRUE(isReady(service));

  EXPECT_EQ(window.windowTitle().toStdString(), "Geräte und Drucker");
  EXPECT_EQ(window.pages().page<ThingsPage>().summary().toStdString(),
            "7 von 7 gezeigt, 0 verbunden");
  velsim().kill();
  EXPECT_TRUE(loopUntil([&] {
    return window.bannerText().contains(
        "Starten Sie velserviced, oder velsim für einen Versuch ohne Geräte.");
  }));
}

TEST_F(TranslatedWindowTest, ALanguageWithoutATranslationIsEnglish) {
  const Language welsh{QLocale(QLocale::Welsh)};
  Service service;
  const Window window(service);

  EXPECT_EQ(window.windowTitle().toStdString(), "Devices and printers");
}

TEST_F(TranslatedWindowTest, TheDirectionIsThatOfTheLanguage) {
  Service service;
  Window window(service);
  window.show();
  ASSERT_TRUE(isReady(service));
  ASSERT_EQ(window.layoutDirection(), Qt::LeftToRight);
  {
    const MarkingTranslator arabic("RTL");
    EXPECT_EQ(window.layoutDirection(), Qt::RightToLeft);
    EXPECT_TRUE(loopUntil([&] {
      return window.vms().mapTo(&window, QPoint(0, 0)).x() >
             window.pages().page<ThingsPage>().board().mapTo(&window, QPoint(0, 0)).x();
    }));
  }
  EXPECT_EQ(window.layoutDirection(), Qt::LeftToRight);
}

}  // namespace
}  // namespace panel
