#include "examples/panel/widgets/rows.h"

#include <algorithm>

#include <QListWidget>
#include <QSignalBlocker>

namespace panel {
namespace {

constexpr int kKeyRole = Qt::UserRole;

}  // namespace

void showRows(QListWidget& list, const std::vector<Row>& rows) {
  const QSignalBlocker blocker(list);
  const QListWidgetItem* const before = list.currentItem();
  const QVariant chosen = before ? before->data(kKeyRole) : QVariant();
  const int count = static_cast<int>(rows.size());
  int current = std::min(std::max(list.currentRow(), 0), count - 1);
  while (list.count() > count) {
    delete list.takeItem(count);
  }
  for (int each = 0; each < count; ++each) {
    const Row& row = rows[static_cast<std::size_t>(each)];
    if (each == list.count()) {
      list.addItem(QString());
    }
    const QByteArray key = QByteArray::fromStdString(row.key);
    list.item(each)->setText(row.text);
    list.item(each)->setData(kKeyRole, key);
    if (chosen.isValid() && chosen.toByteArray() == key) {
      current = each;
    }
  }
  list.setCurrentRow(current);
}

}  // namespace panel
