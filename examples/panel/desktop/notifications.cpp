#include "examples/panel/desktop/notifications.h"

#include <utility>

namespace panel {
namespace {

// Desktops cut longer texts.
constexpr int kMostLines = 4;

}  // namespace

Notifications::Notifications(const Service& service, const ThingsModel& things, IsWanted isWanted,
                             Show show)
    : service_(service), things_(things), isWanted_(std::move(isWanted)), show_(std::move(show)) {
  connect(&things_, &ThingsModel::thingsChanged, this, [this] { compare(); });
  connect(&things_, &ThingsModel::thingChanged, this,
          [this](const Number& number) { compareProblem(number); });
  connect(&service_, &Service::stateChanged, this, [this] { takeState(); });
  takeState();
}

// The things that are there already are no news.
void Notifications::begin() {
  isWatching_ = true;
  known_.clear();
  for (const auto& [number, thing] : things_.things()) {
    known_[number] = {thing.name, thing.problem.text()};
  }
}

void Notifications::takeState() {
  if (service_.isReady()) {
    begin();
  } else if (std::exchange(isWatching_, false)) {
    add(service_.problem().text());
  }
}

void Notifications::compare() {
  if (!isWatching_) {
    return;
  }
  std::map<Number, Known> before = std::exchange(known_, {});
  begin();
  for (const auto& [number, known] : known_) {
    if (before.erase(number) == 0) {
      add(tr("%1 was plugged in").arg(known.name));
    }
  }
  for (const auto& [number, known] : before) {
    add(tr("%1 was unplugged").arg(known.name));
  }
}

void Notifications::compareProblem(const Number& number) {
  const Thing* const thing = things_.find(number);
  const auto known = known_.find(number);
  if (!thing || known == known_.end()) {
    return;
  }
  const QString problem = thing->problem.text();
  if (std::exchange(known->second.problem, problem) != problem && !problem.isEmpty()) {
    add(tr("%1: %2").arg(thing->name, problem));
  }
}

void Notifications::add(const QString& line) {
  if (!isWanted_()) {
    return;
  }
  if (lines_.isEmpty()) {
    QMetaObject::invokeMethod(
        this, [this] { flush(); }, Qt::QueuedConnection);
  }
  lines_.append(line);
}

void Notifications::flush() {
  QStringList lines = std::exchange(lines_, {});
  const int hidden = lines.size() - kMostLines;
  if (hidden > 0) {
    lines = lines.mid(0, kMostLines);
    lines.append(tr("Further changes: %1").arg(hidden));
  }
  show_(tr("Devices and printers"), lines.join('\n'));
}

}  // namespace panel
