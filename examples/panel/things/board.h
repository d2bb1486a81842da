// The cards, in as many columns as there is room for.

#ifndef EXAMPLES_PANEL_THINGS_BOARD_H
#define EXAMPLES_PANEL_THINGS_BOARD_H

#include <functional>
#include <map>
#include <memory>

#include <QGridLayout>
#include <QLabel>
#include <QScrollArea>

#include "examples/panel/things/card.h"
#include "examples/panel/things/things_model.h"

namespace panel {

class Board : public QScrollArea {
  Q_DECLARE_TR_FUNCTIONS(panel::Board)

 public:
  using Filter = std::function<bool(const Thing&)>;
  // What a person may do with a card.
  struct Actions {
    std::function<void(const Number&)> toggle;
    std::function<void(const Number&, vel::LocalPolicy)> setPolicy;
    std::function<void(const Number&, bool)> setAutoConnect;
    std::function<void(const Number&)> checkCamera;
    std::function<void(const Number&)> configureTurbo;
    std::function<void(const Number&)> diagnose;
  };

  explicit Board(Actions actions);

  // Shows the things that the filter lets pass.
  //
  // vm    where their switches attach to; empty: none is chosen
  void setThings(const Things& things, const Filter& filter, const QString& vm);
  // Shows one that has changed. False: the cards, or their order, are not the same any more.
  bool setThing(const Thing& thing, const Filter& filter, const QString& vm);

  // Null: it has none.
  Card* card(const Number& number) const;
  // How many cards pass the filter.
  int count() const { return static_cast<int>(shown_.size()); }

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  void startDrag(const Number& number);
  Card::Actions actionsOf(const Number& number);
  Card& cardOf(const Thing& thing);
  void arrange();
  int columnsThatFit() const;

  const Actions actions_;
  QWidget* const sheet_;
  QGridLayout* const grid_;
  QLabel* const nothing_;
  std::map<Number, std::unique_ptr<Card>> cards_;
  std::vector<Card*> shown_;  // in the order of their names
  int columns_ = 0;
  bool isDragging_ = false;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_BOARD_H
