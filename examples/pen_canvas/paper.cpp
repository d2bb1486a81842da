#include "examples/pen_canvas/paper.h"

#include <algorithm>

#include <QPaintEvent>
#include <QPainter>

namespace pencanvas {
namespace {

constexpr int kFullPressure = 1024;
constexpr double kThinnest = 1.5;
constexpr double kThickening = 10;
constexpr double kPenRadius = 6;
constexpr double kPixelsPerDegree = 0.6;

// A stroke of a few hours. The oldest half is removed when there are more.
constexpr std::size_t kMostSamples = 1000000;

QPointF middleOf(const QPoint& pixel) {
  return QPointF(pixel) + QPointF(0.5, 0.5);
}

}  // namespace

Sample sampleOf(const QTabletEvent& event, bool touches) {
  return {event.pos(), static_cast<int>(event.pressure() * kFullPressure), touches, event.xTilt(),
          event.yTilt()};
}

Sample sampleOf(const penframe::Packet& packet) {
  return {QPoint(packet.x, packet.y), packet.pressure, penframe::touches(packet), packet.tiltX,
          packet.tiltY};
}

Paper::Paper(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void Paper::add(const Sample& sample) {
  if (samples_.size() >= kMostSamples) {
    samples_.erase(samples_.begin(), samples_.begin() + kMostSamples / 2);
  }
  samples_.push_back(sample);
  draw(sample);
  update();
}

void Paper::clear() {
  samples_.clear();
  last_.reset();
  image_.fill(colours_.paper);
  update();
}

void Paper::setColours(const Colours& colours) {
  colours_ = colours;
  redraw();
  update();
}

void Paper::setShowsPen(bool showsPen) {
  showsPen_ = showsPen;
  update();
}

void Paper::setRemark(const QString& remark) {
  remark_ = remark;
  update();
}

QSize Paper::sizeHint() const {
  return QSize(460, 320);
}

void Paper::draw(const Sample& sample) {
  if (sample.touches && !image_.isNull()) {
    const Sample& from = last_ && last_->touches ? *last_ : sample;
    const double pressure = std::clamp((from.pressure + sample.pressure) / 2.0, 0.0, 1024.0);
    const double width = kThinnest + kThickening * pressure / kFullPressure;
    QPainter painter(&image_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colours_.ink, width, Qt::SolidLine, Qt::RoundCap));
    // Qt does not draw a line of length 0.
    const QPointF end = middleOf(sample.position);
    painter.drawLine(middleOf(from.position),
                     from.position == sample.position ? end + QPointF(0.01, 0) : end);
  }
  last_ = sample;
}

void Paper::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.setClipRect(event->rect());
  painter.drawImage(QPoint(0, 0), image_);
  painter.setRenderHint(QPainter::Antialiasing);
  if (showsPen_ && last_) {
    drawPen(painter);
  }
  if (!remark_.isEmpty()) {
    drawRemark(painter);
  }
}

void Paper::drawPen(QPainter& painter) const {
  const double share = std::clamp(last_->pressure / double{kFullPressure}, 0.0, 1.0);
  const double radius = kPenRadius * (1 + share);
  const QPointF tip = middleOf(last_->position);
  const QPointF lean = QPointF(last_->tiltX, last_->tiltY) * kPixelsPerDegree;
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(colours_.ink, 1));
  painter.drawEllipse(tip, radius, radius);
  painter.setPen(QPen(colours_.ink, 2, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(tip, tip + lean);
}

void Paper::drawRemark(QPainter& painter) const {
  QFont remarkFont = font();
  remarkFont.setPixelSize(13);
  painter.setFont(remarkFont);
  const QRect most = rect().adjusted(48, 24, -48, -24);
  const QRect box = painter.boundingRect(most, Qt::AlignCenter | Qt::TextWordWrap, remark_);
  painter.setPen(colours_.remarkEdge);
  painter.setBrush(colours_.remark);
  painter.drawRoundedRect(QRectF(box).adjusted(-18.5, -12.5, 18.5, 12.5), 8, 8);
  painter.setPen(colours_.remarkText);
  painter.drawText(box, Qt::AlignCenter | Qt::TextWordWrap, remark_);
}

void Paper::resizeEvent(QResizeEvent* /*event*/) {
  redraw();
}

// In pixels of the screen, so that a fine one shows fine lines.
void Paper::redraw() {
  image_ = QImage(size() * devicePixelRatioF(), QImage::Format_RGB32);
  image_.setDevicePixelRatio(devicePixelRatioF());
  image_.fill(colours_.paper);
  last_.reset();
  for (const Sample& sample : samples_) {
    draw(sample);
  }
}

}  // namespace pencanvas
