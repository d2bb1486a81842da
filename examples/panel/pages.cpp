#include "examples/panel/pages.h"

#include <QKeySequence>
#include <QShortcut>

namespace panel {
namespace {

// Ctrl+1 to Ctrl+9.
constexpr int kNumberedPages = 9;

}  // namespace

Pages::Pages() {
  setDocumentMode(true);
  // The bar takes its name from the page.
  setAccessibleName(tr("Pages"));
  const auto onKeys = [this](const QKeySequence& keys, int step) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, [this, step] { turn(step); });
  };
  onKeys(QKeySequence("Ctrl+PgDown"), 1);
  onKeys(QKeySequence("Ctrl+PgUp"), -1);
}

void Pages::add(QWidget* page, const QString& title) {
  const int index = addTab(page, title);
  page->setAccessibleName(QString(title).remove('&'));
  if (index < kNumberedPages) {
    const QKeySequence keys(QString("Ctrl+%1").arg(index + 1));
    connect(new QShortcut(keys, this), &QShortcut::activated, this,
            [this, page] { setCurrentWidget(page); });
  }
}

void Pages::turn(int step) {
  setCurrentIndex((currentIndex() + step + count()) % count());
}

}  // namespace panel
