#include "tests/fuzz/mutation.h"

#include <algorithm>
#include <cstdint>

namespace fuzz {
namespace {

using wiretest::Random;

constexpr std::size_t kLongestInput = 4096;

void mutate(std::string* input, const std::vector<std::string>& inputs, Random* random) {
  static constexpr unsigned char kBytes[] = {0,   1,   2,   7,   8,   9,   66,   '"',
                                             '.', ':', '0', '{', '[', ' ', 0x7F, 0xFF};
  const std::size_t at = random->below(input->size() + 1);
  const std::size_t length = std::min(random->below(9), input->size() - at);
  const std::string& other = random->oneOf(inputs);
  const std::string part =
      other.substr(random->below(other.size() + 1), random->below(random->chance(20) ? 200 : 9));
  switch (random->below(7)) {
    case 0:
      if (at < input->size()) {
        (*input)[at] = static_cast<char>((*input)[at] ^ (1 << random->below(8)));
      }
      break;
    case 1:
      input->replace(at, std::min<std::size_t>(1, length), 1,
                     static_cast<char>(random->oneOf(kBytes)));
      break;
    case 2:
      input->erase(at, length);
      break;
    case 3:
      input->insert(at, part);
      break;
    case 4:
      input->replace(at, std::min(part.size(), input->size() - at), part);
      break;
    case 5:
      input->insert(at, random->below(5), static_cast<char>(random->next()));
      break;
    default:
      input->resize(at);
  }
}

}  // namespace

std::string mutatedInput(const std::vector<std::string>& inputs, Random* random) {
  std::string input = random->oneOf(inputs);
  for (std::size_t count = 1 + random->below(4); count > 0; --count) {
    mutate(&input, inputs, random);
  }
  input.resize(std::min(input.size(), kLongestInput));
  return input;
}

}  // namespace fuzz
