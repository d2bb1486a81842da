#include "examples/panel/window.h"

#include <map>

#include <QAccessible>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>

namespace panel {
namespace {

enum Filters { kEverything, kDevices, kPrinters, kAttached, kNotAttached };

}  // namespace

Window::Window(PanelModel& model)
    : model_(model),
      vms_([this](const Number& number, const std::string& vm) { model_.attach(number, vm); }),
      board_({[this](const Number& number) { toggle(number); },
              [this](const Number& number, vel::LocalPolicy policy) {
                model_.setPolicy(number, policy);
              },
              [this](const Number& number, bool isOn) { model_.setAutoConnect(number, isOn); }}) {
  setWindowTitle(tr("Devices and printers"));
  layOut();
  addShortcuts();
  connect(&model_, &PanelModel::serviceChanged, this, [this] { showService(); });
  connect(&model_, &PanelModel::vmsChanged, this, [this] { showVms(); });
  connect(&model_, &PanelModel::thingsChanged, this, [this] { showThings(); });
  connect(&model_, &PanelModel::thingChanged, this,
          [this](const Number& number) { showThing(number); });
  connect(&vms_, &QListWidget::currentItemChanged, this, [this] { showThings(); });
  connect(&search_, &QLineEdit::textChanged, this, [this] { showThings(); });
  connect(&filter_, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
          [this] { showThings(); });
  connect(&retryButton_, &QPushButton::clicked, &model_, &PanelModel::refresh);
  showVms();
  showThings();
  showService();
}

void Window::layOut() {
  bannerText_.setTextFormat(Qt::PlainText);
  bannerText_.setWordWrap(true);
  retryButton_.setText(tr("&Try now"));
  banner_.setFrameShape(QFrame::StyledPanel);
  banner_.setAutoFillBackground(true);
  banner_.setBackgroundRole(QPalette::ToolTipBase);
  bannerText_.setForegroundRole(QPalette::ToolTipText);
  auto* const bannerLine = new QHBoxLayout(&banner_);
  bannerLine->addWidget(&bannerText_, 1);
  bannerLine->addWidget(&retryButton_);

  auto* const left = new QWidget;
  auto* const vmsLabel = new QLabel(tr("&VMs"));
  vmsLabel->setBuddy(&vms_);
  auto* const leftRows = new QVBoxLayout(left);
  leftRows->setContentsMargins(0, 0, 0, 0);
  leftRows->addWidget(vmsLabel);
  leftRows->addWidget(&vms_);

  search_.setPlaceholderText(tr("Search by name, kind or VM"));
  search_.setAccessibleName(tr("Search devices and printers"));
  search_.setClearButtonEnabled(true);
  filter_.setAccessibleName(tr("Show"));
  filter_.addItems(
      {tr("Everything"), tr("Devices"), tr("Printers"), tr("Attached"), tr("Not attached")});
  auto* const right = new QWidget;
  auto* const line = new QHBoxLayout;
  line->addWidget(&search_, 1);
  line->addWidget(&filter_);
  auto* const rightRows = new QVBoxLayout(right);
  rightRows->setContentsMargins(0, 0, 0, 0);
  rightRows->addLayout(line);
  rightRows->addWidget(&board_, 1);
  rightRows->addWidget(&summary_);

  auto* const splitter = new QSplitter;
  splitter->addWidget(left);
  splitter->addWidget(right);
  splitter->setStretchFactor(1, 1);
  splitter->setChildrenCollapsible(false);
  auto* const contentRows = new QVBoxLayout(&content_);
  contentRows->setContentsMargins(0, 0, 0, 0);
  contentRows->addWidget(splitter);

  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(&banner_);
  rows->addWidget(&content_, 1);
  const int letter = fontMetrics().averageCharWidth();
  resize(120 * letter, 80 * letter);
}

void Window::addShortcuts() {
  const auto onKeys = [this](const QKeySequence& keys, auto action) {
    connect(new QShortcut(keys, this), &QShortcut::activated, this, action);
  };
  onKeys(QKeySequence::Find, [this] { search_.setFocus(Qt::ShortcutFocusReason); });
  onKeys(QKeySequence::Refresh, [this] { model_.refresh(); });
  onKeys(Qt::Key_Escape, [this] { search_.clear(); });
}

// --- The service ---------------------------------------------------------------------------------

void Window::showService() {
  const bool isReady = model_.service() == PanelModel::Service::kReady;
  if (!isReady && content_.isEnabled()) {
    focusBefore_ = focusWidget();
  }
  content_.setEnabled(isReady);
  if (isReady && focusBefore_) {
    focusBefore_->setFocus();
    focusBefore_.clear();
  }
  const bool isConnecting = model_.service() == PanelModel::Service::kConnecting;
  bannerText_.setText(isConnecting ? tr("Connecting to the service\u2026")
                                   : model_.problem().text());
  retryButton_.setVisible(!isConnecting);
  const bool wasShown = hasBanner();
  banner_.setVisible(!isReady);
  if (!isReady && !wasShown) {
    QAccessibleEvent alert(&bannerText_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }
}

// --- VMs -----------------------------------------------------------------------------------------

void Window::showVms() {
  vms_.setVms(model_.vms());
  showThings();
}

// --- Things --------------------------------------------------------------------------------------

bool Window::passes(const Thing& thing) const {
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

void Window::showThings() {
  board_.setThings(
      model_.things(), [this](const Thing& thing) { return passes(thing); }, chosenVm());
  showCounts();
}

void Window::showThing(const Number& number) {
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

void Window::showCounts() {
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

void Window::toggle(const Number& number) {
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
