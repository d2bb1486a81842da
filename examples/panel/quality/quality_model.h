// The bandwidth of each VM as its clients report it, read again and again while a page shows them.
// Knows no widgets.
//
// The interface of the service has no question for it. velsim answers its command "quality"; with a
// service that has no such command, problem() says so.

#ifndef EXAMPLES_PANEL_QUALITY_QUALITY_MODEL_H
#define EXAMPLES_PANEL_QUALITY_QUALITY_MODEL_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include <QObject>
#include <QTimer>

#include "examples/panel/service/service.h"

namespace panel {

// Two figures in the service's unit.
struct Bandwidth {
  double first = 0;
  double second = 0;
};

class QualityModel : public QObject {
  Q_OBJECT

 public:
  static constexpr std::size_t kMostReadings = 120;

  // The service must outlive the model.
  explicit QualityModel(Service& service,
                        std::chrono::milliseconds interval = std::chrono::seconds(1));

  // Reads while it is on, and the service is available.
  void watch(bool isOn);

  // The last readings, oldest first; empty: no client has reported.
  const std::deque<Bandwidth>& of(const std::string& vm) const;
  // Why nothing is read.
  const Problem& problem() const { return problem_; }

 signals:
  void changed();

 private:
  void read();
  void take(const vel::CommandEvent& event);

  Service& service_;
  const std::int32_t commandId_;
  QTimer timer_;
  bool isReading_ = false;
  std::map<std::string, std::deque<Bandwidth>> readings_;
  Problem problem_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_QUALITY_QUALITY_MODEL_H
