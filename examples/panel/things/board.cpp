#include "examples/panel/things/board.h"

#include <algorithm>
#include <utility>

#include <QDrag>
#include <QMimeData>

namespace panel {
namespace {

// In widths of a letter.
constexpr int kCardWidth = 34;

}  // namespace

Board::Board(Actions actions)
    : actions_(std::move(actions)),
      sheet_(new QWidget),
      grid_(new QGridLayout(sheet_)),
      nothing_(new QLabel(tr("No device or printer matches."))) {
  nothing_->hide();
  grid_->setAlignment(Qt::AlignTop);
  grid_->addWidget(nothing_, 0, 0);
  setWidget(sheet_);
  setWidgetResizable(true);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  // Its cards take the focus.
  setFocusPolicy(Qt::NoFocus);
}

Card* Board::card(const Number& number) const {
  const auto found = cards_.find(number);
  return found == cards_.end() ? nullptr : found->second.get();
}

void Board::startDrag(const Number& number) {
  if (Card* const dragged = card(number)) {
    auto* const carried = new QMimeData;
    carried->setData(kNumberFormat, dragDataOf(number));
    auto* const drag = new QDrag(this);
    drag->setMimeData(carried);
    drag->setPixmap(dragged->grab());
    drag->exec(Qt::CopyAction);
  }
  isDragging_ = false;
}

Card::Actions Board::actionsOf(const Number& number) {
  return {[this, number] { actions_.toggle(number); },
          // Later, because the card may be gone before the drag has ended.
          [this, number] {
            if (!std::exchange(isDragging_, true)) {
              QMetaObject::invokeMethod(
                  this, [this, number] { startDrag(number); }, Qt::QueuedConnection);
            }
          },
          {[this, number](vel::LocalPolicy policy) { actions_.setPolicy(number, policy); },
           [this, number](bool isOn) { actions_.setAutoConnect(number, isOn); },
           [this, number] { actions_.checkCamera(number); },
           [this, number] { actions_.configureTurbo(number); },
           [this, number] { actions_.diagnose(number); }}};
}

Card& Board::cardOf(const Thing& thing) {
  std::unique_ptr<Card>& card = cards_[thing.number];
  if (!card) {
    card = std::make_unique<Card>(actionsOf(thing.number));
  }
  return *card;
}

void Board::setThings(const Things& things, const Filter& filter, const QString& vm) {
  for (auto card = cards_.begin(); card != cards_.end();) {
    if (things.count(card->first) != 0) {
      ++card;
    } else {
      // Another card may get its address.
      shown_.clear();
      card = cards_.erase(card);
    }
  }
  std::vector<Card*> shown;
  for (const auto& [number, thing] : things) {
    Card& card = cardOf(thing);
    card.setThing(thing, vm);
    if (filter(thing)) {
      shown.push_back(&card);
    } else {
      card.hide();
    }
  }
  std::stable_sort(shown.begin(), shown.end(), [](const Card* a, const Card* b) {
    return QString::localeAwareCompare(a->name(), b->name()) < 0;
  });
  if (shown != shown_) {
    shown_ = std::move(shown);
    columns_ = 0;
    arrange();
  }
  nothing_->setVisible(shown_.empty());
}

bool Board::setThing(const Thing& thing, const Filter& filter, const QString& vm) {
  Card* const changed = card(thing.number);
  if (!changed || changed->name() != thing.name ||
      (std::count(shown_.begin(), shown_.end(), changed) != 0) != filter(thing)) {
    return false;
  }
  changed->setThing(thing, vm);
  return true;
}

int Board::columnsThatFit() const {
  return std::max(1, viewport()->width() / (kCardWidth * fontMetrics().averageCharWidth()));
}

void Board::arrange() {
  const int columns = columnsThatFit();
  if (columns == columns_) {
    return;
  }
  columns_ = columns;
  for (int column = 0; column < std::max(columns, grid_->columnCount()); ++column) {
    grid_->setColumnStretch(column, column < columns ? 1 : 0);
  }
  int place = 0;
  Card* before = nullptr;
  for (Card* const card : shown_) {
    grid_->addWidget(card, place / columns, place % columns);
    card->setVisible(true);
    if (before) {
      setTabOrder(&before->more(), &card->toggle());
    }
    setTabOrder(&card->toggle(), &card->more());
    before = card;
    ++place;
  }
}

void Board::resizeEvent(QResizeEvent* event) {
  QScrollArea::resizeEvent(event);
  arrange();
}

}  // namespace panel
