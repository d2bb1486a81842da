// The time to build a message, and to read one and copy its arguments: the codec of bus/dbus/wire/
// beside libdbus.
//
//   codec_bench
//
// Both sides do the same work. Building ends with the bytes for the socket. Reading begins with the
// bytes from the socket, checks all of them, and ends with a copy of each argument.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <benchmark/benchmark.h>
#include <dbus/dbus.h>

#include "bus/dbus/wire/argument_reader.h"
#include "bus/dbus/wire/message.h"
#include "bus/dbus/wire/message_writer.h"

namespace {

using namespace qxbus::wire;

constexpr int kRecords = 64;
constexpr std::size_t kRecordSize = 808;
constexpr std::uint32_t kSerial = 42;

struct Unref {
  void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using DBusMessageRef = std::unique_ptr<DBusMessage, Unref>;

[[noreturn]] void stop(const char* reason) {
  std::fprintf(stderr, "codec_bench: %s\n", reason);
  std::exit(EXIT_FAILURE);
}

std::string aRecord() {
  std::string record(kRecordSize, '\0');
  for (std::size_t i = 0; i < record.size(); ++i) {
    record[i] = static_cast<char>(i * 7);
  }
  return record;
}

const std::string record = aRecord();

Header callHeader() {
  Header header;
  header.type = MessageType::kMethodCall;
  header.destination = ":1.42";
  header.path = "/qx/bus/vel";
  header.interface = "qx.bus.vel";
  header.member = "connectDevice";
  header.signature = "av";
  return header;
}

Header replyHeader() {
  Header header;
  header.type = MessageType::kMethodReturn;
  header.flags = kNoReplyExpected;
  header.replySerial = kSerial;
  header.destination = ":1.7";
  header.sender = ":1.42";
  header.signature = "av";
  return header;
}

// --- Ours ----------------------------------------------------------------------------------------

void finish(MessageWriter* writer) {
  if (writer->finish(kSerial) != Fault::kNone) {
    stop("the message cannot be built");
  }
}

void buildCall(MessageWriter* writer) {
  writer->start(callHeader());
  writer->appendInt32(3);
  writer->appendInt32(12);
  finish(writer);
}

void buildReply(MessageWriter* writer) {
  writer->start(replyHeader());
  writer->appendInt32(0);
  finish(writer);
}

void buildList(MessageWriter* writer) {
  writer->start(replyHeader());
  writer->appendInt32(kRecords);
  for (int i = 0; i < kRecords; ++i) {
    writer->appendBytes(record);
  }
  finish(writer);
}

// The integer of a reply and the records behind it, each in memory of its own.
std::int32_t readReply(std::string_view bytes, std::vector<void*>* records) {
  Message message;
  if (readMessage(bytes, &message) != Fault::kNone) {
    stop("the message is refused");
  }
  ArgumentReader arguments(message);
  Argument argument;
  arguments.next(&argument);
  const std::int32_t status = std::get<std::int32_t>(argument);
  while (arguments.next(&argument)) {
    const std::string_view block = std::get<Block>(argument).bytes;
    records->push_back(std::memcpy(std::malloc(block.size()), block.data(), block.size()));
  }
  return status;
}

// --- libdbus -------------------------------------------------------------------------------------

DBusMessageRef newCall() {
  const Header header = callHeader();
  return DBusMessageRef(dbus_message_new_method_call(header.destination.data(), header.path.data(),
                                                     header.interface.data(),
                                                     header.member.data()));
}

DBusMessageRef newReply() {
  DBusMessageRef reply(dbus_message_new(DBUS_MESSAGE_TYPE_METHOD_RETURN));
  dbus_message_set_no_reply(reply.get(), TRUE);
  dbus_message_set_reply_serial(reply.get(), kSerial);
  dbus_message_set_destination(reply.get(), replyHeader().destination.data());
  dbus_message_set_sender(reply.get(), replyHeader().sender.data());
  return reply;
}

void appendInt32(DBusMessageIter* list, std::int32_t value) {
  DBusMessageIter variant;
  dbus_message_iter_open_container(list, DBUS_TYPE_VARIANT, "i", &variant);
  dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT32, &value);
  dbus_message_iter_close_container(list, &variant);
}

void appendBytes(DBusMessageIter* list, const std::string& bytes) {
  DBusMessageIter variant;
  DBusMessageIter array;
  const char* const data = bytes.data();
  dbus_message_iter_open_container(list, DBUS_TYPE_VARIANT, "ay", &variant);
  dbus_message_iter_open_container(&variant, DBUS_TYPE_ARRAY, "y", &array);
  dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_BYTE, &data,
                                       static_cast<int>(bytes.size()));
  dbus_message_iter_close_container(&variant, &array);
  dbus_message_iter_close_container(list, &variant);
}

