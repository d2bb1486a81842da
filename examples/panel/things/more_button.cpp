#include "examples/panel/things/more_button.h"

#include <QActionGroup>

namespace panel {

MoreButton::MoreButton(const Actions& actions) {
  setText(tr("More"));
  setPopupMode(QToolButton::InstantPopup);
  setFocusPolicy(Qt::StrongFocus);
  setMenu(&menu_);
  auto* const group = new QActionGroup(&menu_);
  const auto add = [&](vel::LocalPolicy policy, const QString& text) {
    QAction* const action = menu_.addAction(text);
    action->setCheckable(true);
    group->addAction(action);
    policies_[policy] = action;
    connect(action, &QAction::triggered, this,
            [setPolicy = actions.setPolicy, policy] { setPolicy(policy); });
  };
  add(vel::LocalPolicy::kNone, tr("&No policy"));
  add(vel::LocalPolicy::kAllowed, tr("May be &attached"));
  add(vel::LocalPolicy::kForbidden, tr("Must not be a&ttached"));
  menu_.addSeparator();
  autoConnect_ = menu_.addAction(QString());
  autoConnect_->setCheckable(true);
  connect(autoConnect_, &QAction::triggered, this, actions.setAutoConnect);
  menu_.addSeparator();
  checkCamera_ = menu_.addAction(tr("Check whether cameras may &be used"));
  connect(checkCamera_, &QAction::triggered, this, actions.checkCamera);
  configureTurbo_ = menu_.addAction(tr("T&urbo configuration\u2026"));
  connect(configureTurbo_, &QAction::triggered, this, actions.configureTurbo);
  diagnose_ = menu_.addAction(tr("&Diagnose\u2026"));
  connect(diagnose_, &QAction::triggered, this, actions.diagnose);
}

void MoreButton::setThing(const Thing& thing) {
  setVisible(!thing.isPrinter());
  setAccessibleName(tr("More for %1").arg(thing.name));
  for (const auto& [policy, action] : policies_) {
    action->setChecked(policy == thing.policy);
    action->setEnabled(!thing.isBusy);
  }
  autoConnect_->setText(tr("Attach &each of its kind when it is plugged in: %1").arg(thing.kind()));
  autoConnect_->setChecked(thing.isAutoConnected);
  autoConnect_->setEnabled(!thing.isBusy);
  checkCamera_->setVisible(thing.type == vel::DeviceType::kCamera);
  checkCamera_->setEnabled(!thing.isBusy);
  configureTurbo_->setVisible(thing.type == vel::DeviceType::kCamera);
}

}  // namespace panel
