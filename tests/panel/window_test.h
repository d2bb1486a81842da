// The panel's window, as a person uses it.

#ifndef TESTS_PANEL_WINDOW_TEST_H
#define TESTS_PANEL_WINDOW_TEST_H

#include <stdexcept>
#include <string>
#include <vector>

#include <QTest>

#include "examples/panel/things/things_page.h"
#include "examples/panel/window.h"
#include "tests/panel/panel_test.h"

namespace panel {

class WindowTest : public PanelTest {
 protected:
  WindowTest() {
    window.show();
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
  }

  // Also when nothing more will be read, which would meet the faults of a test.
  bool isReady() {
    return loopUntil([&] { return service.isReady() && !service.isReading(); });
  }
  bool becomesUnavailable() {
    return loopUntil([&] { return service.state() == Service::State::kUnavailable; });
  }
  // Runs the loop until the operation has ended.
  bool ends(const Number& number) {
    return loopUntil([&] { return isIdle(model, number); });
  }
  bool appears(const Number& number) {
    return loopUntil([&] { return page.board().card(number) != nullptr; });
  }

  Card& card(const Number& number) {
    Card* const found = page.board().card(number);
    if (!found) {
      throw std::runtime_error("there is no such card");
    }
    return *found;
  }
  std::string stateOf(const Number& number) { return card(number).state().toStdString(); }
  std::string problemOf(const Number& number) { return card(number).problem().toStdString(); }
  std::string banner() { return window.bannerText().toStdString(); }

  void click(const Number& number) { QTest::mouseClick(&card(number).toggle(), Qt::LeftButton); }
  void choose(const QString& vm) {
    const auto items = window.vms().findItems(vm, Qt::MatchStartsWith);
    ASSERT_EQ(items.size(), 1);
    QTest::mouseClick(window.vms().viewport(), Qt::LeftButton, Qt::NoModifier,
                      window.vms().visualItemRect(items.front()).center());
  }
  std::vector<std::string> vmTexts() {
    std::vector<std::string> texts;
    for (int row = 0; row < window.vms().count(); ++row) {
      texts.push_back(window.vms().item(row)->text().toStdString());
    }
    return texts;
  }
  // The names on the cards that are shown, in the order of the Tab key.
  std::vector<std::string> shownCards() {
    std::vector<std::string> names;
    QWidget* const first = &page.filter();
    for (QWidget* each = first->nextInFocusChain(); each != first;
         each = each->nextInFocusChain()) {
      auto* const toggle = dynamic_cast<Switch*>(each);
      if (toggle && toggle->isVisible()) {
        names.push_back(dynamic_cast<Card&>(*toggle->parentWidget()).name().toStdString());
      }
    }
    return names;
  }

  Service service{std::chrono::milliseconds(50)};
  Window window{service};
  ThingsModel& model = window.things();
  ThingsPage& page = window.pages().page<ThingsPage>();
};

}  // namespace panel

#endif  // TESTS_PANEL_WINDOW_TEST_H
