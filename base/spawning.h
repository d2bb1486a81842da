// The start of another program.
//
// Header-only, because tests of clients use it.

#ifndef BASE_SPAWNING_H
#define BASE_SPAWNING_H

#include <csignal>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/types.h>
#include <unistd.h>

#include "base/result.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): not every unistd.h has it

namespace base {

// The program inherits the descriptors that are not closed on exec, and no blocked or ignored
// SIGINT, SIGTERM or SIGPIPE.
class Spawning {
 public:
  Spawning() {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawnattr_init(&attributes_);
    // Not "signals": that is a macro of Qt, whose clients include this header.
    sigset_t set;
    sigemptyset(&set);
    ::posix_spawnattr_setsigmask(&attributes_, &set);
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE}) {
      sigaddset(&set, signal);
    }
    ::posix_spawnattr_setsigdefault(&attributes_, &set);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~Spawning() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  Spawning(const Spawning&) = delete;
  Spawning& operator=(const Spawning&) = delete;

  void readNothing() {
    ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  // What the program writes to a descriptor is dropped.
  void dropOutput(int descriptor) {
    ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_WRONLY, 0);
  }
  // Gives the program a descriptor of this one, under another number.
  void pass(int from, int to) { ::posix_spawn_file_actions_adddup2(&actions_, from, to); }

  // Starts the program, whose end is the caller's to wait for.
  //
  // command      a path, or a name to look for in PATH, and the arguments
  // environment  on top of that of this process
  Result<pid_t> run(const std::vector<std::string>& command,
                    std::map<std::string, std::string> environment = {}) {
    for (char** entry = environ; *entry; ++entry) {
      const std::string variable = *entry;
      const std::size_t equals = variable.find('=');
      if (equals != std::string::npos) {
        environment.emplace(variable.substr(0, equals), variable.substr(equals + 1));
      }
    }
    std::vector<std::string> variables;
    variables.reserve(environment.size());
    for (const auto& [name, value] : environment) {
      variables.emplace_back(name).append(1, '=').append(value);
    }
    std::vector<std::string> words = command;
    pid_t pid = -1;
    const int error = ::posix_spawnp(&pid, words.front().c_str(), &actions_, &attributes_,
                                     pointersTo(words).data(), pointersTo(variables).data());
    if (error != 0) {
      return Failed{"cannot start " + command.front() + ": " +
                    std::generic_category().message(error)};
    }
    return pid;
  }

 private:
  static std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
      pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
  }

  posix_spawn_file_actions_t actions_ = {};
  posix_spawnattr_t attributes_ = {};
};

}  // namespace base

#endif  // BASE_SPAWNING_H
