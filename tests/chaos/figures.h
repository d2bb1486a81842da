// What this process uses, and a file of figures.

#ifndef TESTS_CHAOS_FIGURES_H
#define TESTS_CHAOS_FIGURES_H

#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace chaos {

// Each 0 where the system does not say.
struct Usage {
  long descriptors = 0;
  long threads = 0;
  long residentKiB = 0;
};
// process  0: this one
Usage usageOf(pid_t process = 0);

// Named numbers, in their order, as JSON.
class Figures {
 public:
  void set(const std::string& name, double value);
  void set(const std::string& name, const std::string& text);
  std::string json() const;
  // False when the file cannot be written.
  bool write(const std::string& path) const;

 private:
  std::vector<std::pair<std::string, std::string>> values_;
};

}  // namespace chaos

#endif  // TESTS_CHAOS_FIGURES_H
