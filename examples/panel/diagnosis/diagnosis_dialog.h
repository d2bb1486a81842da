// A window beside the panel's with the progress of a diagnosis, which may be closed at any time.

#ifndef EXAMPLES_PANEL_DIAGNOSIS_DIAGNOSIS_DIALOG_H
#define EXAMPLES_PANEL_DIAGNOSIS_DIAGNOSIS_DIALOG_H

#include <chrono>
#include <string>

#include <QDialog>
#include <QListWidget>
#include <QPushButton>

#include "examples/panel/diagnosis/diagnosis.h"
#include "examples/panel/widgets/operation_status.h"
#include "examples/panel/widgets/plain_label.h"

namespace panel {

class DiagnosisDialog : public QDialog {
  Q_OBJECT

 public:
  // The service must outlive the dialog. The diagnosis begins at once.
  //
  // name       of the device
  // patience   how long the next step may take
  DiagnosisDialog(Service& service, vel::DeviceNumber device, const std::string& vm,
                  const QString& name, QWidget* parent = nullptr,
                  std::chrono::milliseconds patience = std::chrono::seconds(15));

  const QListWidget& steps() const { return steps_; }
  QString finding() const { return finding_.text(); }
  const OperationStatus& status() const { return status_; }
  QPushButton& again() { return again_; }
  QPushButton& closeButton() { return close_; }

 private:
  void layOut();
  void showDiagnosis();
  QString findingText() const;

  const QString name_;
  Diagnosis diagnosis_;
  QListWidget steps_;
  PlainLabel finding_;
  OperationStatus status_;
  QPushButton again_;
  QPushButton close_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_DIAGNOSIS_DIAGNOSIS_DIALOG_H
