// A server of libdbus inside the process: what it answers to a client that has just connected.

#ifndef TESTS_FUZZ_LIBDBUS_SERVER_H
#define TESTS_FUZZ_LIBDBUS_SERVER_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

class LibdbusServer {
 public:
  struct Verdict {
    bool isAuthenticated = false;
    bool isConnected = false;
    std::string answer;  // everything that it has sent
  };

  // Admits the mechanism EXTERNAL only. Its socket is in a directory of its own, until the process
  // ends. Throws std::runtime_error.
  LibdbusServer();
  ~LibdbusServer();

  LibdbusServer(const LibdbusServer&) = delete;
  LibdbusServer& operator=(const LibdbusServer&) = delete;

  // Sends the pieces over a new connection.
  Verdict converse(const std::vector<std::string_view>& pieces);

 private:
  class Watches;
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace fuzz

#endif  // TESTS_FUZZ_LIBDBUS_SERVER_H
