#include "tests/velctl/fake_service.h"

#include <cstdint>
#include <utility>

#include "bus/dbus/value.h"
#include "vel/protocol/methods.h"

namespace velctl_tests {
namespace {

using qxbus::Request;
using qxbus::Values;

constexpr char kLookUp[] = "getVmListSize";
constexpr char kVms[] = "getVmList";

}  // namespace

FakeService::FakeService(const std::string& address) {
  answers_[kVms] = Values{std::int32_t{1}, std::string(kVm), std::int32_t{kVmNumber}};
  std::vector<qxbus::Method> methods;
  for (const velprotocol::Method& method : velprotocol::kMethods) {
    methods.push_back(
        {std::string(method.name), [this](Request request) { handle(std::move(request)); }});
  }
  host_ =
      std::make_unique<qxbus::ServiceHost>(address, velprotocol::kServiceName, std::move(methods));
}

void FakeService::answer(const std::string& method, Answer answer) {
  const platform::MutexLock lock(mutex_);
  answers_[method] = std::move(answer);
}

void FakeService::before(const std::string& method, std::function<void()> run) {
  const platform::MutexLock lock(mutex_);
  before_[method] = std::move(run);
}

void FakeService::hold(const std::string& method) {
  const platform::MutexLock lock(mutex_);
  held_.insert(method);
}

void FakeService::release() {
  const platform::MutexLock lock(mutex_);
  held_.clear();
  for (Request& request : waiting_) {
    request.reply(std::get<Values>(answerTo(request)));
  }
  waiting_.clear();
}

std::vector<std::string> FakeService::requests() const {
  const platform::MutexLock lock(mutex_);
  return requests_;
}

std::vector<std::string> FakeService::senders() const {
  const platform::MutexLock lock(mutex_);
  return senders_;
}

void FakeService::handle(Request request) {
  std::function<void()> run;
  {
    const platform::MutexLock lock(mutex_);
    const auto found = before_.find(request.method());
    run = found != before_.end() ? found->second : nullptr;
  }
  if (run) {
    run();
  }
  const platform::MutexLock lock(mutex_);
  if (request.method() != kLookUp) {
    requests_.push_back(request.method() + '(' + qxbus::describe(request.arguments()) + ')');
    senders_.push_back(request.sender());
  }
  if (held_.count(request.method()) != 0) {
    waiting_.push_back(std::move(request));
    return;
  }
  const Answer answer = answerTo(request);
  if (const auto* const error = std::get_if<Error>(&answer)) {
    request.fail(error->text);
  } else {
    request.reply(std::get<Values>(answer));
  }
}

FakeService::Answer FakeService::answerTo(const Request& request) const {
  const auto found = answers_.find(request.method());
  if (found != answers_.end()) {
    return found->second;
  }
  const bool isKnown =
      request.method() == kLookUp && qxbus::readString(request.arguments(), 0) == kVm;
  return Values{std::int32_t{isKnown ? kVmNumber : 0}};
}

}  // namespace velctl_tests
