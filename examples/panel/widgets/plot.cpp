#include "examples/panel/widgets/plot.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QLocale>
#include <QPainter>

namespace panel {
namespace {

constexpr int kGridLines = 4;
constexpr double kLineWidth = 2;

}  // namespace

Plot::Plot(int room) : room_(room) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setMinimumHeight(10 * fontMetrics().height());
}

double Plot::roundedUp(double greatest) {
  if (!(greatest > 0)) {
    return 1;
  }
  const double power = std::pow(10, std::floor(std::log10(greatest)));
  for (const double step : {1.0, 2.0, 5.0}) {
    if (greatest <= step * power) {
      return step * power;
    }
  }
  return 10 * power;
}

void Plot::setLines(std::vector<Line> lines) {
  lines_ = std::move(lines);
  QStringList words;
  for (const Line& line : lines_) {
    if (!line.values.empty()) {
      words.append(tr("%1: %2").arg(line.name, QLocale().toString(line.values.back())));
    }
  }
  setAccessibleDescription(words.join(", "));
  update();
}

QPalette::ColorGroup Plot::group() const {
  return isEnabled() ? QPalette::Active : QPalette::Disabled;
}

// Not everyone sees colours: every second line has dashes.
QPen Plot::penOf(std::size_t index) const {
  const bool isFirst = index % 2 == 0;
  return {palette().color(group(), isFirst ? QPalette::Highlight : QPalette::Text), kLineWidth,
          isFirst ? Qt::SolidLine : Qt::DashLine};
}

void Plot::paintEvent(QPaintEvent* /*event*/) {
  double greatest = 0;
  for (const Line& line : lines_) {
    for (const double value : line.values) {
      greatest = std::max(greatest, value);
    }
  }
  const double top = roundedUp(greatest);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.fillRect(rect(), palette().color(group(), QPalette::Base));
  const int letter = fontMetrics().height();
  const int scale = fontMetrics().horizontalAdvance(QLocale().toString(top)) + letter;
  const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
  const QRectF area = QRectF(rect()).adjusted(isRightToLeft ? letter : scale, 2 * letter,
                                              isRightToLeft ? -scale : -letter, -letter);
  drawAxes(painter, area, top);
  for (std::size_t index = 0; index < lines_.size(); ++index) {
    drawLine(painter, area, top, index);
    drawName(painter, area, index);
  }
}

void Plot::drawAxes(QPainter& painter, const QRectF& area, double top) const {
  const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
  QColor grid = palette().color(group(), QPalette::Text);
  for (int line = 0; line <= kGridLines; ++line) {
    const double y = area.bottom() - area.height() * line / kGridLines;
    grid.setAlphaF(line == 0 ? 1 : 0.25);
    painter.setPen(QPen(grid, 1));
    painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    const double half = fontMetrics().height() / 2.0;
    const QRectF place = isRightToLeft ? QRectF(area.right() + half, y - half,
                                                width() - area.right() - half, 2 * half)
                                       : QRectF(0, y - half, area.left() - half, 2 * half);
    painter.setPen(palette().color(group(), QPalette::Text));
    painter.drawText(
        place,
        static_cast<int>((isRightToLeft ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter),
        QLocale().toString(top * line / kGridLines));
  }
}

void Plot::drawLine(QPainter& painter, const QRectF& area, double top, std::size_t index) const {
  const std::vector<double>& values = lines_[index].values;
  const double step = area.width() / std::max(1, room_ - 1);
  QPolygonF points;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double along = static_cast<double>(values.size() - 1 - i) * step;
    const double x =
        layoutDirection() == Qt::RightToLeft ? area.left() + along : area.right() - along;
    points.append({x, area.bottom() - area.height() * values[i] / top});
  }
  painter.setPen(penOf(index));
  if (points.size() == 1) {
    painter.drawPoint(points.front());
  }
  painter.drawPolyline(points);
}

void Plot::drawName(QPainter& painter, const QRectF& area, std::size_t index) const {
  const double letter = fontMetrics().height();
  const double column = area.width() / static_cast<double>(lines_.size());
  const double left = area.left() + column * static_cast<double>(index);
  const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
  const double begin = isRightToLeft ? area.left() + area.right() - left : left;
  const double sign = isRightToLeft ? -1 : 1;
  painter.setPen(penOf(index));
  painter.drawLine(QPointF(begin, letter), QPointF(begin + sign * 2 * letter, letter));
  const double text = begin + sign * 2.5 * letter;
  const double room = column - 3 * letter;
  painter.setPen(palette().color(group(), QPalette::Text));
  painter.drawText(
      QRectF(isRightToLeft ? text - room : text, 0, room, 2 * letter),
      static_cast<int>((isRightToLeft ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter),
      lines_[index].name);
}

}  // namespace panel
