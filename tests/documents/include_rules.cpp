#include "tests/documents/include_rules.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string_view>
#include <utility>

namespace documents {
namespace {

constexpr std::string_view kHeading = "## What may include what";
constexpr std::string_view kApplications = "vel/apps/local/";
constexpr std::string_view kPosix = "POSIX";

// Headers of other systems only, such as <sys/epoll.h>, are not among them.
constexpr std::string_view kPosixHeaders[] = {
    "arpa/inet.h",  "dirent.h",   "fcntl.h",     "netdb.h",    "netinet/in.h", "poll.h",
    "pthread.h",    "pwd.h",      "signal.h",    "spawn.h",    "sys/ioctl.h",  "sys/mman.h",
    "sys/socket.h", "sys/stat.h", "sys/types.h", "sys/time.h", "sys/uio.h",    "sys/un.h",
    "sys/wait.h",   "termios.h",  "unistd.h"};

bool beginsWith(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

std::string fullName(const std::string& name) {
  const bool isShort =
      beginsWith(name, "velproxy/") || beginsWith(name, "velsim/") || beginsWith(name, "velctl/");
  return isShort ? std::string(kApplications) + name : name;
}

// The names in backticks of a table's cell.
std::vector<std::string> namesIn(const std::string& cell) {
  static const std::regex name("`([^`]+)`");
  std::vector<std::string> names;
  for (std::sregex_iterator match(cell.begin(), cell.end(), name), end; match != end; ++match) {
    names.push_back(fullName((*match)[1]));
  }
  return names;
}

std::vector<std::string> cellsOf(const std::string& row) {
  std::vector<std::string> cells;
  std::istringstream in(row.substr(1));
  for (std::string cell; std::getline(in, cell, '|');) {
    cells.push_back(cell);
  }
  return cells;
}

const Room* roomOf(const std::vector<Room>& rooms, const std::string& file) {
  const Room* found = nullptr;
  for (const Room& room : rooms) {
    const bool isLonger = !found || room.folder.size() > found->folder.size();
    if (beginsWith(file, room.folder) && isLonger) {
      found = &room;
    }
  }
  return found;
}

bool isOfTheCppLibrary(const std::string& name) {
  return name.find_first_of("./") == std::string::npos && name.front() != 'Q';
}

bool isOfPosix(const std::string& name) {
  return std::find(std::begin(kPosixHeaders), std::end(kPosixHeaders), name) !=
         std::end(kPosixHeaders);
}

// <name>
bool mayIncludeOutside(const Room& room, const std::string& name) {
  return isOfTheCppLibrary(name) || (room.mayUsePosix && isOfPosix(name)) ||
         std::any_of(room.allowed.begin(), room.allowed.end(), [&](const std::string& allowed) {
           return allowed.front() == '<' && beginsWith('<' + name, allowed);
         });
}

// "name". A folder in a row stands for the headers in it, without those of a folder with its own
// row.
bool mayIncludeOurs(const std::vector<Room>& rooms, const Room& room, const std::string& name) {
  const Room* const other = roomOf(rooms, name);
  return other &&
         (other == &room ||
          std::any_of(room.allowed.begin(), room.allowed.end(), [&](const std::string& allowed) {
            return allowed == other->folder || allowed == name;
          }));
}

}  // namespace

std::vector<Room> roomsOf(const std::string& document) {
  std::vector<Room> rooms;
  std::istringstream lines(document.substr(std::min(document.find(kHeading), document.size())));
  for (std::string line; std::getline(lines, line);) {
    if (!beginsWith(line, "| `")) {
      if (!rooms.empty()) {
        break;
      }
      continue;
    }
    const std::vector<std::string> cells = cellsOf(line);
    if (cells.size() > 1) {
      rooms.push_back(
          {namesIn(cells[0]).at(0), namesIn(cells[1]), cells[1].find(kPosix) != std::string::npos});
    }
  }
  return rooms;
}

std::vector<std::string> violations(const std::vector<Room>& rooms, const std::string& file,
                                    const std::string& content) {
  static const std::regex include(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"])re");
  const Room* const room = roomOf(rooms, file);
  if (!room) {
    return {file + ":1: docs/architecture.md has no row for the folder of this file"};
  }
  std::vector<std::string> found;
  std::istringstream lines(content);
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    std::smatch match;
    // The first test is much faster.
    if (line.find('#') == std::string::npos || !std::regex_search(line, match, include)) {
      continue;
    }
    const std::string name = match[2];
    const bool isAllowed =
        match[1] == "<" ? mayIncludeOutside(*room, name) : mayIncludeOurs(rooms, *room, name);
    if (!isAllowed) {
      std::string message = file + ':';
      message.append(std::to_string(number)).append(": ").append(line);
      message.append(", which docs/architecture.md does not allow in ").append(room->folder);
      found.push_back(std::move(message));
    }
  }
  return found;
}

std::vector<std::string> sourceFiles(const std::filesystem::path& root, const std::string& folder) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".h" || extension == ".cpp") {
      files.push_back(entry.path().lexically_relative(root).generic_string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string contentOf(const std::filesystem::path& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

}  // namespace documents
