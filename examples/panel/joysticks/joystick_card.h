// The card of a joystick: name, mapping, calibration, the progress of an operation and its problem.

#ifndef EXAMPLES_PANEL_JOYSTICKS_JOYSTICK_CARD_H
#define EXAMPLES_PANEL_JOYSTICKS_JOYSTICK_CARD_H

#include <functional>
#include <vector>

#include <QComboBox>
#include <QPushButton>

#include "examples/panel/joysticks/joysticks_model.h"
#include "examples/panel/widgets/operation_status.h"
#include "examples/panel/widgets/outlined_frame.h"
#include "examples/panel/widgets/plain_label.h"

namespace panel {

class JoystickCard : public OutlinedFrame {
  Q_DECLARE_TR_FUNCTIONS(panel::JoystickCard)

 public:
  struct Actions {
    std::function<void(vel::MappingIndex)> setMapping;
    std::function<void()> calibrate;
  };

  explicit JoystickCard(const Actions& actions);

  void setEntry(const JoystickEntry& entry, const std::vector<vel::JoystickMapping>& mappings);

  QString name() const { return name_.text(); }
  QString state() const { return state_.text(); }
  QComboBox& mapping() { return mapping_; }
  QPushButton& calibrate() { return calibrate_; }
  const OperationStatus& status() const { return status_; }

 private:
  void setMappings(const std::vector<vel::JoystickMapping>& mappings);

  PlainLabel name_;
  PlainLabel state_;
  QComboBox mapping_;
  QPushButton calibrate_;
  OperationStatus status_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_JOYSTICKS_JOYSTICK_CARD_H
