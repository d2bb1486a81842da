// The menu of a device's card: its policy, whether devices of its kind are attached by themselves,
// and what finds out why it does not work.

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
  struct Actions {
    std::function<void(vel::LocalPolicy)> setPolicy;
    std::function<void(bool)> setAutoConnect;
    std::function<void()> checkCamera;
    std::function<void()> configureTurbo;
    std::function<void()> diagnose;
  };

  explicit MoreButton(const Actions& actions);

  // Marks what the service has. A choice is marked when the service has taken it.
  void setThing(const Thing& thing);

  QMenu& menu() { return menu_; }
  QAction& policy(vel::LocalPolicy policy) { return *policies_.at(policy); }
  QAction& autoConnect() { return *autoConnect_; }
  QAction& checkCamera() { return *checkCamera_; }
  QAction& configureTurbo() { return *configureTurbo_; }
  QAction& diagnose() { return *diagnose_; }

 private:
  QMenu menu_;
  std::map<vel::LocalPolicy, QAction*> policies_;
  QAction* autoConnect_ = nullptr;
  QAction* checkCamera_ = nullptr;
  QAction* configureTurbo_ = nullptr;
  QAction* diagnose_ = nullptr;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_MORE_BUTTON_H
