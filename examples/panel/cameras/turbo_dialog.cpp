#include "examples/panel/cameras/turbo_dialog.h"

#include <utility>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {

TurboDialog::TurboDialog(Service& service, vel::UsbId usb, const QString& name, QWidget* parent)
    : QDialog(parent), service_(service), name_(name), model_(service, usb) {
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
  connect(&service_, &Service::stateChanged, this, [this] { showModel(); });
  connect(&service_, &Service::refreshed, this, [this] {
    if (!model_.text()) {
      model_.refresh();
    }
  });
  model_.refresh();
  showModel();
}

void TurboDialog::showModel() {
  // What a person types afterwards stays.
  if (model_.text() && !std::exchange(isFilled_, true)) {
    const QString text = shownText(*model_.text());
    isEditable_ = text.toStdString() == *model_.text();
    edit_.setText(text);
    edit_.setReadOnly(!isEditable_);
    edit_.setEnabled(true);
    edit_.setFocus();
  }
  save_.setEnabled(isEditable_ && !model_.isBusy() && service_.isReady());
  status_.set(model_.isBusy(), problem(), name_);
}

Problem TurboDialog::problem() const {
  if (model_.text() && !isEditable_) {
    return {tr("The text is more than a line: it would be damaged here."),
            tr("Change it with velctl turbo set.")};
  }
  return service_.isReady() || !model_.problem().isEmpty() ? model_.problem() : service_.problem();
}

}  // namespace panel
