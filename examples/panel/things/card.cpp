#include "examples/panel/things/card.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QVBoxLayout>

namespace panel {
namespace {

// In widths of a letter.
constexpr int kLeastWidth = 24;

}  // namespace

Card::Card(const Actions& actions) : actions_(actions), more_(actions.more) {
  connect(&switch_, &QCheckBox::clicked, this, actions.toggle);
  // A long reason must not take the width of other cards.
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  setMinimumWidth(kLeastWidth * fontMetrics().averageCharWidth());
  QFont bold = name_.font();
  bold.setBold(true);
  name_.setFont(bold);

  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(&kind_);
  rows->addWidget(&name_);
  rows->addWidget(&state_);
  rows->addWidget(&note_);
  auto* const line = new QHBoxLayout;
  line->addWidget(&switch_);
  line->addStretch(1);
  line->addWidget(&more_);
  rows->addLayout(line);
  rows->addWidget(&status_);
  rows->addStretch(1);
}

void Card::contextMenuEvent(QContextMenuEvent* event) {
  if (!more_.isHidden()) {
    more_.menu().popup(event->globalPos());
  }
}

void Card::mousePressEvent(QMouseEvent* event) {
  pressed_ = event->pos();
}

void Card::mouseMoveEvent(QMouseEvent* event) {
  const bool isFar =
      (event->pos() - pressed_).manhattanLength() >= QApplication::startDragDistance();
  if (isFar && (event->buttons() & Qt::LeftButton) != 0) {
    actions_.drag();
  }
}

void Card::setThing(const Thing& thing, const QString& vm) {
  kind_.setText(thing.kind());
  name_.setText(thing.name);
  state_.setText(thing.state());
  note_.setText(thing.note);
  note_.setVisible(!thing.note.isEmpty());
  switch_.setChecked(thing.isAttached());
  switch_.setText(thing.isAttached() ? tr("Attached")
                  : vm.isEmpty()     ? tr("Choose a VM to attach to")
                                     : tr("Attach to %1").arg(vm));
  // An ampersand in the name of a VM is no key.
  switch_.setShortcut(QKeySequence());
  // While it is busy it keeps the focus, and does nothing.
  switch_.setEnabled(thing.isAttached() || !vm.isEmpty() || thing.isBusy);
  switch_.updateGeometry();
  more_.setThing(thing);
  status_.set(thing.isBusy, thing.problem, thing.name);

  // A screen reader reads the switch, and should say of which card it is.
  switch_.setAccessibleName(thing.isAttached()
                                ? tr("Detach %1 from %2").arg(thing.name, shownText(thing.vm))
                                : tr("Attach %1 to %2").arg(thing.name, vm));
  const QString progress = thing.isBusy ? tr("Working") : QString();
  switch_.setAccessibleDescription(thing.problem.isEmpty() ? progress : thing.problem.text());
  setAccessibleName(tr("%1, %2").arg(thing.name, thing.kind()));
  setAccessibleDescription(thing.note.isEmpty() ? thing.state()
                                                : thing.state() + ". " + thing.note);
}

}  // namespace panel
