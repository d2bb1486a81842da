#include "examples/panel/pen/pen_page.h"

#include <cmath>

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>

namespace panel {
namespace {

constexpr std::uint8_t kDevice = 1;
constexpr double kPercent = 100;

// A wave whose pressure swells and fades while the pen leans from one side to the other.
constexpr int kSampleSteps = 120;
constexpr double kTurn = 6.283185307179586;
constexpr int kMostTilt = 45;

QTabletEvent sampleEvent(QEvent::Type type, int step, const QSize& sheet) {
  const double share = step / double{kSampleSteps};
  const double margin = 0.08;
  const QPointF place(sheet.width() * (margin + share * (1 - 2 * margin)),
                      sheet.height() * (0.5 + 0.32 * std::sin(2 * kTurn * share)));
  const double pressure = type == QEvent::TabletRelease ? 0 : std::sin(kTurn / 2 * share);
  const auto lean = static_cast<int>(std::lround(kMostTilt * std::cos(kTurn * share)));
  return QTabletEvent(type, place, place, QTabletEvent::Stylus, QTabletEvent::Pen, pressure, lean,
                      lean / 2, 0, 0, 0, Qt::NoModifier, 0, Qt::LeftButton, Qt::LeftButton);
}

}  // namespace

PenPage::PenPage()
    : link_([this](const penframe::Frame& frame) { receive(frame); }),
      pad_([this](QTabletEvent* event) { send(event); }) {
  link_.deliverDeviceNumber(kDevice);
  layOut();
  useColours();
  connect(&sample_, &QPushButton::clicked, this, [this] { drawSample(); });
  connect(&clear_, &QPushButton::clicked, this, [this] { clear(); });
  clear();
}

void PenPage::layOut() {
  pad_.setShowsPen(true);
  pad_.setAccessibleName(tr("Sheet to draw on"));
  sample_.setText(tr("D&raw a sample"));
  clear_.setText(tr("&Clear"));
  table_.setModel(&frames_);
  table_.setAccessibleName(tr("Frames that were sent"));
  table_.setSelectionBehavior(QAbstractItemView::SelectRows);
  table_.setAlternatingRowColors(true);
  table_.setTabKeyNavigation(false);
  table_.setWordWrap(false);
  table_.verticalHeader()->hide();
  table_.verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
  table_.horizontalHeader()->setStretchLastSection(true);
  const int letter = fontMetrics().averageCharWidth();
  for (int column = 0; column < pencanvas::FrameTable::kFlags; ++column) {
    table_.setColumnWidth(column, 10 * letter);
  }

  auto* const line = new QHBoxLayout;
  line->addWidget(&pen_, 1);
  line->addWidget(&sample_);
  line->addWidget(&clear_);
  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->addWidget(&pad_, 3);
  rows->addLayout(line);
  rows->addWidget(&table_, 2);
  rows->addWidget(&counts_);
}

void PenPage::useColours() {
  const auto colour = [this](QPalette::ColorRole role) {
    return palette().color(QPalette::Active, role);
  };
  pad_.setColours({colour(QPalette::Base), colour(QPalette::Text), colour(QPalette::ToolTipBase),
                   colour(QPalette::ToolTipText), colour(QPalette::ToolTipText)});
}

void PenPage::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    useColours();
  }
}

void PenPage::send(QTabletEvent* event) {
  link_.send(event);
  pen_.setText(tr("Pressure %1 %, tilt %2\u00B0, %3\u00B0")
                   .arg(qRound(event->pressure() * kPercent))
                   .arg(event->xTilt())
                   .arg(event->yTilt()));
  showCounts();
}

void PenPage::receive(const penframe::Frame& frame) {
  frames_.add(frame);
  table_.scrollToBottom();
}

// Draws for those who have no pen, and no mouse.
void PenPage::drawSample() {
  for (int step = 0; step <= kSampleSteps; ++step) {
    QTabletEvent event = sampleEvent(step == 0              ? QEvent::TabletPress
                                     : step == kSampleSteps ? QEvent::TabletRelease
                                                            : QEvent::TabletMove,
                                     step, pad_.size());
    QCoreApplication::sendEvent(&pad_, &event);
  }
}

void PenPage::clear() {
  pad_.clear();
  frames_.clear();
  pen_.setText(tr("Draw with a pen, or with the mouse"));
  showCounts();
}

void PenPage::showCounts() {
  counts_.setText(tr("%1 frames sent for %2 events").arg(link_.frames()).arg(link_.events()));
}

}  // namespace panel
