// The menu of a device's card: its policy, and whether devices of its kind are attached by
// themselves.

#ifndef EXAMPLES_PANEL_THINGS_MORE_BUTTON_H
#define EXAMPLES_PANEL_THINGS_MORE_BUTTON_H

#include <functional>
#include <map>

#include <QCoreApplication>
#include <QMenu>
#include <QToolButton>

#include "examples/panel/things/thing.h"

namespace panel {

class MoreButton : public QToolButton {
  Q_DECLARE_TR_FUNCTIONS(panel::MoreButton)

 public:
  using PolicyChosen = std::function<void(vel::LocalPolicy)>;
  using AutoConnectChosen = std::function<void(bool)>;

  MoreButton(const PolicyChosen& policyChosen, const AutoConnectChosen& autoConnectChosen);

  // Marks what the service has. A choice is marked when the service has taken it.
  void setThing(const Thing& thing);

  QMenu& menu() { return menu_; }
  QAction& policy(vel::LocalPolicy policy) { return *policies_.at(policy); }
  QAction& autoConnect() { return *autoConnect_; }

 private:
  QMenu menu_;
  std::map<vel::LocalPolicy, QAction*> policies_;
  QAction* autoConnect_ = nullptr;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_MORE_BUTTON_H
