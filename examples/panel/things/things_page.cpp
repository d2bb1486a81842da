#include "examples/panel/things/things_page.h"

#include <map>

#include <QHBoxLayout>
#include <QKeySequence>
#include <QShortcut>
#include <QVBoxLayout>

namespace panel {
namespace {

enum Filters { kEverything, kDevices, kPrinters, kAttached, kNotAttached };

}  // namespace

ThingsPage::ThingsPage(Service& service, ThingsModel& model, VmList& vms)
    : service_(service),
      model_(model),
      vms_(vms),
      board_({[this](const Number& number) { toggle(number); },
              [this](const Number& number, vel::LocalPolicy policy) {
                model_.setPolicy(number, policy);
              },
              [this](const Number& number, bool isOn) { model_.setAutoConnect(number, isOn); },
              [this](const Number& number) { model_.checkCamera(number); },
              [this](const Number& number) { configureTurbo(number); },
              [this](const Number& number) { diagnose(number); }}) {
  layOut();
  addShortcuts();
  connect(&model_, &ThingsModel::thingsChanged, this, [this] { showThings(); });
  connect(&model_, &ThingsModel::thingChanged, this,
          [this](const Number& number) { showThing(number); });
  connect(&vms_, &VmList::chosenChanged, this, [this] { showThings(); });
  connect(&search_, &QLineEdit::textChanged, this, [this] { showThings(); });
  connect(&filter_, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          [this] { showThings(); });
  showThings();
}

void ThingsPage::layOut() {
  search_.setPlaceholderText(tr("Search by name, kind or VM"));
  search_.setAccessibleName(tr("Search devices and printers"));
  search_.setClearButtonEnabled(true);
  filter_.setAccessibleName(tr("Show"));
  filter_.addItems(
      {tr("Everything"), tr("Devices"), tr("Printers"), tr("Attached"), tr("Not attached")});
  auto* const line = new QHBoxLayout;
  line->addWidget(&search_, 1);
  line->addWidget(&filter_);
  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->addLayout(line);
  rows->addWidget(&board_, 1);
  rows->addWidget(&summary_);
}

// They do something while the page is shown.
void ThingsPage::addShortcuts() {
  const auto onKeys = [this](const QKeySequence& keys, auto action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
  };
  onKeys(QKeySequence::Find, [this] { search_.setFocus(Qt::ShortcutFocusReason); });
  onKeys(Qt::Key_Escape, [this] { search_.clear(); });
}

bool ThingsPage::passes(const Thing& thing) const {
  const QString words = search_.text().trimmed();
  const bool isFound = (thing.name + ' ' + thing.kind() + ' ' + shownText(thing.vm))
                           .contains(words, Qt::CaseInsensitive);
  switch (filter_.currentIndex()) {
    case kDevices:
      return isFound && !thing.isPrinter();
    case kPrinters:
      return isFound && thing.isPrinter();
    case kAttached:
      return isFound && thing.isAttached();
    case kNotAttached:
      return isFound && !thing.isAttached();
    default:
      return isFound;
  }
}

void ThingsPage::showThings() {
  board_.setThings(
      model_.things(), [this](const Thing& thing) { return passes(thing); }, chosenVm());
  showCounts();
}

void ThingsPage::showThing(const Number& number) {
  const Thing* const thing = model_.find(number);
  const bool isSameOrder =
      thing && board_.setThing(
                   *thing, [this](const Thing& each) { return passes(each); }, chosenVm());
  if (isSameOrder) {
    showCounts();
  } else {
    showThings();
  }
}

void ThingsPage::showCounts() {
  std::map<std::string, int> attached;
  int sum = 0;
  for (const auto& [number, thing] : model_.things()) {
    if (thing.isAttached()) {
      ++attached[thing.vm];
      ++sum;
    }
  }
  vms_.setCounts(attached);
  summary_.setText(
      tr("%1 of %2 shown, %3 attached").arg(board_.count()).arg(model_.things().size()).arg(sum));
}

void ThingsPage::diagnose(const Number& number) {
  const Thing* const thing = model_.find(number);
  const auto* const device = std::get_if<vel::DeviceNumber>(&number);
  if (thing && device) {
    const std::string vm = thing->vm.empty() ? vms_.chosen() : thing->vm;
    diagnosis_ = new DiagnosisDialog(service_, *device, vm, thing->name, this);
    open(*diagnosis_);
  }
}

void ThingsPage::configureTurbo(const Number& number) {
  if (const Thing* const thing = model_.find(number)) {
    turbo_ = new TurboDialog(service_, thing->usb, thing->name, this);
    open(*turbo_);
  }
}

void ThingsPage::open(QDialog& dialog) {
  dialog.setAttribute(Qt::WA_DeleteOnClose);
  dialog.show();
}

void ThingsPage::toggle(const Number& number) {
  const Thing* const thing = model_.find(number);
  if (!thing) {
    return;
  }
  if (thing->isAttached()) {
    model_.detach(number);
  } else if (!vms_.chosen().empty()) {
    model_.attach(number, vms_.chosen());
  }
}

}  // namespace panel
