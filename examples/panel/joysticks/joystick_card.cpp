#include "examples/panel/joysticks/joystick_card.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {

JoystickCard::JoystickCard(const Actions& actions) {
  QFont bold = name_.font();
  bold.setBold(true);
  name_.setFont(bold);
  calibrate_.setText(tr("Calibrate"));
  connect(&calibrate_, &QPushButton::clicked, this, actions.calibrate);
  connect(
      &mapping_, QOverload<int>::of(&QComboBox::activated), this,
      [this, setMapping = actions.setMapping] {
        setMapping(vel::MappingIndex(static_cast<std::uint16_t>(mapping_.currentData().toUInt())));
      });
  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(&name_);
  rows->addWidget(&state_);
  auto* const line = new QHBoxLayout;
  line->addWidget(new QLabel(tr("Mapping")));
  line->addWidget(&mapping_, 1);
  line->addWidget(&calibrate_);
  rows->addLayout(line);
  rows->addWidget(&status_);
}

void JoystickCard::setMappings(const std::vector<vel::JoystickMapping>& mappings) {
  const int count = static_cast<int>(mappings.size());
  while (mapping_.count() > count) {
    mapping_.removeItem(count);
  }
  for (int row = 0; row < count; ++row) {
    const vel::JoystickMapping& mapping = mappings[static_cast<std::size_t>(row)];
    if (row == mapping_.count()) {
      mapping_.addItem(QString());
    }
    mapping_.setItemText(row, mapping.name.empty() ? tr("Mapping %1").arg(mapping.index.value())
                                                   : shownText(mapping.name));
    mapping_.setItemData(row, uint{mapping.index.value()});
  }
}

void JoystickCard::setEntry(const JoystickEntry& entry,
                            const std::vector<vel::JoystickMapping>& mappings) {
  const vel::Joystick& joystick = entry.joystick;
  const QString name = joystick.name.empty() ? tr("Joystick %1").arg(joystick.index.value())
                                             : shownText(joystick.name);
  name_.setText(name);
  state_.setText(joystick.isCalibrated ? tr("Calibrated") : tr("Not calibrated"));
  setMappings(mappings);
  if (!entry.isBusy) {
    mapping_.setCurrentIndex(mapping_.findData(uint{joystick.mapping.value()}));
  }
  status_.set(entry.isBusy, entry.problem, name);

  mapping_.setAccessibleName(tr("Mapping of %1").arg(name));
  calibrate_.setAccessibleName(tr("Calibrate %1").arg(name));
  const QString progress = entry.isBusy ? tr("Working") : QString();
  const QString outcome = entry.problem.isEmpty() ? progress : entry.problem.text();
  mapping_.setAccessibleDescription(outcome);
  calibrate_.setAccessibleDescription(outcome);
  setAccessibleName(name);
  setAccessibleDescription(state_.text());
}

}  // namespace panel
