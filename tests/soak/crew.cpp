#include "tests/soak/crew.h"

#include <chrono>
#include <list>

#include "tests/soak/day.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace soak {
namespace {

int onVm(unsigned short /*code*/, void* /*data*/, void* /*userData*/) {
  return 0;
}

qx::VelProxy& proxy() {
  return *qx::VelProxy::getInstance();
}

}  // namespace

struct Crew::Member {
  explicit Member(std::uint64_t seed) : random(seed) {}
  wiretest::Random random;
  std::vector<std::uint32_t> times;
  std::uint64_t failures = 0;
  int number = 0;
  std::thread thread;
};

Crew::Crew(int threads, int sessions, int activePerMinute, std::uint64_t seed)
    : sessions_(sessions), perMember_(activePerMinute / threads) {
  for (int session = 0; session < sessions; ++session) {
    VmInfo vm;
    vm.vmId = vmName(session);
    proxy().ConnectVm(vm);
    proxy().RegisterCallback(vmName(session), onVm, this);
  }
  for (int number = 0; number < threads; ++number) {
    members_.emplace_back(seed + static_cast<std::uint64_t>(number)).number = number;
  }
  for (Member& member : members_) {
    member.thread = std::thread([this, &member] { run(member); });
  }
}

Crew::~Crew() {
  {
    const platform::MutexLock lock(mutex_);
    hasEnded_ = true;
    changed_.notifyAll();
  }
  for (Member& member : members_) {
    member.thread.join();
  }
}

void Crew::workForAMinute() {
  platform::MutexLock lock(mutex_);
  working_ = members_.size();
  ++minute_;
  changed_.notifyAll();
  while (working_ > 0) {
    changed_.wait(lock);
  }
}

void Crew::run(Member& member) {
  std::uint64_t done = 0;
  for (;;) {
    {
      platform::MutexLock lock(mutex_);
      while (!hasEnded_ && minute_ == done) {
        changed_.wait(lock);
      }
      if (hasEnded_) {
        return;
      }
      done = minute_;
    }
    for (int i = 0; i < perMember_; ++i) {
      use(member, static_cast<int>(member.random.below(static_cast<std::size_t>(sessions_))));
    }
    const platform::MutexLock lock(mutex_);
    --working_;
    changed_.notifyAll();
  }
}

template <typename Call>
void Crew::timed(Member& member, const Call& call) {
  const auto begin = std::chrono::steady_clock::now();
  call();
  const auto took = std::chrono::steady_clock::now() - begin;
  member.times.push_back(static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(took).count()));
  member.failures += qx::VelProxy::lastError().kind == qx::VelError::Kind::kNone ? 0 : 1;
}

void Crew::use(Member& member, int session) {
  const std::string vm = vmName(session);
  // A device of this thread alone, so that no other has it.
  const auto device = static_cast<unsigned short>(1 + member.number * 50 +
                                                  static_cast<int>(member.random.below(50)));
  unsigned int figure = static_cast<unsigned int>(member.random.below(1000));
  timed(member, [&] { proxy().OnFocusChanged(vm, 17, 1); });
  timed(member, [&] { proxy().ConnectDevice(vm, device); });
  timed(member, [&] { proxy().SetBwInfo(vm, figure, 2 * figure); });
  timed(member, [&] { proxy().SetRtcQosInfo(vm, 1, &figure); });
  timed(member, [&] {
    const std::list<CommonDevice*> devices = proxy().GetDeviceList(vm);
    proxy().FreeDeviceList(devices);
  });
  timed(member, [&] { proxy().DisconnectDevice(vm, device); });
  timed(member, [&] { proxy().OnFocusChanged(vm, 17, 0); });
}

std::vector<std::uint32_t> Crew::takeTimes() {
  std::vector<std::uint32_t> times;
  for (Member& member : members_) {
    times.insert(times.end(), member.times.begin(), member.times.end());
    member.times.clear();
  }
  return times;
}

std::uint64_t Crew::failures() const {
  std::uint64_t failures = 0;
  for (const Member& member : members_) {
    failures += member.failures;
  }
  return failures;
}

}  // namespace soak
