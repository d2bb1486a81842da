#include "examples/panel/window.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>

#include "examples/panel/joysticks/joysticks_page.h"
#include "examples/panel/pen/pen_page.h"
#include "examples/panel/printing/printing_page.h"
#include "examples/panel/quality/quality_page.h"
#include "examples/panel/things/things_page.h"

namespace panel {
namespace {

// In widths of a letter.
constexpr int kWidth = 120;
constexpr int kHeight = 80;
constexpr int kVmsWidth = 24;

}  // namespace

Window::Window(Service& service)
    : service_(service),
      things_(service),
      newDevices_(service, things_),
      vms_([this](const Number& number, const std::string& vm) { things_.attach(number, vm); }),
      newDeviceCard_(newDevices_, vms_) {
  setWindowTitle(tr("Devices and printers"));
  pages_.add(new ThingsPage(service_, things_, vms_), tr("&Devices and printers"));
  pages_.add(new JoysticksPage(service_), tr("&Joysticks"));
  pages_.add(new PrintingPage(service_), tr("Prin&ting"));
  pages_.add(new PenPage, tr("&Pen"));
  pages_.add(new QualityPage(service_, vms_), tr("Qua&lity"));
  layOut();
  connect(&service_, &Service::stateChanged, this, [this] { showService(); });
  connect(&service_, &Service::vmsChanged, this, [this] { vms_.setVms(service_.vms()); });
  connect(&retryButton_, &QPushButton::clicked, &service_, &Service::refresh);
  connect(new QShortcut(QKeySequence::Refresh, this), &QShortcut::activated, &service_,
          &Service::refresh);
  vms_.setVms(service_.vms());
  showService();
}

void Window::layOut() {
  bannerText_.setTextFormat(Qt::PlainText);
  bannerText_.setWordWrap(true);
  retryButton_.setText(tr("&Try now"));
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

  auto* const right = new QWidget;
  auto* const rightRows = new QVBoxLayout(right);
  rightRows->setContentsMargins(0, 0, 0, 0);
  rightRows->addWidget(&newDeviceCard_);
  rightRows->addWidget(&pages_, 1);

  auto* const splitter = new QSplitter;
  splitter->setObjectName("vms");
  splitter->addWidget(left);
  splitter->addWidget(right);
  splitter->setStretchFactor(1, 1);
  splitter->setChildrenCollapsible(false);
  const int letter = fontMetrics().averageCharWidth();
  splitter->setSizes({kVmsWidth * letter, (kWidth - kVmsWidth) * letter});
  auto* const contentRows = new QVBoxLayout(&content_);
  contentRows->setContentsMargins(0, 0, 0, 0);
  contentRows->addWidget(splitter);

  auto* const rows = new QVBoxLayout(this);
  rows->addWidget(&banner_);
  rows->addWidget(&content_, 1);
  resize(kWidth * letter, kHeight * letter);
}

void Window::showService() {
  const bool isReady = service_.isReady();
  if (!isReady && content_.isEnabled()) {
    focusBefore_ = focusWidget();
  }
  content_.setEnabled(isReady);
  if (isReady && focusBefore_) {
    focusBefore_->setFocus();
    focusBefore_.clear();
  }
  const bool isConnecting = service_.state() == Service::State::kConnecting;
  bannerText_.setText(isConnecting ? tr("Connecting to the service\u2026")
                                   : service_.problem().text());
  retryButton_.setVisible(!isConnecting);
  const bool wasShown = hasBanner();
  banner_.setVisible(!isReady);
  if (!isReady && !wasShown) {
    QAccessibleEvent alert(&bannerText_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }
}

}  // namespace panel
