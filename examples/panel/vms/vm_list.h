// The list of VMs, onto which cards are dropped.

#ifndef EXAMPLES_PANEL_VMS_VM_LIST_H
#define EXAMPLES_PANEL_VMS_VM_LIST_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <QListWidget>

#include "examples/panel/things/thing.h"

namespace panel {

class VmList : public QListWidget {
  Q_OBJECT

 public:
  using Dropped = std::function<void(const Number& number, const std::string& vm)>;

  explicit VmList(Dropped dropped);

  // The one that was chosen stays chosen, if it is still there; otherwise it is the first.
  void setVms(const std::vector<std::string>& vms);
  // How many things are attached to each.
  void setCounts(const std::map<std::string, int>& counts);
  // Empty: none is chosen.
  std::string chosen() const;

 signals:
  // The list, or the one that is chosen.
  void chosenChanged();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  static std::string vmOf(const QListWidgetItem* item);
  void mark(QListWidgetItem* target);

  const Dropped dropped_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_VMS_VM_LIST_H
