// Why an operation of the library has no answer. Operations do not return that, and some of them
// give the same value for a failure as for an answer, such as an empty list; but the library logs
// it.

#ifndef VEL_APPS_LOCAL_VELCTL_LIBRARY_ERRORS_H
#define VEL_APPS_LOCAL_VELCTL_LIBRARY_ERRORS_H

#include <optional>
#include <string>

namespace velctl {

// Takes note of such lines of the thread that constructs it, while it is the latest of that thread.
// They go on to the log.
class LibraryErrors {
 public:
  LibraryErrors();
  ~LibraryErrors();

  LibraryErrors(const LibraryErrors&) = delete;
  LibraryErrors& operator=(const LibraryErrors&) = delete;

  // In the words of the service or of the bus where they are known. Empty when there was none.
  const std::optional<std::string>& last() const { return last_; }
  void forget() { last_.reset(); }

  // A whole line of the log.
  static void note(const std::string& line);

 private:
  std::optional<std::string> last_;
  LibraryErrors* outer_;
};

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LIBRARY_ERRORS_H
