// Command lines as one text: their words, as a POSIX shell quotes them.
//
//   device attach 'Front camera' --vm win11
//   device attach Front\ camera --vm "win11"    # a comment
//
// Nothing else that a shell does: no variables, wildcards, pipes or redirections.

#ifndef VEL_APPS_LOCAL_VELCTL_LINE_WORDS_H
#define VEL_APPS_LOCAL_VELCTL_LINE_WORDS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace velctl {

// Fails when a quotation is not closed, or nothing follows a backslash.
base::Result<std::vector<std::string>> wordsOf(std::string_view line);

// A line that is being typed, up to the cursor.
struct UnfinishedLine {
  // The last one is being typed, and is empty behind a blank.
  std::vector<std::string> words;
  // Where the last word begins, with its quotation marks.
  std::size_t lastBegin = 0;
  // ' or " when the last word ends inside a quotation, else 0.
  char quote = '\0';
};
UnfinishedLine unfinishedLine(std::string_view line);

// The word as a shell reads it back, with backslashes where it needs them. With a quote: as the
// rest of a quotation, without the mark at its end; empty when it cannot stand in one.
std::string quotedWord(std::string_view word, char quote = '\0');

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_LINE_WORDS_H
