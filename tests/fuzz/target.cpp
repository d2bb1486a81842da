#include "tests/fuzz/target.h"

#include <algorithm>
#include <memory>

namespace fuzz {
namespace {

// Made by the first registration, in whatever order the sources are initialized.
std::vector<Target>& registered() {
  static std::vector<Target> all;
  return all;
}

}  // namespace

std::vector<Target> targets() {
  std::vector<Target> all = registered();
  std::sort(all.begin(), all.end(),
            [](const Target& left, const Target& right) { return left.name < right.name; });
  return all;
}

Registration::Registration(const char* name, void (*run)(Input& input)) {
  registered().push_back({name, run});
}

void runWithCopy(const Target& target, std::string_view bytes) {
  const auto copy = std::make_unique<char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), copy.get());
  Input input(std::string_view(copy.get(), bytes.size()));
  target.run(input);
}

}  // namespace fuzz
