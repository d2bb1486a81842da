#include "examples/penpad/paper.h"

#include <algorithm>

#include <QPaintEvent>
#include <QPainter>

#include "examples/penpad/colours.h"

namespace penpad {
namespace {

constexpr int kFullPressure = 1024;
constexpr double kThinnest = 1.5;
constexpr double kThickening = 10;

// A stroke of a few hours. The oldest half is removed when there are more.
constexpr std::size_t kMostSamples = 1000000;

QPointF middleOf(const QPoint& pixel) {
  return QPointF(pixel) + QPointF(0.5, 0.5);
}

}  // namespace

Sample sampleOf(const QTabletEvent& event, bool touches) {
  return {event.pos(), static_cast<int>(event.pressure() * kFullPressure), touches};
}

Sample sampleOf(const penframe::Packet& packet) {
  return {QPoint(packet.x, packet.y), packet.pressure, penframe::touches(packet)};
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
  image_.fill(kPaperColour);
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
    painter.setPen(QPen(kInkColour, width, Qt::SolidLine, Qt::RoundCap));
    // Qt does not draw a line of length 0.
    const QPointF end = middleOf(sample.position);
    painter.drawLine(middleOf(from.position),
                     from.position == sample.position ? end + QPointF(0.01, 0) : end);
  }
  last_ = sample;
}

void Paper::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.drawImage(event->rect(), image_, event->rect());
  if (remark_.isEmpty()) {
    return;
  }
  painter.setRenderHint(QPainter::Antialiasing);
  QFont remarkFont = font();
  remarkFont.setPixelSize(13);
  painter.setFont(remarkFont);
  const QRect most = rect().adjusted(48, 24, -48, -24);
  const QRect box = painter.boundingRect(most, Qt::AlignCenter | Qt::TextWordWrap, remark_);
  painter.setPen(kRemarkEdgeColour);
  painter.setBrush(kRemarkColour);
  painter.drawRoundedRect(QRectF(box).adjusted(-18.5, -12.5, 18.5, 12.5), 8, 8);
  painter.setPen(kRemarkTextColour);
  painter.drawText(box, Qt::AlignCenter | Qt::TextWordWrap, remark_);
}

void Paper::resizeEvent(QResizeEvent* /*event*/) {
  image_ = QImage(size(), QImage::Format_RGB32);
  image_.fill(kPaperColour);
  last_.reset();
  for (const Sample& sample : samples_) {
    draw(sample);
  }
}

}  // namespace penpad
