// Lines that a user edits at the terminal of standard input and standard error.

#ifndef VEL_APPS_LOCAL_VELCTL_SHELL_LINE_EDITOR_H
#define VEL_APPS_LOCAL_VELCTL_SHELL_LINE_EDITOR_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/run/completion.h"

namespace velctl {

// THREADS   One. Construct one at a time.
class LineEditor {
 public:
  // What may stand in place of the last word.
  using Completer = std::function<Completion(const std::vector<std::string>& words)>;

  LineEditor(const std::string& prompt, Completer completer);
  ~LineEditor();

  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  // A line without its newline, empty when Ctrl-C has cancelled it; nullopt: the input has ended.
  std::optional<std::string> readLine();
  // Adds a line to those that the arrow keys bring back.
  void remember(const std::string& line);

 private:
  class Library;
  const std::unique_ptr<Library> library_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_SHELL_LINE_EDITOR_H
