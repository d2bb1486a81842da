#include "examples/panel/printing/print_queues_box.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "examples/panel/widgets/rows.h"

namespace panel {

PrintQueuesBox::PrintQueuesBox(Service& service) : model_(service) {
  setTitle(tr("Print queues"));
  layOut();
  connect(&queues_, &QListWidget::currentRowChanged, this, [this] {
    showDrivers();
    enable();
  });
  connect(&driver_, QOverload<int>::of(&QComboBox::activated), this, [this](int row) {
    if (const PrintQueue* const queue = chosen()) {
      model_.setDriver(queue->name, driver_.itemData(row).toByteArray().toStdString());
    }
  });
  connect(&testPage_, &QPushButton::clicked, this, [this] {
    if (const PrintQueue* const queue = chosen()) {
      model_.printTestPage(queue->name);
    }
  });
  connect(&remove_, &QPushButton::clicked, this, [this] {
    if (const PrintQueue* const queue = chosen()) {
      model_.remove(*queue);
    }
  });
  connect(&model_, &WorkModel::changed, this, [this] { showModel(); });
  showModel();
}

void PrintQueuesBox::layOut() {
  queues_.setAccessibleName(tr("Print queues"));
  driver_.setAccessibleName(tr("Driver of the print queue"));
  testPage_.setText(tr("Print a test pa&ge"));
  remove_.setText(tr("Remove the &queue"));
  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(&queues_);
  auto* const line = new QHBoxLayout;
  auto* const label = new QLabel(tr("Driver"));
  label->setBuddy(&driver_);
  line->addWidget(label);
  line->addWidget(&driver_, 1);
  line->addWidget(&testPage_);
  line->addWidget(&remove_);
  rows->addLayout(line);
  rows->addWidget(&status_);
}

const PrintQueue* PrintQueuesBox::chosen() const {
  const auto row = static_cast<std::size_t>(queues_.currentRow());
  return queues_.currentRow() >= 0 && row < model_.queues().size() ? &model_.queues()[row]
                                                                   : nullptr;
}

void PrintQueuesBox::showModel() {
  std::vector<Row> rows;
  for (const PrintQueue& queue : model_.queues()) {
    const QString name = shownText(queue.name);
    rows.push_back(queue.shared
                       ? Row{queue.shared->address + '\n' + queue.name,
                             tr("%1, shared at %2").arg(name, shownText(queue.shared->address))}
                       : Row{queue.name, tr("%1, %2").arg(name, shownText(queue.driver))});
  }
  showRows(queues_, rows);
  status_.set(model_.isBusy(), model_.problem(), title());
  // While it works, what a person has chosen stays.
  if (!model_.isBusy()) {
    showDrivers();
  }
  enable();
}

void PrintQueuesBox::showDrivers() {
  driver_.clear();
  const PrintQueue* const queue = chosen();
  if (queue && !queue->shared) {
    for (const std::string& driver : queue->drivers) {
      driver_.addItem(shownText(driver), QByteArray::fromStdString(driver));
    }
    driver_.setCurrentIndex(driver_.findData(QByteArray::fromStdString(queue->driver)));
  }
}

void PrintQueuesBox::enable() {
  const PrintQueue* const queue = chosen();
  const bool hasDriver = queue && !queue->shared;
  // While it works it keeps the focus, and does nothing.
  driver_.setEnabled(hasDriver);
  testPage_.setEnabled(hasDriver);
  remove_.setEnabled(queue != nullptr);
}

}  // namespace panel
