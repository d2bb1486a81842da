// Data, as text or as JSON, and messages.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_OUTPUT_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_OUTPUT_H

#include <cstddef>
#include <string>

#include "vel/apps/local/velctl/output/json.h"
#include "vel/apps/local/velctl/output/terminal.h"

namespace velctl {

enum class Form { kText, kJson };

class Output {
 public:
  // Writes data to a descriptor, which remains the caller's. A quiet one writes errors and data
  // only.
  Output(int descriptor, Form form, bool isQuiet)
      : descriptor_(descriptor), form_(form), isQuiet_(isQuiet) {}

  Form form() const { return form_; }
  bool isQuiet() const { return isQuiet_; }
  // Of the data.
  int descriptor() const { return descriptor_; }
  // What the data is shown on.
  Terminal terminal() const { return terminalAt(descriptor_); }

  // Writes a line of data in the chosen form: the text, or the JSON value on one line. Throws
  // Failure when it cannot be written, and Interrupted.
  void line(const std::string& text, const Json& json) const;

  // Writes a line of data that only the JSON form has.
  void json(const Json& json) const;

  // Writes data without a JSON form: text of any number of whole lines.
  void text(const std::string& lines) const;

  // The same for a text that says no more than success: a quiet output leaves it out.
  void done(const std::string& text, const Json& json) const;

  // Writes a message to standard error, as far as possible: "velctl: " and the text. A quiet output
  // leaves notes out.
  void note(const std::string& text) const;
  static void error(const std::string& text);
  // A line as it is.
  static void message(const std::string& line);

  // Notes that a queue was full; nothing for a count of 0. Never left out: data was lost.
  //
  // noun     of one item
  // reason   why the queue was full
  static void noteDropped(std::size_t count, const std::string& noun,
                          const std::string& reason = "standard output was blocked");

 private:
  int descriptor_;
  Form form_;
  bool isQuiet_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_OUTPUT_H
