#include "examples/panel/printing/network_printers_box.h"

#include <QFormLayout>
#include <QVBoxLayout>

#include "examples/panel/widgets/rows.h"

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
  std::vector<Row> rows;
  for (const vel::NetworkPrinter& printer : model_.printers()) {
    rows.push_back(
        {printer.name, tr("%1, %2").arg(shownText(printer.name), shownText(printer.address))});
  }
  showRows(printers_, rows);
  printers_.setVisible(!rows.empty());
  remove_.setVisible(!rows.empty());
  status_.set(model_.isBusy(), model_.problem(), title());
  enable();
}

void NetworkPrintersBox::enable() {
  add_.setEnabled(address_.isGood() && !model_.isBusy());
  remove_.setEnabled(printers_.currentRow() >= 0 && !model_.isBusy());
}

}  // namespace panel
