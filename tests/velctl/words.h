// Command lines as one text.

#ifndef TESTS_VELCTL_WORDS_H
#define TESTS_VELCTL_WORDS_H

#include <string>
#include <vector>

namespace velctl_tests {

// The words of a line. Words with blanks, and empty ones, stand in single quotes.
std::vector<std::string> wordsOf(const std::string& line);

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_WORDS_H
