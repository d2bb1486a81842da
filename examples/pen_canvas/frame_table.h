// The frames that arrived, one per row.

#ifndef EXAMPLES_PEN_CANVAS_FRAME_TABLE_H
#define EXAMPLES_PEN_CANVAS_FRAME_TABLE_H

#include <deque>

#include <QAbstractTableModel>

#include "pen/pen_frame.h"

namespace pencanvas {

class FrameTable : public QAbstractTableModel {
 public:
  enum Column { kRequest, kDevice, kX, kY, kPressure, kTilt, kRotation, kFlags, kColumns };

  // The oldest frames are removed when there are many.
  void add(const penframe::Frame& frame);
  void clear();

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  std::deque<penframe::Frame> frames_;
};

}  // namespace pencanvas

#endif  // EXAMPLES_PEN_CANVAS_FRAME_TABLE_H
