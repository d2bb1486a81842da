#include "examples/panel/printing/address_field.h"

#include <QVBoxLayout>

#include "examples/panel/printing/address.h"

namespace panel {

AddressField::AddressField(const QString& accessibleName, const std::function<void()>& changed) {
  edit_.setAccessibleName(accessibleName);
  edit_.setClearButtonEnabled(true);
  setFocusProxy(&edit_);
  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->addWidget(&edit_);
  rows->addWidget(&mistake_);
  connect(&edit_, &QLineEdit::textChanged, this, [this, changed] {
    check();
    changed();
  });
  check();
}

void AddressField::check() {
  mistake_.setText(addressMistake(edit_.text()));
  edit_.setAccessibleDescription(mistake_.text());
}

}  // namespace panel
