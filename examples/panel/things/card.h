// The card of a device or a printer: kind, name, state, a switch that attaches it, the progress of
// that, and the problem that it has left.

#ifndef EXAMPLES_PANEL_THINGS_CARD_H
#define EXAMPLES_PANEL_THINGS_CARD_H

#include <functional>

#include "examples/panel/things/more_button.h"
#include "examples/panel/things/thing.h"
#include "examples/panel/widgets/outlined_frame.h"
#include "examples/panel/widgets/switch.h"

namespace panel {

class Card : public OutlinedFrame {
  Q_DECLARE_TR_FUNCTIONS(panel::Card)

 public:
  struct Actions {
    std::function<void()> toggle;
    std::function<void()> drag;  // the mouse begins to drag the card
    MoreButton::Actions more;
  };

  // actions: what a person may do with the card.
  explicit Card(const Actions& actions);

  // vm: where the switch attaches to; empty: none is chosen.
  void setThing(const Thing& thing, const QString& vm);

  Switch& toggle() { return switch_; }
  MoreButton& more() { return more_; }
  QString name() const { return name_.text(); }
  QString kind() const { return kind_.text(); }
  QString state() const { return state_.text(); }
  // What a check has found; empty: there was none.
  QString note() const { return note_.text(); }
  // Empty: there is none.
  QString problem() const { return status_.problem(); }
  bool isInProgress() const { return status_.isBusy(); }

 protected:
  void contextMenuEvent(QContextMenuEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;

 private:
  const Actions actions_;
  QPoint pressed_;
  PlainLabel kind_;
  PlainLabel name_;
  PlainLabel state_;
  PlainLabel note_;
  Switch switch_;
  MoreButton more_;
  OperationStatus status_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_CARD_H
