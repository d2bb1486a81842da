#include "examples/panel/widgets/switch.h"

#include <algorithm>

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

namespace panel {
namespace {

constexpr int kGap = 6;
constexpr int kMargin = 2;  // of the focus frame

}  // namespace

// Follows the font, and so the resolution of the screen.
QSize Switch::track() const {
  const int height = fontMetrics().height();
  return {height * 9 / 5, height};
}

QSize Switch::sizeHint() const {
  const int width = track().width() + kGap + fontMetrics().horizontalAdvance(text());
  return QSize(width, track().height()) + 2 * QSize(kMargin, kMargin);
}

void Switch::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
  const QRect inside = rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
  // From right to left the track stands at the right, and "on" at its left.
  const QRect trackRect =
      QStyle::alignedRect(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter, track(), inside);
  const QRectF outline = QRectF(trackRect).adjusted(0.5, 0.5, -0.5, -0.5);
  painter.setPen(palette().color(group, QPalette::WindowText));
  painter.setBrush(palette().color(group, isChecked() ? QPalette::Highlight : QPalette::Base));
  painter.drawRoundedRect(outline, outline.height() / 2, outline.height() / 2);
  const bool isKnobRight = isChecked() == (layoutDirection() == Qt::LeftToRight);
  const double radius = outline.height() / 2 - 3;
  const QPointF centre(
      isKnobRight ? outline.right() - outline.height() / 2 : outline.left() + outline.height() / 2,
      outline.center().y());
  painter.setBrush(
      palette().color(group, isChecked() ? QPalette::HighlightedText : QPalette::WindowText));
  painter.drawEllipse(centre, radius, radius);

  const int used = track().width() + kGap;
  const QRect textRect = layoutDirection() == Qt::LeftToRight ? inside.adjusted(used, 0, 0, 0)
                                                              : inside.adjusted(0, 0, -used, 0);
  painter.setPen(palette().color(group, QPalette::WindowText));
  painter.drawText(textRect, static_cast<int>(Qt::AlignLeading | Qt::AlignVCenter), text());
  if (hasFocus()) {
    QStyleOptionFocusRect option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
  }
}

void Switch::changeEvent(QEvent* event) {
  QCheckBox::changeEvent(event);
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
    updateGeometry();
  }
}

}  // namespace panel
