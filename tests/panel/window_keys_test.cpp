// The keys of the window's parts, such as Alt+A.

#include <map>

#include <QLabel>

#include "examples/panel/desktop/language.h"
#include "tests/panel/window_test.h"

namespace panel {
namespace {

// Qt moves between the holders of a key instead of doing what they are for.
std::vector<std::string> sharedKeys(Window& window) {
  std::map<QString, int> holders;
  const auto count = [&](const QString& text) {
    ++holders[QKeySequence::mnemonic(text).toString()];
  };
  for (int index = 0; index < window.pages().count(); ++index) {
    count(window.pages().tabText(index));
  }
  for (QWidget* const widget : window.content().findChildren<QWidget*>()) {
    const auto* const label = qobject_cast<QLabel*>(widget);
    const auto* const button = qobject_cast<QAbstractButton*>(widget);
    if (label && label->buddy() && label->isVisible()) {
      count(label->text());
    } else if (button && !button->shortcut().isEmpty() &&
               window.pages().currentWidget()->isAncestorOf(button)) {
      // Also one that is hidden now.
      count(button->text());
    }
  }
  for (const QPushButton* const button :
       {&window.newDeviceCard().attachButton(), &window.newDeviceCard().alwaysButton(),
        &window.newDeviceCard().ignoreButton()}) {
    count(button->text());
  }
  std::vector<std::string> shared;
  for (const auto& [key, number] : holders) {
    if (!key.isEmpty() && number > 1) {
      shared.push_back(key.toStdString());
    }
  }
  return shared;
}

TEST_F(WindowTest, EachKeyOfAPageIsThatOfOnePartInEveryLanguage) {
  for (const QLocale::Language language : {QLocale::English, QLocale::German}) {
    const Language texts{QLocale(language)};
    Window other(service);
    other.show();
    ASSERT_TRUE(loopUntil([&] { return !other.things().things().empty(); }));
    const vel::DeviceNumber plugged = plug("camera \"Front camera\"");
    ASSERT_TRUE(loopUntil([&] { return other.newDeviceCard().isVisible(); }));
    for (int index = 0; index < other.pages().count(); ++index) {
      other.pages().setCurrentIndex(index);

      EXPECT_THAT(sharedKeys(other), testing::IsEmpty())
          << other.pages().tabText(index).toStdString();
    }
    unplug(plugged);
  }
}

}  // namespace
}  // namespace panel
