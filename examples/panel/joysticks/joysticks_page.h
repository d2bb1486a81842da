// The page of joysticks: a card for each.

#ifndef EXAMPLES_PANEL_JOYSTICKS_JOYSTICKS_PAGE_H
#define EXAMPLES_PANEL_JOYSTICKS_JOYSTICKS_PAGE_H

#include <memory>
#include <vector>

#include <QScrollArea>
#include <QVBoxLayout>

#include "examples/panel/joysticks/joystick_card.h"
#include "examples/panel/joysticks/joysticks_model.h"

namespace panel {

class JoysticksPage : public QScrollArea {
  Q_DECLARE_TR_FUNCTIONS(panel::JoysticksPage)

 public:
  // The service must outlive the page.
  explicit JoysticksPage(Service& service);

  const JoysticksModel& model() const { return model_; }
  // In the order of the service.
  const std::vector<std::unique_ptr<JoystickCard>>& cards() const { return cards_; }
  // Why there is no card, or why they are not up to date.
  QString note() const { return note_.text(); }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void showJoysticks();
  std::unique_ptr<JoystickCard> newCard(std::size_t place);

  JoysticksModel model_;
  QWidget* const sheet_;
  QVBoxLayout* const rows_;
  PlainLabel note_;
  std::vector<std::unique_ptr<JoystickCard>> cards_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_JOYSTICKS_JOYSTICKS_PAGE_H
