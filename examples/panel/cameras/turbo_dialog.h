// A window beside the panel's in which the turbo configuration of a camera is changed.

#ifndef EXAMPLES_PANEL_CAMERAS_TURBO_DIALOG_H
#define EXAMPLES_PANEL_CAMERAS_TURBO_DIALOG_H

#include <QDialog>
#include <QLineEdit>
#include <QPushButton>

#include "examples/panel/cameras/turbo_config.h"
#include "examples/panel/widgets/operation_status.h"

namespace panel {

class TurboDialog : public QDialog {
  Q_OBJECT

 public:
  // The service must outlive the dialog, which closes when the service has taken the text.
  //
  // name   of the camera
  TurboDialog(Service& service, vel::UsbId usb, const QString& name, QWidget* parent = nullptr);

  QLineEdit& edit() { return edit_; }
  QPushButton& save() { return save_; }
  const OperationStatus& status() const { return status_; }

 private:
  void showModel();
  Problem problem() const;

  Service& service_;
  const QString name_;
  TurboConfig model_;
  bool isFilled_ = false;
  // The field keeps every character of the text.
  bool isEditable_ = false;
  QLineEdit edit_;
  OperationStatus status_;
  QPushButton save_;
  QPushButton cancel_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_CAMERAS_TURBO_DIALOG_H
