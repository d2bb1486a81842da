#include "examples/panel/joysticks/joysticks_page.h"

namespace panel {

JoysticksPage::JoysticksPage(Service& service)
    : model_(service), sheet_(new QWidget), rows_(new QVBoxLayout(sheet_)) {
  rows_->setAlignment(Qt::AlignTop);
  rows_->addWidget(&note_);
  setWidget(sheet_);
  setWidgetResizable(true);
  // Its cards take the focus.
  setFocusPolicy(Qt::NoFocus);
  connect(&model_, &JoysticksModel::changed, this, [this] { showJoysticks(); });
  showJoysticks();
}

std::unique_ptr<JoystickCard> JoysticksPage::newCard(std::size_t place) {
  const auto index = [this, place] { return model_.joysticks().at(place).joystick.index; };
  auto card = std::make_unique<JoystickCard>(JoystickCard::Actions{
      [this, index](vel::MappingIndex mapping) { model_.setMapping(index(), mapping); },
      [this, index] { model_.calibrate(index()); }});
  rows_->addWidget(card.get());
  return card;
}

void JoysticksPage::showJoysticks() {
  const std::vector<JoystickEntry>& joysticks = model_.joysticks();
  if (cards_.size() > joysticks.size()) {
    cards_.resize(joysticks.size());
  }
  for (std::size_t place = 0; place < joysticks.size(); ++place) {
    if (place == cards_.size()) {
      cards_.push_back(newCard(place));
    }
    cards_[place]->setEntry(joysticks[place], model_.mappings());
  }
  note_.setText(!model_.problem().isEmpty() ? model_.problem().text()
                : joysticks.empty()         ? tr("This machine has no joystick.")
                                            : QString());
  note_.setVisible(!note_.text().isEmpty());
}

// The service does not report what other programs do to joysticks.
void JoysticksPage::showEvent(QShowEvent* event) {
  QScrollArea::showEvent(event);
  model_.refresh();
}

}  // namespace panel
