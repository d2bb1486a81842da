// Data, as text or as JSON, and messages.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_H

#include <cstddef>
#include <string>

#include <nlohmann/json.hpp>

namespace velctl {

// Keeps the order in which members are given.
using Json = nlohmann::ordered_json;

enum class Form { kText, kJson };

class Output {
 public:
  // Writes data to a descriptor, which remains the caller's.
  Output(int descriptor, Form form) : descriptor_(descriptor), form_(form) {}

  // Writes a line of data in the chosen form: the text, or the JSON value on one line. Throws
  // Failure when it cannot be written, and Interrupted.
  void line(const std::string& text, const Json& json) const;

  // Writes a line of data that only the JSON form has.
  void json(const Json& json) const;

  // Writes data without a JSON form: text of any number of whole lines.
  void text(const std::string& lines) const;

  // Writes a message to standard error, as far as possible: "velctl: " and the text, or a line as
  // it is.
  static void note(const std::string& text);
  static void message(const std::string& line);

  // Notes that a queue was full while standard output was blocked; nothing for a count of 0. noun:
  // of one item.
  static void noteDropped(std::size_t count, const std::string& noun);

 private:
  int descriptor_;
  Form form_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_H
