// Completion for shells, which ask velctl itself: the hidden commands __complete and
// __complete-line. The scripts of scripts.h use them.
//
//   velctl __complete WORD...            the candidates for the last word, one in a line: the
//   value, a
//                                        tab and its description
//   velctl __complete-line LINE BREAKS   of a line of bash up to the cursor, where words break at
//                                        these characters, too: what replaces the last part, quoted
//
// An empty value stands for the name of a file. What cannot be found out, or not in
// completionLimit(), is left out: nothing is ever written to standard error.

#ifndef VEL_APPS_LOCAL_VELCTL_COMPLETION_ENTRY_H
#define VEL_APPS_LOCAL_VELCTL_COMPLETION_ENTRY_H

#include <chrono>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/output/output.h"

namespace velctl {

constexpr char kCompleteCommand[] = "__complete";
constexpr char kCompleteLineCommand[] = "__complete-line";

// How long candidates are worth a wait for the service: a second, or what
// VELCTL_COMPLETION_SECONDS says, from 1 to 3600.
std::chrono::seconds completionLimit();

// Whether these are the arguments of a hidden command.
bool asksForCandidates(const std::vector<std::string>& arguments);
void writeCandidates(const std::vector<std::string>& arguments, const Output& output);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_COMPLETION_ENTRY_H