template <typename Append>
DBusMessageRef withList(DBusMessageRef message, Append append) {
  DBusMessageIter body;
  DBusMessageIter list;
  dbus_message_iter_init_append(message.get(), &body);
  dbus_message_iter_open_container(&body, DBUS_TYPE_ARRAY, "v", &list);
  append(&list);
  dbus_message_iter_close_container(&body, &list);
  dbus_message_set_serial(message.get(), kSerial);
  // As sending does: from here on the bytes are as they go to the socket.
  dbus_message_lock(message.get());
  return message;
}

DBusMessageRef libdbusCall() {
  return withList(newCall(), [](DBusMessageIter* list) {
    appendInt32(list, 3);
    appendInt32(list, 12);
  });
}

DBusMessageRef libdbusReply() {
  return withList(newReply(), [](DBusMessageIter* list) { appendInt32(list, 0); });
}

DBusMessageRef libdbusList() {
  return withList(newReply(), [](DBusMessageIter* list) {
    appendInt32(list, kRecords);
    for (int i = 0; i < kRecords; ++i) {
      appendBytes(list, record);
    }
  });
}

std::int32_t readReplyByLibdbus(std::string_view bytes, std::vector<void*>* records) {
  const DBusMessageRef message(
      dbus_message_demarshal(bytes.data(), static_cast<int>(bytes.size()), nullptr));
  DBusMessageIter body;
  if (!message || !dbus_message_iter_init(message.get(), &body)) {
    stop("libdbus refuses the message");
  }
  DBusMessageIter list;
  DBusMessageIter variant;
  dbus_message_iter_recurse(&body, &list);
  dbus_message_iter_recurse(&list, &variant);
  dbus_int32_t status = 0;
  dbus_message_iter_get_basic(&variant, &status);
  while (dbus_message_iter_next(&list)) {
    dbus_message_iter_recurse(&list, &variant);
    DBusMessageIter array;
    dbus_message_iter_recurse(&variant, &array);
    const char* data = nullptr;
    int size = 0;
    dbus_message_iter_get_fixed_array(&array, &data, &size);
    const auto count = static_cast<std::size_t>(size);
    records->push_back(std::memcpy(std::malloc(count), data, count));
  }
  return status;
}

// --- Cases ---------------------------------------------------------------------------------------

template <void (*build)(MessageWriter*)>
void buildOurs(benchmark::State& state) {
  MessageWriter writer;
  for (auto iteration : state) {
    build(&writer);
    benchmark::DoNotOptimize(writer.bytes().data());
    benchmark::ClobberMemory();
  }
}

template <DBusMessageRef (*build)()>
void buildTheirs(benchmark::State& state) {
  for (auto iteration : state) {
    benchmark::DoNotOptimize(build());
  }
}

template <void (*build)(MessageWriter*),
          std::int32_t (*read)(std::string_view, std::vector<void*>*)>
void readBuilt(benchmark::State& state) {
  MessageWriter writer;
  build(&writer);
  std::vector<void*> records;
  for (auto iteration : state) {
    benchmark::DoNotOptimize(read(writer.bytes(), &records));
    for (void* const each : records) {
      std::free(each);
    }
    records.clear();
  }
}

struct Case {
  const char* name;
  void (*ours)(benchmark::State&);
  void (*theirs)(benchmark::State&);
};

const Case kCases[] = {
    {"build a call of connectDevice", buildOurs<buildCall>, buildTheirs<libdbusCall>},
    {"build its reply", buildOurs<buildReply>, buildTheirs<libdbusReply>},
    {"read its reply", readBuilt<buildReply, readReply>, readBuilt<buildReply, readReplyByLibdbus>},
    {"build a list of 64 records", buildOurs<buildList>, buildTheirs<libdbusList>},
    {"read a list of 64 records", readBuilt<buildList, readReply>,
     readBuilt<buildList, readReplyByLibdbus>},
};

// Keeps the medians, and prints nothing else.
class MedianReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") {
        medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
      }
    }
  }
  double median(const std::string& name) const {
    const auto found = medians_.find(name);
    return found == medians_.end() ? 0 : found->second;
  }

 private:
  std::map<std::string, double> medians_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  constexpr int kRepetitions = 5;
  for (const Case& each : kCases) {
    for (const auto& [side, function] :
         {std::pair("ours: ", each.ours), {"libdbus: ", each.theirs}}) {
      benchmark::RegisterBenchmark((side + std::string(each.name)).c_str(), function)
          ->Repetitions(kRepetitions)
          ->ReportAggregatesOnly(true);
    }
  }
  MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);

  std::printf("%-32s %12s %12s %8s\n", "nanoseconds, medians", "ours", "libdbus", "ratio");
  for (const Case& each : kCases) {
    const double ours = reporter.median(std::string("ours: ") + each.name);
    const double theirs = reporter.median(std::string("libdbus: ") + each.name);
    if (ours > 0 && theirs > 0) {
      std::printf("%-32s %12.1f %12.1f %8.3f\n", each.name, ours, theirs, ours / theirs);
    }
  }
  return 0;
}
