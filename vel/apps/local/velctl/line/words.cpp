#include "vel/apps/local/velctl/line/words.h"

#include <utility>

namespace velctl {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
// In double quotes a backslash before another character stands for itself.
constexpr std::string_view kEscapedInQuotes = "\\\"$`";
// Besides letters and digits.
constexpr std::string_view kPlain = "%+,-./:=@_";

bool isIn(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

class WordReader {
 public:
  explicit WordReader(std::string_view line) : line_(line) {
    while (readWord()) {
    }
  }

  // Where it began; the end of the line when no word is unfinished.
  std::size_t lastBegin() const { return lastBegin_; }
  bool isLastWordAtEnd() const { return lastBegin_ < line_.size(); }
  char quote() const { return quote_; }
  bool isOpen() const { return quote_ != '\0' || isEscaping_; }
  std::vector<std::string>& words() { return words_; }

 private:
  // False at the end of the line.
  bool readWord() {
    while (at_ < line_.size() && isIn(kBlanks, line_[at_])) {
      ++at_;
    }
    lastBegin_ = at_;
    if (at_ == line_.size()) {
      return false;
    }
    if (line_[at_] == '#') {
      lastBegin_ = at_ = line_.size();
      return false;
    }
    std::string word;
    while (at_ < line_.size() && (quote_ != '\0' || !isIn(kBlanks, line_[at_]))) {
      readCharacter(&word);
    }
    words_.push_back(std::move(word));
    return at_ < line_.size();
  }

  void readCharacter(std::string* word) {
    const char c = line_[at_++];
    if (quote_ == '\0' && (c == '\'' || c == '"')) {
      quote_ = c;
    } else if (c == quote_) {
      quote_ = '\0';
    } else if (c == '\\' && quote_ != '\'') {
      readEscaped(word);
    } else {
      *word += c;
    }
  }

  void readEscaped(std::string* word) {
    if (at_ == line_.size()) {
      isEscaping_ = true;
      return;
    }
    const char c = line_[at_++];
    if (quote_ == '"' && !isIn(kEscapedInQuotes, c)) {
      *word += '\\';
    }
    *word += c;
  }

  const std::string_view line_;
  std::size_t at_ = 0;
  std::size_t lastBegin_ = 0;
  char quote_ = '\0';
  bool isEscaping_ = false;
  std::vector<std::string> words_;
};

bool isPlain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         isIn(kPlain, c) || static_cast<unsigned char>(c) >= 0x80;
}

}  // namespace

base::Result<std::vector<std::string>> wordsOf(std::string_view line) {
  WordReader reader(line);
  if (reader.isOpen()) {
    return base::Failed{reader.quote() == '\0'
                            ? "nothing follows the backslash"
                            : std::string("a quotation mark is missing: ") + reader.quote()};
  }
  return std::move(reader.words());
}

UnfinishedLine unfinishedLine(std::string_view line) {
  WordReader reader(line);
  if (!reader.isLastWordAtEnd()) {
    reader.words().emplace_back();
  }
  return {std::move(reader.words()), reader.lastBegin(), reader.quote()};
}

std::string quotedWord(std::string_view word, char quote) {
  if (quote == '\'') {
    return std::string(isIn(word, quote) ? "" : word);
  }
  if (word.empty() && quote == '\0') {
    return "''";
  }
  std::string quoted;
  for (const char c : word) {
    if (quote == '"' ? isIn(kEscapedInQuotes, c) : !isPlain(c)) {
      quoted += '\\';
    }
    quoted += c;
  }
  return quoted;
}

}  // namespace velctl
