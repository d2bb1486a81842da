#include "vel/apps/local/velsim/control_words.h"

#include <cstddef>
#include <utility>

namespace velsim {
namespace {

constexpr char kBlanks[] = " \t\r";

// Splits a line into words.
class WordReader {
 public:
  explicit WordReader(const std::string& line) : line_(line) { skipBlanks(); }

  bool isAtEnd() const { return at_ == line_.size(); }

  // Fails when a quote is not closed.
  base::Result<std::string> next() {
    std::string word;
    bool isFirst = true;
    for (; !isAtEnd() && !isBlank(line_[at_]); isFirst = false) {
      // An apostrophe inside a word is one of its letters.
      if (line_[at_] != '"' && !(isFirst && line_[at_] == '\'')) {
        word += line_[at_++];
        continue;
      }
      base::Result<std::string> part = quotedPart();
      if (!part) {
        return part;
      }
      word += *part;
    }
    skipBlanks();
    return word;
  }

 private:
  static bool isBlank(char character) {
    return std::string(kBlanks).find(character) != std::string::npos;
  }

  void skipBlanks() {
    while (!isAtEnd() && isBlank(line_[at_])) {
      ++at_;
    }
  }

  base::Result<std::string> quotedPart() {
    const char quote = line_[at_];
    std::string part;
    for (++at_; !isAtEnd(); ++at_) {
      if (line_[at_] == quote) {
        ++at_;
        return part;
      }
      if (line_[at_] == '\\' && at_ + 1 < line_.size()) {
        ++at_;
      }
      part += line_[at_];
    }
    return base::Failed{"unclosed quote: " + line_};
  }

  const std::string& line_;
  std::size_t at_ = 0;
};

}  // namespace

base::Result<Words> wordsIn(const std::string& line) {
  WordReader reader(line);
  Words words;
  while (!reader.isAtEnd()) {
    base::Result<std::string> word = reader.next();
    if (!word) {
      return word.failed();
    }
    words.push_back(std::move(*word));
  }
  return words;
}

std::string lineOf(const Words& words) {
  std::string line;
  for (const std::string& word : words) {
    line += line.empty() ? "" : " ";
    if (!word.empty() && word.find_first_of(std::string(kBlanks) + "\"'\\") == std::string::npos) {
      line += word;
      continue;
    }
    line += '"';
    for (const char character : word) {
      if (character == '"' || character == '\\') {
        line += '\\';
      }
      line += character;
    }
    line += '"';
  }
  return line;
}

}  // namespace velsim
