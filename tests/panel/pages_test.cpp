// The pages of the window, switched by mouse and keyboard.

#include "examples/panel/pages.h"

#include <QAccessible>
#include <QTabBar>
#include <QTest>

#include <gmock/gmock.h>

namespace panel {
namespace {

class FirstPage : public QWidget {};
class SecondPage : public QWidget {};

class PagesTest : public testing::Test {
 protected:
  PagesTest() {
    pages.add(new FirstPage, "&First");
    pages.add(new SecondPage, "&Second");
    pages.show();
    pages.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&pages));
  }

  Pages pages;
};

TEST_F(PagesTest, AreFoundByTheirType) {
  EXPECT_EQ(&pages.page<SecondPage>(), pages.widget(1));
  EXPECT_EQ(pages.page<SecondPage>().accessibleName().toStdString(), "Second");
}

TEST_F(PagesTest, AClickOnTheBarShowsAPage) {
  QTest::mouseClick(pages.tabBar(), Qt::LeftButton, Qt::NoModifier,
                    pages.tabBar()->tabRect(1).center());

  EXPECT_TRUE(pages.page<SecondPage>().isVisible());
  EXPECT_FALSE(pages.page<FirstPage>().isVisible());
}

TEST_F(PagesTest, KeysShowAPage) {
  struct Row {
    Qt::Key key;
    Qt::KeyboardModifier modifier;
    int page;
  };
  for (const Row& row : {Row{Qt::Key_2, Qt::ControlModifier, 1},
                         {Qt::Key_1, Qt::ControlModifier, 0},
                         {Qt::Key_3, Qt::ControlModifier, 0},
                         {Qt::Key_PageDown, Qt::ControlModifier, 1},
                         {Qt::Key_PageDown, Qt::ControlModifier, 0},
                         {Qt::Key_PageUp, Qt::ControlModifier, 1},
                         {Qt::Key_F, Qt::AltModifier, 0}}) {
    QTest::keyClick(&pages, row.key, row.modifier);

    EXPECT_EQ(pages.currentIndex(), row.page) << QKeySequence(row.key).toString().toStdString();
  }
}

TEST_F(PagesTest, HaveNamesForAScreenReader) {
  pages.setCurrentIndex(1);

  const auto* const bar = QAccessible::queryAccessibleInterface(pages.tabBar());
  EXPECT_EQ(bar->text(QAccessible::Name).toStdString(), "Second");
  EXPECT_EQ(bar->child(0)->text(QAccessible::Name).toStdString(), "First");
  EXPECT_EQ(pages.accessibleName().toStdString(), "Pages");
}

}  // namespace
}  // namespace panel
