#include "benchmarks/peers/workload.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace peers {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int kWarmUp = 200;

void check(bool isRight, const char* what) {
  if (!isRight) {
    fail(what);
  }
}

// What one call of each kind took, in seconds.
class Laps {
 public:
  explicit Laps(int count) { laps_.reserve(static_cast<std::size_t>(count)); }

  template <typename Call>
  void time(const Call& call) {
    const Clock::time_point start = Clock::now();
    call();
    laps_.push_back(Seconds(Clock::now() - start).count());
  }

  void add(const Laps& others) {
    laps_.insert(laps_.end(), others.laps_.begin(), others.laps_.end());
  }

  double part(double part) {
    const auto at = static_cast<std::ptrdiff_t>(part * static_cast<double>(laps_.size() - 1));
    std::nth_element(laps_.begin(), laps_.begin() + at, laps_.end());
    return laps_[static_cast<std::size_t>(at)];
  }

 private:
  std::vector<double> laps_;
};

void report(int count, double seconds) {
  std::printf("{\"count\": %d, \"seconds\": %.9f}\n", count, seconds);
}

void report(int count, double seconds, Laps laps) {
  const double median = laps.part(0.5);
  const double late = laps.part(0.99);
  std::printf("{\"count\": %d, \"seconds\": %.9f, \"median\": %.9f, \"p99\": %.9f}\n", count,
              seconds, median, late);
}

void callOnce(Peer& peer) {
  check(peer.connectDevice() == kStatus, "connectDevice has answered another status");
}

void listOnce(Peer& peer) {
  const std::list<Record> records = peer.deviceList();
  check(records.size() == std::size_t{kRecords}, "getDeviceList has answered another list");
  for (const Record& record : records) {
    const auto* const bytes = static_cast<const unsigned char*>(record.get());
    check(bytes[0] == kRecordByte && bytes[kRecordSize - 1] == kRecordByte,
          "getDeviceList has answered another record");
  }
}

template <typename Call>
void repeat(int count, const Call& call) {
  for (int i = 0; i < std::min(count, kWarmUp); ++i) {
    call();
  }
  Laps laps(count);
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < count; ++i) {
    laps.time(call);
  }
  const double seconds = Seconds(Clock::now() - start).count();
  report(count, seconds, std::move(laps));
}

void takeEvents(Peer& peer, int count) {
  long sum = 0;
  std::size_t bytes = 0;
  const auto onRecord = [&](const void* record, std::size_t size) {
    sum += static_cast<const unsigned char*>(record)[size - 1];
    bytes += size;
  };
  peer.events(std::min(count, kWarmUp), onRecord);
  sum = 0;
  bytes = 0;
  const Clock::time_point start = Clock::now();
  peer.events(count, onRecord);
  const double seconds = Seconds(Clock::now() - start).count();
  check(bytes == static_cast<std::size_t>(count) * kRecordSize &&
            sum == static_cast<long>(count) * kRecordByte,
        "an event had another record");
  report(count, seconds);
}

void callFromThreads(const Address& address, int count, const Connect& connect, bool sharesOne) {
  std::vector<std::shared_ptr<Peer>> connections;
  connections.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    connections.push_back(sharesOne && i > 0 ? connections.front()
                                             : std::shared_ptr<Peer>(connect(address)));
    callOnce(*connections.back());
  }
  std::vector<std::thread> threads;
  threads.reserve(connections.size());
  std::vector<Laps> laps(connections.size(), Laps(count));
  const Clock::time_point start = Clock::now();
  for (std::size_t i = 0; i < connections.size(); ++i) {
    threads.emplace_back([&peer = *connections[i], &own = laps[i], count] {
      for (int call = 0; call < count; ++call) {
        own.time([&peer] { callOnce(peer); });
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const double seconds = Seconds(Clock::now() - start).count();
  Laps all(count * kThreads);
  for (const Laps& each : laps) {
    all.add(each);
  }
  report(count * kThreads, seconds, std::move(all));
}

}  // namespace

std::vector<unsigned char> newRecord() {
  constexpr std::size_t kNameOffset = 296;
  constexpr std::size_t kNameSize = 128;
  constexpr char kName[] = "Front camera";
  std::vector<unsigned char> record(kRecordSize, kRecordByte);
  std::memset(&record[kNameOffset], 0, kNameSize);
  std::memcpy(&record[kNameOffset], kName, sizeof kName);
  return record;
}

void FreeRecord::operator()(void* record) const {
  std::free(record);
}

Record copyOf(const void* bytes, std::size_t size) {
  Record record(std::malloc(size));
  std::memcpy(record.get(), bytes, size);
  return record;
}

Address parseAddress(const std::string& text) {
  const std::string direct = "direct:";
  if (text.compare(0, direct.size(), direct) != 0) {
    return {false, "", text};
  }
  const std::string path = text.substr(direct.size());
  return {true, path, "unix:path=" + path};
}

void fail(const std::string& reason) {
  std::fprintf(stderr, "peer: %s\n", reason.c_str());
  std::exit(1);
}

int runPeer(int argc, char** argv, const Connect& connect, bool sharesOne) {
  if (argc != 4) {
    fail("usage: PEER ADDRESS call|list|events|threads|first COUNT");
  }
  const Address address = parseAddress(argv[1]);
  const std::string workload = argv[2];
  const int count = std::atoi(argv[3]);
  check(count > 0, "COUNT must be a positive number");
  if (workload == "first") {
    const Clock::time_point start = Clock::now();
    const std::unique_ptr<Peer> peer = connect(address);
    callOnce(*peer);
    report(1, Seconds(Clock::now() - start).count());
    return 0;
  }
  if (workload == "threads") {
    callFromThreads(address, count, connect, sharesOne);
    return 0;
  }
  const std::unique_ptr<Peer> peer = connect(address);
  if (workload == "call") {
    repeat(count, [&] { callOnce(*peer); });
  } else if (workload == "list") {
    repeat(count, [&] { listOnce(*peer); });
  } else if (workload == "events") {
    takeEvents(*peer, count);
  } else {
    fail("unknown workload " + workload);
  }
  return 0;
}

}  // namespace peers
