// The joysticks of this machine, their mappings, and what is going on with each. Knows no widgets.
//
// The service reports no change of a joystick by itself: refresh() reads them again.

#ifndef EXAMPLES_PANEL_JOYSTICKS_JOYSTICKS_MODEL_H
#define EXAMPLES_PANEL_JOYSTICKS_JOYSTICKS_MODEL_H

#include <functional>
#include <vector>

#include <QObject>

#include "examples/panel/service/service.h"

namespace panel {

struct JoystickEntry {
  vel::Joystick joystick;
  // Of the last operation.
  bool isBusy = false;
  Problem problem;
};

class JoysticksModel : public QObject {
  Q_OBJECT

 public:
  // The service must outlive the model.
  explicit JoysticksModel(Service& service);

  const std::vector<JoystickEntry>& joysticks() const { return joysticks_; }
  const std::vector<vel::JoystickMapping>& mappings() const { return mappings_; }
  // Why they could not be read.
  const Problem& problem() const { return problem_; }

  // Nothing happens to a joystick that is busy, nor while the service is not available.
  void setMapping(vel::JoystickIndex joystick, vel::MappingIndex mapping);
  void calibrate(vel::JoystickIndex joystick);

  void refresh();

 signals:
  void changed();

 private:
  struct Lists;
  struct Outcome;
  using Operation = std::function<vel::Result<void>(const vel::Client&)>;

  static vel::Result<Lists> readLists(const vel::Client& client);
  void takeReading(const vel::Result<Lists>& lists);
  void takeLists(const Lists& lists);
  JoystickEntry* find(vel::JoystickIndex joystick);
  void run(vel::JoystickIndex joystick, const Operation& operation);
  void finish(vel::JoystickIndex joystick, const Outcome& outcome);

  Service& service_;
  std::vector<JoystickEntry> joysticks_;
  std::vector<vel::JoystickMapping> mappings_;
  Problem problem_;
  bool isReading_ = false;
  bool isReadingWanted_ = false;  // after the one that is under way
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_JOYSTICKS_JOYSTICKS_MODEL_H
