// What a person learns while the window is not in front: devices that come and go, operations that
// fail, a service that ends. Knows no widgets.

#ifndef EXAMPLES_PANEL_DESKTOP_NOTIFICATIONS_H
#define EXAMPLES_PANEL_DESKTOP_NOTIFICATIONS_H

#include <functional>
#include <map>

#include <QCoreApplication>
#include <QObject>
#include <QStringList>

#include "examples/panel/service/service.h"
#include "examples/panel/things/things_model.h"

namespace panel {

class Notifications : public QObject {
  Q_DECLARE_TR_FUNCTIONS(panel::Notifications)

 public:
  using IsWanted = std::function<bool()>;
  using Show = std::function<void(const QString& title, const QString& text)>;

  // Both must outlive the object.
  //
  // isWanted   asked for each change; what happens while it is not wanted is not shown later
  // show       what happens in one turn of the loop comes as one text, a line for each change
  Notifications(const Service& service, const ThingsModel& things, IsWanted isWanted, Show show);

 private:
  struct Known {
    QString name;
    QString problem;
  };

  void begin();
  void compare();
  void compareProblem(const Number& number);
  void takeState();
  void add(const QString& line);
  void flush();

  const Service& service_;
  const ThingsModel& things_;
  const IsWanted isWanted_;
  const Show show_;
  std::map<Number, Known> known_;
  bool isWatching_ = false;  // known_ is what the service has
  QStringList lines_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_DESKTOP_NOTIFICATIONS_H
