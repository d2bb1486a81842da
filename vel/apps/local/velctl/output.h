// Where data goes, as text or as JSON, and where everything else goes.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_H

#include <string>

#include <nlohmann/json.hpp>

namespace velctl {

// Keeps the order in which members are given.
using Json = nlohmann::ordered_json;

class Output {
 public:
  // Takes standard output for data. The library prints lines of its own there, which go to standard
  // error from now on; so construct it before the first call of the library.
  explicit Output(bool isJson);

  // Writes a line of data in the form that the user wants: text, or json as one line. Throws
  // Failure when it cannot be written.
  void line(const std::string& text, const Json& json) const;

  // Writes a line of data that has only a JSON form; nothing when the user wants text.
  void json(const Json& json) const;

  // Tells the person in front of the terminal something that is not data.
  static void note(const std::string& text);

 private:
  void write(const std::string& line) const;

  int data_;
  bool isJson_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_H
