// A diagnosis of a device in a VM: its progress as it arrives, and what it has found. Knows no
// widgets.
//
// The service cannot end a diagnosis: one whose object goes early ends unheard.

#ifndef EXAMPLES_PANEL_DIAGNOSIS_DIAGNOSIS_H
#define EXAMPLES_PANEL_DIAGNOSIS_DIAGNOSIS_H

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QObject>
#include <QTimer>

#include "examples/panel/service/service.h"

namespace panel {

class Diagnosis : public QObject {
  Q_OBJECT

 public:
  struct Step {
    vel::DiagnosisStatus status;
    QString text;
  };

  // The service must outlive the object.
  //
  // patience   how long the next step may take
  Diagnosis(Service& service, vel::DeviceNumber device, std::string vm,
            std::chrono::milliseconds patience);

  // Begins; nothing happens while it runs.
  void start();
  bool isRunning() const { return isRunning_; }
  const std::vector<Step>& steps() const { return steps_; }
  // The last step, once there is one that ends the diagnosis.
  std::optional<vel::DiagnosisStatus> finding() const { return finding_; }
  // Why it has not come to an end.
  const Problem& problem() const { return problem_; }

 signals:
  void changed();

 private:
  void takeAnswer(const vel::Result<std::string>& answer);
  void takeStep(const vel::DiagnosisEvent& event);
  void finish(const Problem& problem);

  Service& service_;
  const vel::DeviceNumber device_;
  const std::string vm_;
  QTimer patience_;
  // The thread of the request begins it.
  std::shared_ptr<vel::Subscription> subscription_;
  bool isRunning_ = false;
  std::vector<Step> steps_;
  std::optional<vel::DiagnosisStatus> finding_;
  Problem problem_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_DIAGNOSIS_DIAGNOSIS_H
