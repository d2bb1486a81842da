#include "examples/panel/cameras/turbo_dialog.h"

#include <utility>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {

TurboDialog::TurboDialog(Service& service, vel::UsbId usb, const QString& name, QWidget* parent)
    : QDialog(parent), name_(name), model_(service, usb) {
  setWindowTitle(tr("Turbo configuration of %1").arg(name));
  auto* const label = new QLabel(tr("&Configuration, in the service's words"));
  label->setBuddy(&edit_);
  save_.setText(tr("&Save"));
  cancel_.setText(tr("Cancel"));
  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(label);
  rows->addWidget(&edit_);
  rows->addWidget(&status_);
  auto* const line = new QHBoxLayout;
  line->addStretch(1);
  line->addWidget(&save_);
  line->addWidget(&cancel_);
  rows->addLayout(line);
  // As a part of the dialog.
  save_.setDefault(true);
  cancel_.setAutoDefault(false);
  edit_.setEnabled(false);
  connect(&save_, &QPushButton::clicked, this, [this] { model_.save(edit_.text().toStdString()); });
  connect(&cancel_, &QPushButton::clicked, this, &QDialog::close);
  connect(&model_, &WorkModel::changed, this, [this] { showModel(); });
  connect(&model_, &TurboConfig::saved, this, &QDialog::close);
  model_.refresh();
  showModel();
}

void TurboDialog::showModel() {
  // What a person types afterwards stays.
  if (model_.text() && !std::exchange(isFilled_, true)) {
    edit_.setText(shownText(*model_.text()));
    edit_.setEnabled(true);
    edit_.setFocus();
  }
  save_.setEnabled(model_.text() && !model_.isBusy());
  status_.set(model_.isBusy(), model_.problem(), name_);
}

}  // namespace panel
