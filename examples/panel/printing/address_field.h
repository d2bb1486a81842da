// A field for an address, with what is wrong with it below while it is typed.

#ifndef EXAMPLES_PANEL_PRINTING_ADDRESS_FIELD_H
#define EXAMPLES_PANEL_PRINTING_ADDRESS_FIELD_H

#include <functional>
#include <string>

#include <QLineEdit>
#include <QWidget>

#include "examples/panel/widgets/plain_label.h"

namespace panel {

class AddressField : public QWidget {
 public:
  // changed: the address has.
  AddressField(const QString& accessibleName, const std::function<void()>& changed);

  QLineEdit& edit() { return edit_; }
  std::string address() const { return edit_.text().toStdString(); }
  bool isGood() const { return mistake_.text().isEmpty(); }
  QString mistake() const { return mistake_.text(); }

 private:
  void check();

  QLineEdit edit_;
  PlainLabel mistake_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_ADDRESS_FIELD_H
