#include "examples/panel/desktop/tray.h"

#include <algorithm>

#include <QApplication>
#include <QPainter>

namespace panel {
namespace {

// What desktops ask for, in pixels of a usual screen.
constexpr int kSizes[] = {16, 22, 24, 32, 48};
// A number of three digits cannot be read.
constexpr int kMostCounted = 99;

// A plug whose cable leaves below, in a square of 16 units.
void drawPlug(QPainter& painter, const QPalette& palette) {
  const QColor colour = palette.color(QPalette::Active, QPalette::WindowText);
  painter.setPen(QPen(colour, 1.6, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(5.5, 1.5), QPointF(5.5, 5));
  painter.drawLine(QPointF(10.5, 1.5), QPointF(10.5, 5));
  painter.drawLine(QPointF(8, 10), QPointF(8, 14.5));
  painter.setPen(Qt::NoPen);
  painter.setBrush(colour);
  painter.drawRoundedRect(QRectF(3, 4.5, 10, 6.5), 2, 2);
}

void drawCount(QPainter& painter, int count, const QPalette& palette) {
  const QRectF badge(6, 6.5, 10, 9.5);
  painter.setPen(Qt::NoPen);
  painter.setBrush(palette.color(QPalette::Active, QPalette::Highlight));
  painter.drawRoundedRect(badge, 3, 3);
  QFont font = QApplication::font();
  font.setBold(true);
  font.setPixelSize(8);
  painter.setFont(font);
  painter.setPen(palette.color(QPalette::Active, QPalette::HighlightedText));
  painter.drawText(badge, Qt::AlignCenter, QString::number(std::min(count, kMostCounted)));
}

QPixmap pictureOf(int attached, const QPalette& palette, int size, int scale) {
  constexpr double kUnits = 16;
  QPixmap picture(size * scale, size * scale);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(size * scale / kUnits, size * scale / kUnits);
  drawPlug(painter, palette);
  if (attached > 0) {
    drawCount(painter, attached, palette);
  }
  painter.end();
  picture.setDevicePixelRatio(scale);
  return picture;
}

}  // namespace

QIcon Tray::iconFor(int attached, const QPalette& palette) {
  QIcon icon;
  for (const int size : kSizes) {
    icon.addPixmap(pictureOf(attached, palette, size, 1));
    icon.addPixmap(pictureOf(attached, palette, size, 2));
  }
  return icon;
}

Tray::Tray(Window& window, const Service& service)
    : window_(window),
      service_(service),
      counts_(menu_.addAction(QString())),
      notifications_(
          service, window.things(), [this] { return !window_.isActiveWindow(); },
          [this](const QString& title, const QString& text) {
            notification_ = text;
            icon_.showMessage(title, text, icon_.icon());
          }) {
  // A text for those who cannot hover, as a screen reader.
  counts_->setEnabled(false);
  menu_.addSeparator();
  connect(menu_.addAction(tr("&Show window")), &QAction::triggered, this, [this] { showWindow(); });
  connect(menu_.addAction(tr("&Quit")), &QAction::triggered, qApp, &QApplication::quit);
  icon_.setContextMenu(&menu_);
  connect(&icon_, &QSystemTrayIcon::activated, this,
          [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
              toggleWindow();
            }
          });
  connect(&icon_, &QSystemTrayIcon::messageClicked, this, [this] { showWindow(); });
  const auto show = [this] { showCounts(); };
  connect(&window_.things(), &ThingsModel::thingsChanged, this, show);
  connect(&window_.things(), &ThingsModel::thingChanged, this, show);
  connect(&service_, &Service::stateChanged, this, show);
  connect(qApp, &QGuiApplication::paletteChanged, this, [this] {
    shownCount_ = -1;
    showCounts();
  });
  showCounts();
  const bool isThere = QSystemTrayIcon::isSystemTrayAvailable();
  QApplication::setQuitOnLastWindowClosed(!isThere);
  icon_.setVisible(isThere);
}

void Tray::showCounts() {
  const Things& things = window_.things().things();
  const auto attached = static_cast<int>(std::count_if(
      things.begin(), things.end(), [](const auto& each) { return each.second.isAttached(); }));
  const QString text = service_.isReady() ? tr("%1 of %2 attached").arg(attached).arg(things.size())
                                          : tr("The service is not available");
  counts_->setText(text);
  icon_.setToolTip(text);
  if (shownCount_ != attached) {
    shownCount_ = attached;
    icon_.setIcon(iconFor(attached, QGuiApplication::palette()));
  }
}

void Tray::showWindow() {
  window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
  window_.show();
  window_.raise();
  window_.activateWindow();
}

void Tray::toggleWindow() {
  if (window_.isActiveWindow()) {
    window_.hide();
  } else {
    showWindow();
  }
}

}  // namespace panel
