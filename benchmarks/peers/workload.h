// The work that every peer of the comparison does, and how a peer's program runs it:
//
//   PEER ADDRESS WORKLOAD COUNT
//
//   ADDRESS    a D-Bus address of a bus, or direct:PATH for the socket of the service itself
//   call       one call of connectDevice and its status
//   list       one call of getDeviceList: 64 records of 808 bytes, each in memory of its own
//   events     COUNT events with a record of 808 bytes, until the callback has returned for each
//   threads    COUNT calls of connectDevice by each of eight threads
//   first      connect, subscribe and make one call, then end: once for each process
//
// The program writes one line of JSON: the number of calls or events, the seconds that all took,
// and, where one call is measured, its median and 99th percentile.
//
// Every peer sends the same arguments, checks the same status, and ends with a copy of each record.
// On a bus it subscribes to the event of this service, and the daemon compares the sender.

#ifndef BENCHMARKS_PEERS_WORKLOAD_H
#define BENCHMARKS_PEERS_WORKLOAD_H

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace peers {

constexpr char kBusName[] = "qx.bus.vel";
constexpr char kPath[] = "/qx/bus/vel";
constexpr char kInterface[] = "qx.bus.vel";
constexpr char kEvent[] = "velevent";

constexpr int kVm = 101;
constexpr short kDevice = 12;
constexpr int kStatus = 0;
constexpr int kRecords = 64;
constexpr std::size_t kRecordSize = 808;
constexpr unsigned char kRecordByte = 1;  // the first and the last byte of a record, among others
constexpr int kDevicePlugged = 4;         // the code of the events
constexpr int kThreads = 8;
constexpr int kTimeoutMs = 3000;

// The record that every service sends: a device with a name as devices have it, because a client
// may log the name.
std::vector<unsigned char> newRecord();

// A record in memory of its own.
struct FreeRecord {
  void operator()(void* record) const;
};
using Record = std::unique_ptr<void, FreeRecord>;
Record copyOf(const void* bytes, std::size_t size);

// A connection of one library. One thread uses it.
class Peer {
 public:
  virtual ~Peer() = default;
  virtual int connectDevice() = 0;
  virtual std::list<Record> deviceList() = 0;
  // Asks the service for so many events, and returns when onRecord has returned for the last.
  virtual void events(int count, const std::function<void(const void*, std::size_t)>& onRecord) = 0;
};

struct Address {
  bool isDirect = false;
  std::string path;  // of a direct connection
  std::string dbus;  // as a D-Bus address
};
Address parseAddress(const std::string& text);

// Makes the connection; ends the process with a reason when that fails.
using Connect = std::function<std::unique_ptr<Peer>(const Address& address)>;

// sharesOne: the eight threads of `threads` use one connection; otherwise each has its own.
int runPeer(int argc, char** argv, const Connect& connect, bool sharesOne = false);

[[noreturn]] void fail(const std::string& reason);

}  // namespace peers

#endif  // BENCHMARKS_PEERS_WORKLOAD_H
