#include "examples/panel/new_devices/new_device_card.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {

NewDeviceCard::NewDeviceCard(NewDevicesModel& model, VmList& vms) : model_(model), vms_(vms) {
  layOut();
  connect(&attach_, &QPushButton::clicked, this, [this] {
    if (asked_) {
      model_.attach(*asked_, vms_.chosen());
    }
  });
  connect(&always_, &QPushButton::clicked, this, [this] {
    if (asked_) {
      model_.attachAlways(*asked_, vms_.chosen());
    }
  });
  connect(&ignore_, &QPushButton::clicked, this, [this] {
    if (asked_) {
      model_.ignore(*asked_);
    }
  });
  connect(&model_, &NewDevicesModel::changed, this, [this] { showFront(); });
  connect(&vms_, &VmList::chosenChanged, this, [this] { showFront(); });
  showFront();
}

void NewDeviceCard::layOut() {
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::AlternateBase);
  for (QLabel* const label : {&question_, &others_, &problem_}) {
    // The service chooses names and reasons.
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
  }
  QFont bold = question_.font();
  bold.setBold(true);
  question_.setFont(bold);
  always_.setText(tr("Al&ways attach"));
  ignore_.setText(tr("&Ignore"));
  progress_.setRange(0, 0);
  progress_.setTextVisible(false);
  progress_.setMaximumHeight(fontMetrics().height() / 2);
  progress_.setAccessibleName(tr("Progress of the new device"));

  auto* const rows = new QVBoxLayout(this);
  auto* const line = new QHBoxLayout;
  line->addWidget(&question_, 1);
  for (QPushButton* const button : {&attach_, &always_, &ignore_}) {
    button->setAutoDefault(true);
    line->addWidget(button);
  }
  rows->addLayout(line);
  rows->addWidget(&progress_);
  rows->addWidget(&problem_);
  rows->addWidget(&others_);
}

void NewDeviceCard::showFront() {
  const std::vector<NewDevice>& waiting = model_.waiting();
  if (waiting.empty()) {
    asked_.reset();
    hide();
    return;
  }
  ask(waiting.front(), waiting.size() - 1);
}

void NewDeviceCard::ask(const NewDevice& device, std::size_t others) {
  const QString vm = shownText(vms_.chosen());
  question_.setText(
      tr("New device: %1 (%2). What should happen with it?").arg(device.name, device.kind));
  attach_.setText(vm.isEmpty() ? tr("&Attach")
                               : tr("&Attach to %1").arg(QString(vm).replace('&', "&&")));
  // While the device is busy they keep the focus, and do nothing.
  attach_.setEnabled(!vm.isEmpty());
  always_.setEnabled(!vm.isEmpty());
  progress_.setVisible(device.isBusy);
  problem_.setText(device.problem.text());
  problem_.setVisible(!device.problem.isEmpty());
  others_.setText(tr("Also waiting: %1").arg(others));
  others_.setVisible(others > 0);

  attach_.setAccessibleName(tr("Attach %1 to %2").arg(device.name, vm));
  always_.setAccessibleName(
      tr("Attach %1 to %2, and each of its kind later: %3").arg(device.name, vm, device.kind));
  ignore_.setAccessibleName(tr("Ignore %1").arg(device.name));
  setAccessibleName(question_.text());
  const bool isNew = asked_ != device.number;
  asked_ = device.number;
  setVisible(true);
  if (isNew) {
    QAccessibleEvent alert(&question_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }
}

}  // namespace panel
