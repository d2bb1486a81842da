#include "examples/penpad/window.h"

#include <algorithm>

#include <QCoreApplication>
#include <QFrame>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPainter>
#include <QPixmap>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include "base/text.h"

namespace penpad {
namespace {

constexpr char kStyle[] = R"(
  QWidget { background: #f3f4f7; color: #23283a; font-family: "DejaVu Sans"; font-size: 12px; }
  QLabel#caption { font-size: 14px; font-weight: bold; }
  QLabel#explanation { color: #6a7085; }
  QFrame#sheet { background: #c9cdd8; border-radius: 3px; }
  QPushButton, QSpinBox { background: white; border: 1px solid #b9bfcd; border-radius: 5px;
                          padding: 5px 12px; }
  QSpinBox { padding: 5px 8px; }
  QPushButton:hover { border-color: #1b2a6b; }
  QPushButton:disabled, QSpinBox:disabled { color: #9aa0b2; background: #eceef2; }
  QPushButton#primary:enabled { background: #1b2a6b; border-color: #1b2a6b; color: white; }
  QPushButton#primary:enabled:hover { background: #2a3d93; }
  QTableView { background: white; alternate-background-color: #f7f8fb; border: 1px solid #c9cdd8;
               gridline-color: #e6e8ee; }
  QHeaderView::section { background: #e9ebf1; border: none; border-bottom: 1px solid #c9cdd8;
                         padding: 4px 8px; font-weight: bold; color: #4a5066; }
  QScrollBar:vertical { background: #f7f8fb; width: 10px; margin: 0; }
  QScrollBar::handle:vertical { background: #c3c8d6; border-radius: 4px; margin: 1px;
                                min-height: 24px; }
  QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }
  QScrollBar::add-page, QScrollBar::sub-page { background: none; }
)";

constexpr int kMargin = 16;
constexpr int kGap = 12;
constexpr int kRowHeight = 22;
constexpr int kLampSize = 11;
constexpr int kMostDevices = 255;
constexpr int kUsualDevice = 5;
const QColor kSending(0x2E, 0x9E, 0x5B);
const QColor kNotSending(0xE0, 0x9A, 0x1A);
const QColor kBroken(0xC8, 0x32, 0x32);

// The pressure as a bar behind its number.
class PressureDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    const double share = std::clamp(index.data().toInt() / 1024.0, 0.0, 1.0);
    QRectF bar = QRectF(option.rect).adjusted(4, 4, -4, -4);
    bar.setWidth(bar.width() * share);
    painter->fillRect(bar, QColor(0xC3, 0xCC, 0xF0));
    QStyledItemDelegate::paint(painter, option, index);
  }
};

QPixmap lampOf(const QColor& colour) {
  QPixmap lamp(kLampSize, kLampSize);
  lamp.fill(Qt::transparent);
  QPainter painter(&lamp);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colour);
  painter.drawEllipse(lamp.rect());
  return lamp;
}

QString placeOf(const QWidget& widget, const QWidget& window) {
  const QPoint corner = widget.mapTo(&window, QPoint(0, 0));
  return QStringLiteral("%1 %2 %3 %4")
      .arg(corner.x())
      .arg(corner.y())
      .arg(widget.width())
      .arg(widget.height());
}

}  // namespace

Window::Window()
    : link_([this](const penframe::Frame& frame) { receive(frame); }),
      drawn_([this](QTabletEvent* event) { send(event); }),
      deviceButton_("Give device number"),
      portOpen_("Port open"),
      clearButton_("Clear") {
  setWindowTitle("penpad");
  setStyleSheet(kStyle);
  deviceNumber_.setRange(0, kMostDevices);
  deviceNumber_.setValue(kUsualDevice);
  deviceNumber_.setButtonSymbols(QAbstractSpinBox::NoButtons);
  deviceNumber_.setFixedWidth(48);
  deviceNumber_.setAlignment(Qt::AlignRight);
  deviceNumber_.setFocusPolicy(Qt::ClickFocus);
  deviceNumber_.setToolTip("Number that the far end gives the pen; 0: none");
  deviceButton_.setObjectName("primary");
  deviceButton_.setToolTip("Deliver message 2101 on the port, as the far end does");
  portOpen_.setChecked(true);

  connect(&deviceButton_, &QPushButton::clicked, this, [this] { deliverDeviceNumber(); });
  connect(&clearButton_, &QPushButton::clicked, this, [this] { clear(); });
  connect(&portOpen_, &QCheckBox::toggled, this, [this](bool open) {
    link_.setPortOpen(open);
    showStatus();
  });
  QCoreApplication::instance()->installEventFilter(this);
  layOut();
  showStatus();
}

QImage Window::picture() {
  QImage image = grab().toImage();
  image.setText("Drawn", placeOf(drawn_, *this));
  image.setText("Redrawn", placeOf(redrawn_, *this));
  return image;
}

bool Window::eventFilter(QObject* watched, QEvent* event) {
  const bool isProximity = event->type() == QEvent::TabletEnterProximity ||
                           event->type() == QEvent::TabletLeaveProximity;
  if (isProximity && watched == QCoreApplication::instance()) {
    send(static_cast<QTabletEvent*>(event));
  }
  return QWidget::eventFilter(watched, event);
}

void Window::send(QTabletEvent* event) {
  link_.send(event);
  showStatus();
}

void Window::receive(const penframe::Frame& frame) {
  redrawn_.add(pencanvas::sampleOf(frame.packet));
  frames_.add(frame);
  table_.scrollToBottom();
}

void Window::deliverDeviceNumber() {
  link_.deliverDeviceNumber(static_cast<std::uint8_t>(deviceNumber_.value()));
  showStatus();
}

void Window::clear() {
  drawn_.clear();
  redrawn_.clear();
  frames_.clear();
}

void Window::showStatus() {
  const QString counts = QString::fromStdString(base::counted(link_.events(), "tablet event") +
                                                ", " + base::counted(link_.frames(), "frame"));
  const QString obstacle = QString::fromStdString(link_.obstacle());
  const QString fault = QString::fromStdString(link_.badFrame());
  if (!fault.isEmpty()) {
    lamp_.setPixmap(lampOf(kBroken));
    status_.setText("The last frame cannot be read: " + fault + ". " + counts + ".");
  } else if (!obstacle.isEmpty()) {
    lamp_.setPixmap(lampOf(kNotSending));
    status_.setText("Nothing is sent: " + obstacle + ". " + counts + ".");
  } else {
    lamp_.setPixmap(lampOf(kSending));
    status_.setText(QStringLiteral("Sending as device %1. ").arg(link_.devId()) + counts + ".");
  }
  redrawn_.setRemark(obstacle.isEmpty() ? "" : "Nothing is sent:\n" + obstacle);
  const bool isNumberWanted = link_.devId() == 0;
  deviceButton_.setEnabled(isNumberWanted);
  deviceNumber_.setEnabled(isNumberWanted);
}

QWidget* Window::captioned(const QString& caption, const QString& text, Paper* paper) {
  auto* const whole = new QWidget;
  auto* const name = new QLabel(caption);
  name->setObjectName("caption");
  auto* const explanation = new QLabel(text);
  explanation->setObjectName("explanation");
  auto* const sheet = new QFrame;
  sheet->setObjectName("sheet");
  auto* const edge = new QVBoxLayout(sheet);
  edge->setContentsMargins(1, 1, 1, 1);
  edge->addWidget(paper);
  auto* const line = new QHBoxLayout;
  line->addWidget(name);
  line->addWidget(explanation, 1);
  auto* const lines = new QVBoxLayout(whole);
  lines->setContentsMargins(0, 0, 0, 0);
  lines->addLayout(line);
  lines->addWidget(sheet, 1);
  return whole;
}

void Window::layOut() {
  auto* const sheets = new QHBoxLayout;
  sheets->setSpacing(kGap);
  sheets->addWidget(captioned("Drawn", "the input of the tablet", &drawn_), 1);
  sheets->addWidget(captioned("Redrawn", "from the frames alone", &redrawn_), 1);

  // Its text must not set the width of the window.
  status_.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  auto* const controls = new QHBoxLayout;
  controls->setSpacing(8);
  controls->addWidget(&lamp_);
  controls->addWidget(&status_, 1);
  controls->addWidget(&deviceNumber_);
  controls->addWidget(&deviceButton_);
  controls->addSpacing(8);
  controls->addWidget(&portOpen_);
  controls->addSpacing(8);
  controls->addWidget(&clearButton_);

  table_.setModel(&frames_);
  table_.setItemDelegateForColumn(FrameTable::kPressure, new PressureDelegate(&table_));
  table_.setAlternatingRowColors(true);
  table_.setSelectionMode(QAbstractItemView::NoSelection);
  table_.setFocusPolicy(Qt::NoFocus);
  table_.setWordWrap(false);
  table_.verticalHeader()->hide();
  table_.verticalHeader()->setDefaultSectionSize(kRowHeight);
  QHeaderView& header = *table_.horizontalHeader();
  header.setHighlightSections(false);
  header.setStretchLastSection(true);
  const int widths[FrameTable::kFlags] = {76, 66, 52, 52, 110, 84, 78};
  for (int column = 0; column < FrameTable::kFlags; ++column) {
    header.resizeSection(column, widths[column]);
  }

  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  rows->setSpacing(kGap);
  rows->addLayout(sheets, 3);
  rows->addLayout(controls);
  rows->addWidget(&table_, 2);
  resize(1024, 700);
}

}  // namespace penpad
