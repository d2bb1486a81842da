#include "examples/panel/diagnosis/diagnosis_dialog.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {

DiagnosisDialog::DiagnosisDialog(Service& service, vel::DeviceNumber device, const std::string& vm,
                                 const QString& name, QWidget* parent,
                                 std::chrono::milliseconds patience)
    : QDialog(parent), name_(name), diagnosis_(service, device, vm, patience) {
  setWindowTitle(vm.empty() ? tr("Diagnosis of %1").arg(name)
                            : tr("Diagnosis of %1 in %2").arg(name, shownText(vm)));
  layOut();
  connect(&diagnosis_, &Diagnosis::changed, this, [this] { showDiagnosis(); });
  connect(&again_, &QPushButton::clicked, &diagnosis_, &Diagnosis::start);
  connect(&close_, &QPushButton::clicked, this, &QDialog::close);
  diagnosis_.start();
}

void DiagnosisDialog::layOut() {
  steps_.setAccessibleName(tr("Progress of the diagnosis"));
  again_.setText(tr("&Diagnose again"));
  close_.setText(tr("&Close"));
  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(&steps_, 1);
  rows->addWidget(&finding_);
  rows->addWidget(&status_);
  auto* const line = new QHBoxLayout;
  line->addStretch(1);
  line->addWidget(&again_);
  line->addWidget(&close_);
  rows->addLayout(line);
  // As a part of the dialog.
  close_.setDefault(true);
}

QString DiagnosisDialog::findingText() const {
  if (!diagnosis_.finding()) {
    return {};
  }
  switch (*diagnosis_.finding()) {
    case vel::DiagnosisStatus::kFine:
      return tr("The service has found no trouble.");
    case vel::DiagnosisStatus::kFault:
      return tr("The service has found trouble: %1.").arg(diagnosis_.steps().back().text);
    default:
      return tr("The diagnosis has ended with status %1.").arg(vel::number(*diagnosis_.finding()));
  }
}

void DiagnosisDialog::showDiagnosis() {
  const int count = static_cast<int>(diagnosis_.steps().size());
  // Those of the diagnosis before.
  if (steps_.count() > count) {
    steps_.clear();
  }
  for (int row = steps_.count(); row < count; ++row) {
    steps_.addItem(diagnosis_.steps()[static_cast<std::size_t>(row)].text);
  }
  steps_.scrollToBottom();
  const bool isNew = finding_.text() != findingText();
  finding_.setText(findingText());
  status_.set(diagnosis_.isRunning(), diagnosis_.problem(), name_);
  again_.setEnabled(!diagnosis_.isRunning());
  if (isNew && !finding_.text().isEmpty()) {
    QAccessibleEvent alert(&finding_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }
}

}  // namespace panel
