// The limit: as many bytes as D-Bus would move, over a socket, with nothing built or checked.
//
//   bare_peer direct:PATH WORKLOAD COUNT    the client
//   bare_peer --serve PATH                  its service; writes "ready", ends with its input
//
// A request is 176 bytes, an answer 72, each about as long as the D-Bus message. Byte 0 says what
// is asked for; the last 4 bytes of a request are how many events.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "benchmarks/peers/workload.h"

namespace {

enum class Asked : char { kStatus = 1, kList = 2, kEvents = 3 };

constexpr std::size_t kRequestSize = 176;
constexpr std::size_t kAnswerSize = 72;
constexpr std::size_t kEventSize = kAnswerSize + peers::kRecordSize;
constexpr std::size_t kListSize = kAnswerSize + peers::kRecords * peers::kRecordSize;

void writeAll(int descriptor, const char* bytes, std::size_t left) {
  while (left > 0) {
    const ssize_t written = ::send(descriptor, bytes, left, MSG_NOSIGNAL);
    if (written <= 0) {
      peers::fail(std::string("bare: ") + std::strerror(errno));
    }
    bytes += written;
    left -= static_cast<std::size_t>(written);
  }
}

// False at the end.
bool readAll(int descriptor, char* bytes, std::size_t left) {
  while (left > 0) {
    const ssize_t count = ::recv(descriptor, bytes, left, 0);
    if (count <= 0) {
      return false;
    }
    bytes += count;
    left -= static_cast<std::size_t>(count);
  }
  return true;
}

sockaddr_un socketAddress(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

class BarePeer : public peers::Peer {
 public:
  explicit BarePeer(const peers::Address& address)
      : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)), buffer_(kListSize) {
    const sockaddr_un to = socketAddress(address.path);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0) {
      peers::fail(std::string("bare: ") + std::strerror(errno));
    }
  }
  ~BarePeer() override { ::close(socket_); }

  int connectDevice() override {
    ask(Asked::kStatus, 0);
    read(kAnswerSize);
    return buffer_[0];
  }

  std::list<peers::Record> deviceList() override {
    ask(Asked::kList, 0);
    read(kListSize);
    std::list<peers::Record> records;
    for (int i = 0; i < peers::kRecords; ++i) {
      records.push_back(
          peers::copyOf(&buffer_[kAnswerSize + static_cast<std::size_t>(i) * peers::kRecordSize],
                        peers::kRecordSize));
    }
    return records;
  }

  void events(int count, const std::function<void(const void*, std::size_t)>& onRecord) override {
    ask(Asked::kEvents, count);
    read(kAnswerSize);
    // Many at once, as far as the buffer goes.
    std::size_t held = 0;
    while (count > 0) {
      const ssize_t more = ::recv(socket_, &buffer_[held], buffer_.size() - held, 0);
      if (more <= 0) {
        peers::fail("bare: the service is gone");
      }
      held += static_cast<std::size_t>(more);
      std::size_t taken = 0;
      for (; held - taken >= kEventSize; taken += kEventSize) {
        onRecord(&buffer_[taken + kAnswerSize], peers::kRecordSize);
        --count;
      }
      std::memmove(buffer_.data(), &buffer_[taken], held - taken);
      held -= taken;
    }
  }

 private:
  void ask(Asked asked, int count) {
    char request[kRequestSize] = {static_cast<char>(asked)};
    std::memcpy(request + kRequestSize - sizeof count, &count, sizeof count);
    writeAll(socket_, request, sizeof request);
  }

  void read(std::size_t size) {
    if (!readAll(socket_, buffer_.data(), size)) {
      peers::fail("bare: the service is gone");
    }
  }

  const int socket_;
  std::vector<char> buffer_;
};

void serveClient(int client) {
  std::vector<char> bytes(kAnswerSize, peers::kStatus);
  const std::vector<unsigned char> record = peers::newRecord();
  for (int i = 0; i < peers::kRecords; ++i) {
    bytes.insert(bytes.end(), record.begin(), record.end());
  }
  char request[kRequestSize];
  while (readAll(client, request, sizeof request)) {
    int count = 0;
    std::memcpy(&count, request + kRequestSize - sizeof count, sizeof count);
    const auto asked = static_cast<Asked>(request[0]);
    writeAll(client, bytes.data(), asked == Asked::kList ? kListSize : kAnswerSize);
    for (; count > 0; --count) {
      writeAll(client, bytes.data(), kEventSize);
    }
  }
  ::close(client);
}

[[noreturn]] void serve(const std::string& path) {
  const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
  const sockaddr_un at = socketAddress(path);
  if (::bind(listener, reinterpret_cast<const sockaddr*>(&at), sizeof at) != 0 ||
      ::listen(listener, SOMAXCONN) != 0) {
    peers::fail(std::string("bare: ") + std::strerror(errno));
  }
  std::thread([] {
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
    ::_exit(0);
  }).detach();
  std::puts("ready");
  std::fflush(stdout);
  for (;;) {
    const int client = ::accept(listener, nullptr, nullptr);
    std::thread(serveClient, client).detach();
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--serve") {
    serve(argv[2]);
  }
  return peers::runPeer(argc, argv, [](const peers::Address& address) {
    return std::make_unique<BarePeer>(address);
  });
}
