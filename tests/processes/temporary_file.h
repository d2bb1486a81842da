// A file that takes the output of a program, or gives its input.

#ifndef TESTS_PROCESSES_TEMPORARY_FILE_H
#define TESTS_PROCESSES_TEMPORARY_FILE_H

#include <cstdio>
#include <memory>
#include <string>

namespace processes {

// Without a name, closed on exec.
//
// ERRORS    std::runtime_error when the system is out of a resource.
class TemporaryFile {
 public:
  // Reading and writing begin at the start of the file.
  explicit TemporaryFile(const std::string& content = "");

  int descriptor() const;
  // The whole file. Does not move the position at which others read and write.
  std::string content() const;

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

}  // namespace processes

#endif  // TESTS_PROCESSES_TEMPORARY_FILE_H
