#include "examples/panel/printing/network_printers_box.h"

#include <algorithm>

#include <QFormLayout>
#include <QVBoxLayout>

namespace panel {

NetworkPrintersBox::NetworkPrintersBox(Service& service)
    : model_(service), address_(tr("Address of the network printer"), [this] { enable(); }) {
  setTitle(tr("Network printers"));
  layOut();
  connect(&add_, &QPushButton::clicked, this,
          [this] { model_.add(address_.address(), name_.text().trimmed().toStdString()); });
  for (QLineEdit* const edit : {&address_.edit(), &name_}) {
    connect(edit, &QLineEdit::returnPressed, &add_, &QPushButton::click);
  }
  connect(&remove_, &QPushButton::clicked, this, [this] {
    model_.remove(model_.printers().at(static_cast<std::size_t>(printers_.currentRow())).name);
  });
  connect(&printers_, &QListWidget::currentRowChanged, this, [this] { enable(); });
  connect(&model_, &WorkModel::changed, this, [this] { showModel(); });
  connect(&model_, &NetworkPrinters::added, this, [this] {
    address_.edit().clear();
    name_.clear();
  });
  showModel();
}

void NetworkPrintersBox::layOut() {
  add_.setText(tr("Add t&he printer"));
  remove_.setText(tr("Re&move"));
  name_.setPlaceholderText(tr("The service chooses one"));
  printers_.setAccessibleName(tr("Network printers"));
  auto* const form = new QFormLayout;
  auto* const label = new QLabel(tr("Addr&ess"));
  label->setBuddy(&address_.edit());
  form->addRow(label, &address_);
  form->addRow(tr("&Name"), &name_);
  auto* const rows = new QVBoxLayout(this);
  rows->addLayout(form);
  rows->addWidget(&add_, 0, Qt::AlignRight);
  rows->addWidget(&status_);
  rows->addWidget(&printers_);
  rows->addWidget(&remove_, 0, Qt::AlignRight);
}

void NetworkPrintersBox::showModel() {
  const int row = std::max(printers_.currentRow(), 0);
  const int count = static_cast<int>(model_.printers().size());
  while (printers_.count() > count) {
    delete printers_.takeItem(count);
  }
  for (int each = 0; each < count; ++each) {
    const vel::NetworkPrinter& printer = model_.printers()[static_cast<std::size_t>(each)];
    if (each == printers_.count()) {
      printers_.addItem(QString());
    }
    printers_.item(each)->setText(
        tr("%1, %2").arg(shownText(printer.name), shownText(printer.address)));
  }
  printers_.setCurrentRow(std::min(row, count - 1));
  printers_.setVisible(count != 0);
  remove_.setVisible(count != 0);
  status_.set(model_.isBusy(), model_.problem(), title());
  enable();
}

void NetworkPrintersBox::enable() {
  add_.setEnabled(address_.isGood() && !model_.isBusy());
  remove_.setEnabled(printers_.currentRow() >= 0 && !model_.isBusy());
}

}  // namespace panel
