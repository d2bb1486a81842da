#include "examples/pen_canvas/frame_table.h"

#include <QCoreApplication>
#include <QString>

namespace pencanvas {
namespace {

constexpr std::size_t kMostFrames = 5000;

constexpr const char* kHeaders[FrameTable::kColumns] = {
    QT_TRANSLATE_NOOP("pencanvas", "Request"),  QT_TRANSLATE_NOOP("pencanvas", "Device"),
    QT_TRANSLATE_NOOP("pencanvas", "x"),        QT_TRANSLATE_NOOP("pencanvas", "y"),
    QT_TRANSLATE_NOOP("pencanvas", "Pressure"), QT_TRANSLATE_NOOP("pencanvas", "Tilt"),
    QT_TRANSLATE_NOOP("pencanvas", "Rotation"), QT_TRANSLATE_NOOP("pencanvas", "Pointer flags")};

QString cellText(const penframe::Frame& frame, int column) {
  const penframe::Packet& packet = frame.packet;
  switch (column) {
    case FrameTable::kRequest:
      return QString::number(frame.reqId);
    case FrameTable::kDevice:
      return QString::number(frame.devId);
    case FrameTable::kX:
      return QString::number(packet.x);
    case FrameTable::kY:
      return QString::number(packet.y);
    case FrameTable::kPressure:
      return QString::number(packet.pressure);
    case FrameTable::kTilt:
      return QStringLiteral("%1\u00B0, %2\u00B0").arg(packet.tiltX).arg(packet.tiltY);
    case FrameTable::kRotation:
      return QString::number(packet.rotation / 1024.0, 'f', 1) + QChar(0xB0);
    default:
      return QString::fromStdString(penframe::flagsText(packet.flags)).replace('|', "  ");
  }
}

}  // namespace

void FrameTable::add(const penframe::Frame& frame) {
  if (frames_.size() >= kMostFrames) {
    beginRemoveRows(QModelIndex(), 0, 0);
    frames_.pop_front();
    endRemoveRows();
  }
  const int row = rowCount();
  beginInsertRows(QModelIndex(), row, row);
  frames_.push_back(frame);
  endInsertRows();
}

void FrameTable::clear() {
  beginResetModel();
  frames_.clear();
  endResetModel();
}

int FrameTable::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(frames_.size());
}

int FrameTable::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumns;
}

QVariant FrameTable::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) {
    return QVariant();
  }
  if (role == Qt::DisplayRole) {
    return cellText(frames_[static_cast<std::size_t>(index.row())], index.column());
  }
  if (role == Qt::TextAlignmentRole) {
    return QVariant(static_cast<int>(Qt::AlignVCenter |
                                     (index.column() == kFlags ? Qt::AlignLeft : Qt::AlignRight)));
  }
  return QVariant();
}

QVariant FrameTable::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section >= kColumns) {
    return QVariant();
  }
  if (role == Qt::DisplayRole) {
    return QCoreApplication::translate("pencanvas", kHeaders[section]);
  }
  if (role == Qt::TextAlignmentRole) {
    return QVariant(
        static_cast<int>(Qt::AlignVCenter | (section == kFlags ? Qt::AlignLeft : Qt::AlignRight)));
  }
  return QVariant();
}

}  // namespace pencanvas
