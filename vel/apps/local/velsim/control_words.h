// Words of control lines.
//
//   plug camera "Front camera"     a word with blanks stands in quotes; \" and \\ inside quotes
//   plug camera 'Front camera'     the same, for lines that stand in JSON; \' and \\ inside

#ifndef VEL_APPS_LOCAL_VELSIM_CONTROL_WORDS_H
#define VEL_APPS_LOCAL_VELSIM_CONTROL_WORDS_H

#include <string>
#include <vector>

#include "base/result.h"

namespace velsim {

using Words = std::vector<std::string>;

// Fails when a quote is not closed.
base::Result<Words> wordsIn(const std::string& line);

// The line with these words, quoted where they need it.
std::string lineOf(const Words& words);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_CONTROL_WORDS_H
