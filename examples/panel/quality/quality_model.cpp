#include "examples/panel/quality/quality_model.h"

#include <optional>
#include <utility>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace panel {
namespace {

constexpr char kCommand[] = "quality";
// Answers arrive at everyone who listens: each model knows its own by a number.
std::int32_t nextId() {
  static std::int32_t last = 0x51A100;
  return ++last;
}

// Nothing: it is the answer to another command.
std::optional<QJsonArray> reportsIn(const vel::CommandEvent& event, std::int32_t id) {
  // The text ends with a NUL.
  const std::string text = event.answer.value_or("").c_str();
  const QJsonObject answer = QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
  if (answer.value("id").toInt() != id || answer.value("command").toString() != kCommand) {
    return std::nullopt;
  }
  return answer.value("answer").toObject().value("reports").toArray();
}

}  // namespace

QualityModel::QualityModel(Service& service, std::chrono::milliseconds interval)
    : service_(service), commandId_(nextId()) {
  timer_.setInterval(interval);
  connect(&timer_, &QTimer::timeout, this, [this] { read(); });
  const auto taken = Service::whileThereIs<vel::CommandEvent>(
      this, [this](const vel::CommandEvent& event) { take(event); });
  service_.subscribe([taken, executor = service_.executor()](const vel::Client& client) {
    return client.onCommand(taken, executor);
  });
}

void QualityModel::watch(bool isOn) {
  if (isOn) {
    timer_.start();
    read();
  } else {
    timer_.stop();
  }
}

const std::deque<Bandwidth>& QualityModel::of(const std::string& vm) const {
  static const std::deque<Bandwidth> none;
  const auto found = readings_.find(vm);
  return found == readings_.end() ? none : found->second;
}

void QualityModel::read() {
  if (!service_.isReady() || std::exchange(isReading_, true)) {
    return;
  }
  const auto operation = [id = commandId_](const vel::Client& client) {
    return client.command("", kCommand, id);
  };
  service_.start(this, operation, [this](const vel::Result<void>& result) {
    isReading_ = false;
    const Problem problem = result ? Problem() : problemOf(result.error());
    if (std::exchange(problem_, problem).text() != problem.text()) {
      emit changed();
    }
  });
}

void QualityModel::take(const vel::CommandEvent& event) {
  const std::optional<QJsonArray> reports = reportsIn(event, commandId_);
  if (!reports) {
    return;
  }
  for (const QJsonValue& report : *reports) {
    const QJsonArray figures = report["bandwidth"].toArray();
    const auto vm =
        service_.client().vmName(vel::VmNumber(static_cast<std::uint32_t>(report["vm"].toInt())));
    if (vm && figures.size() == 2) {
      std::deque<Bandwidth>& readings = readings_[*vm];
      readings.push_back({figures[0].toDouble(), figures[1].toDouble()});
      if (readings.size() > kMostReadings) {
        readings.pop_front();
      }
    }
  }
  emit changed();
}

}  // namespace panel
