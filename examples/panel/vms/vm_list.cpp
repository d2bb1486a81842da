#include "examples/panel/vms/vm_list.h"

#include <utility>

#include <QDropEvent>
#include <QMimeData>
#include <QSignalBlocker>

namespace panel {
namespace {

// As bytes: a service may choose names that are no text.
constexpr int kNameRole = Qt::UserRole;

bool isThing(const QDropEvent& event) {
  return event.mimeData()->hasFormat(kNumberFormat);
}

}  // namespace

VmList::VmList(Dropped dropped) : dropped_(std::move(dropped)) {
  setAcceptDrops(true);
  setAccessibleName(tr("VMs"));
  connect(this, &QListWidget::currentItemChanged, this, &VmList::chosenChanged);
}

std::string VmList::vmOf(const QListWidgetItem* item) {
  return item ? item->data(kNameRole).toByteArray().toStdString() : std::string();
}

std::string VmList::chosen() const {
  return vmOf(currentItem());
}

void VmList::setVms(const std::vector<std::string>& vms) {
  const std::string before = chosen();
  {
    const QSignalBlocker blocker(this);
    clear();
    for (const std::string& vm : vms) {
      auto* const item = new QListWidgetItem(shownText(vm), this);
      item->setData(kNameRole, QByteArray::fromStdString(vm));
      if (vm == before) {
        setCurrentItem(item);
      }
    }
    if (!currentItem()) {
      setCurrentRow(0);
    }
  }
  emit chosenChanged();
}

void VmList::setCounts(const std::map<std::string, int>& counts) {
  for (int row = 0; row < count(); ++row) {
    const std::string vm = vmOf(item(row));
    const auto attached = counts.find(vm);
    item(row)->setText(attached == counts.end()
                           ? shownText(vm)
                           : tr("%1 (%2)").arg(shownText(vm), QString::number(attached->second)));
  }
}

// --- Drops ---------------------------------------------------------------------------------------

void VmList::mark(QListWidgetItem* target) {
  for (int row = 0; row < count(); ++row) {
    QFont font = this->font();
    font.setBold(item(row) == target);
    item(row)->setFont(font);
  }
}

void VmList::dragEnterEvent(QDragEnterEvent* event) {
  event->setAccepted(isThing(*event));
}

void VmList::dragMoveEvent(QDragMoveEvent* event) {
  QListWidgetItem* const target = itemAt(event->pos());
  event->setAccepted(isThing(*event) && target);
  mark(event->isAccepted() ? target : nullptr);
}

void VmList::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
  mark(nullptr);
}

void VmList::dropEvent(QDropEvent* event) {
  mark(nullptr);
  const std::string vm = vmOf(itemAt(event->pos()));
  const std::optional<Number> number = numberIn(event->mimeData()->data(kNumberFormat));
  event->setAccepted(number && !vm.empty());
  if (event->isAccepted()) {
    dropped_(*number, vm);
  }
}

}  // namespace panel
