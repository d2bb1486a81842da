#include "examples/panel/diagnosis/diagnosis.h"

#include <utility>

#include <QJsonDocument>
#include <QJsonObject>

namespace panel {
namespace {

constexpr char kMethod[] = "diagnoseDevice";

// A diagnosis that cannot begin has a status in the text of its answer, as velsim sends it.
std::optional<vel::Error> refusalIn(const std::string& answer) {
  const QJsonObject object = QJsonDocument::fromJson(QByteArray::fromStdString(answer)).object();
  const int status = object.value("velservice").toInt();
  return status == 0 ? std::nullopt : std::optional(vel::Error::refused(kMethod, status));
}

}  // namespace

Diagnosis::Diagnosis(Service& service, vel::DeviceNumber device, std::string vm,
                     std::chrono::milliseconds patience)
    : service_(service), device_(device), vm_(std::move(vm)) {
  patience_.setSingleShot(true);
  patience_.setInterval(patience);
  connect(&patience_, &QTimer::timeout, this, [this] {
    finish({tr("The service has not come to a result."),
            tr("Diagnose again, or see the service's log.")});
  });
  connect(&service_, &Service::stateChanged, this, [this] {
    if (isRunning_ && !service_.isReady()) {
      finish(service_.problem());
    }
  });
}

void Diagnosis::start() {
  if (isRunning_) {
    return;
  }
  steps_.clear();
  finding_.reset();
  problem_ = {};
  isRunning_ = true;
  if (vm_.empty()) {
    finish({tr("The device is in no VM."), tr("Attach it to a VM, or choose one.")});
    return;
  }
  if (!service_.isReady()) {
    finish(service_.problem());
    return;
  }
  const auto step = Service::whileThereIs<vel::DiagnosisEvent>(
      this, [this](const vel::DiagnosisEvent& event) { takeStep(event); });
  subscription_ = std::make_shared<vel::Subscription>();
  const auto diagnose = [subscription = subscription_, step, executor = service_.executor(),
                         vm = vm_, device = device_](const vel::Client& client) {
    *subscription = client.onDiagnosis(step, executor);
    return client.diagnose(vm, device);
  };
  service_.startSlow(this, diagnose,
                     [this](const vel::Result<std::string>& answer) { takeAnswer(answer); });
  emit changed();
}

void Diagnosis::takeAnswer(const vel::Result<std::string>& answer) {
  if (!isRunning_) {
    return;
  }
  const std::optional<vel::Error> failure =
      answer ? refusalIn(*answer) : std::optional(answer.error());
  if (failure) {
    finish(problemOf(*failure));
  } else {
    patience_.start();
  }
}

void Diagnosis::takeStep(const vel::DiagnosisEvent& event) {
  // The service sends the progress of all diagnoses.
  if (!isRunning_ || event.id != device_.value() || event.vm != vm_) {
    return;
  }
  steps_.push_back({event.status, shownText(event.text)});
  if (event.status == vel::DiagnosisStatus::kRunning) {
    patience_.start();
    emit changed();
  } else {
    finding_ = event.status;
    finish({});
  }
}

void Diagnosis::finish(const Problem& problem) {
  patience_.stop();
  isRunning_ = false;
  problem_ = problem;
  emit changed();
}

}  // namespace panel
