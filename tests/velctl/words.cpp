#include "tests/velctl/words.h"

namespace velctl_tests {

std::vector<std::string> wordsOf(const std::string& line) {
  std::vector<std::string> words;
  std::string word;
  bool isQuoted = false;
  bool isWord = false;
  for (const char c : line) {
    if (c == '\'') {
      isQuoted = !isQuoted;
      isWord = true;
    } else if (c == ' ' && !isQuoted) {
      if (isWord) {
        words.push_back(word);
      }
      word.clear();
      isWord = false;
    } else {
      word += c;
      isWord = true;
    }
  }
  if (isWord) {
    words.push_back(word);
  }
  return words;
}

}  // namespace velctl_tests
