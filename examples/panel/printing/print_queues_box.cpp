#include "examples/panel/printing/print_queues_box.h"

#include <algorithm>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {

PrintQueuesBox::PrintQueuesBox(Service& service) : model_(service) {
  setTitle(tr("Print queues"));
  layOut();
  connect(&queues_, &QListWidget::currentRowChanged, this, [this] { showChosen(); });
  connect(&driver_, QOverload<int>::of(&QComboBox::activated), this, [this](int row) {
    if (const PrintQueue* const queue = chosen()) {
      model_.setDriver(queue->name, queue->drivers.at(static_cast<std::size_t>(row)));
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
  const int row = std::max(queues_.currentRow(), 0);
  const int count = static_cast<int>(model_.queues().size());
  while (queues_.count() > count) {
    delete queues_.takeItem(count);
  }
  for (int each = 0; each < count; ++each) {
    const PrintQueue& queue = model_.queues()[static_cast<std::size_t>(each)];
    if (each == queues_.count()) {
      queues_.addItem(QString());
    }
    queues_.item(each)->setText(
        queue.shared
            ? tr("%1, shared at %2").arg(shownText(queue.name), shownText(queue.shared->address))
            : tr("%1, %2").arg(shownText(queue.name), shownText(queue.driver)));
  }
  queues_.setCurrentRow(std::min(row, count - 1));
  status_.set(model_.isBusy(), model_.problem(), title());
  showChosen();
}

void PrintQueuesBox::showChosen() {
  const PrintQueue* const queue = chosen();
  const bool hasDriver = queue && !queue->shared;
  if (!model_.isBusy()) {
    driver_.clear();
    if (hasDriver) {
      for (const std::string& driver : queue->drivers) {
        driver_.addItem(shownText(driver));
      }
      driver_.setCurrentIndex(driver_.findText(shownText(queue->driver)));
    }
  }
  // While it works it keeps the focus, and does nothing.
  driver_.setEnabled(hasDriver);
  testPage_.setEnabled(hasDriver);
  remove_.setEnabled(queue != nullptr);
}

}  // namespace panel
