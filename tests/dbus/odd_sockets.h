// Unix sockets in the place of a bus, behind which there is none.

#ifndef TESTS_DBUS_ODD_SOCKETS_H
#define TESTS_DBUS_ODD_SOCKETS_H

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/self_pipe.h"
#include "bus/dbus/wire/message.h"

namespace dbustest {

// Descriptors that are closed with their object.
class Descriptors {
 public:
  Descriptors() = default;
  ~Descriptors();
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;

  int add(int descriptor);

 private:
  std::vector<int> all_;
};

// A socket that listens, at a path that is removed before and after.
//
// ERRORS    std::runtime_error when the system refuses it.
class ListeningSocket {
 public:
  ListeningSocket(const std::filesystem::path& path, int backlog);
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;

  std::string address() const { return "unix:path=" + path_.string(); }
  int descriptor() const { return descriptor_; }
  // Connects a socket without waiting; false when there is no room.
  bool connectTo(int descriptor) const;

 private:
  const std::filesystem::path path_;
  Descriptors open_;
  int descriptor_;
};

// Accepts nothing, and has no more room for a connection to wait.
class FullSocket {
 public:
  explicit FullSocket(const std::filesystem::path& path);

  std::string address() const { return listener_.address(); }

 private:
  ListeningSocket listener_;
  Descriptors waiting_;
};

// Accepts every connection and answers the lines that come: the first with the first answer, and so
// on.
class AnsweringSocket {
 public:
  enum class Afterwards { kStaySilent, kClose };

  AnsweringSocket(const std::filesystem::path& path, std::vector<std::string> answers,
                  Afterwards afterwards);
  ~AnsweringSocket();

  std::string address() const { return listener_.address(); }
  int accepted() const { return accepted_; }

 private:
  void run();

  ListeningSocket listener_;
  const std::vector<std::string> answers_;
  const Afterwards afterwards_;
  base::SelfPipe end_;
  std::atomic<int> accepted_{0};
  std::thread thread_;
};

// Sends all of it to a socket that blocks. False when the other end is gone.
bool sendAll(int connection, std::string_view bytes);

// Reads the messages that come and sends what the function returns for each, until the connection
// ends.
void answerAll(int connection,
               const std::function<std::string(const qxbus::wire::Header& message)>& answerTo);

// Authenticates each client in place of a service or a bus, and does with its connection what the
// test says as soon as the client has sent something: an answer that came before its call would
// belong to no call. The connection ends with the function, or with this object.
class PlayedService {
 public:
  using Part = std::function<void(int connection)>;

  PlayedService(const std::filesystem::path& path, Part part);
  ~PlayedService();

  std::string address() const { return listener_.address(); }

 private:
  void run();

  ListeningSocket listener_;
  const Part part_;
  base::SelfPipe end_;
  std::atomic<int> connection_{-1};
  std::thread thread_;
};

}  // namespace dbustest

#endif  // TESTS_DBUS_ODD_SOCKETS_H
