// The table "What may include what" of docs/architecture.md, and the includes that break its rules.

#ifndef TESTS_DOCUMENTS_INCLUDE_RULES_H
#define TESTS_DOCUMENTS_INCLUDE_RULES_H

#include <filesystem>
#include <string>
#include <vector>

namespace documents {

// One row: the files in a folder, apart from those in a folder that has a row of its own.
struct Room {
  std::string folder;                // from the root of the repository, with a slash at the end
  std::vector<std::string> allowed;  // folders and headers; other libraries' headers from "<" on
  bool mayUsePosix = false;
};

// Reads the rows of the first table behind the heading. A row is
//
//   | `velproxy/` | `bus/qxbus.h`, `platform/`, `<Q`, POSIX | any text |
//
// velproxy/, velsim/ and velctl/ stand for folders of vel/apps/local/. Every room may include its
// own headers and the C++ library. `<Q` stands for the headers whose names begin with Q.
std::vector<Room> roomsOf(const std::string& document);

// One message, with file, line and reason, for each include of the file that no rule allows.
std::vector<std::string> violations(const std::vector<Room>& rooms, const std::string& file,
                                    const std::string& content);

// The C++ files below a folder of the repository, named from its root.
std::vector<std::string> sourceFiles(const std::filesystem::path& root, const std::string& folder);

std::string contentOf(const std::filesystem::path& file);

}  // namespace documents

#endif  // TESTS_DOCUMENTS_INCLUDE_RULES_H
