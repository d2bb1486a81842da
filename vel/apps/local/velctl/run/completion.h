// What may stand in place of the word that a user is typing.

#ifndef VEL_APPS_LOCAL_VELCTL_RUN_COMPLETION_H
#define VEL_APPS_LOCAL_VELCTL_RUN_COMPLETION_H

#include <functional>
#include <string>
#include <vector>

#include "vel/apps/local/velctl/line/parameter.h"
#include "vel/apps/local/velctl/run/things.h"

namespace velctl {

struct Candidate {
  std::string value;
  // Printable, one line; may be empty.
  std::string description;
};

struct Completion {
  // They begin with the word, and are printable.
  std::vector<Candidate> candidates;
  // The word is the name of a file.
  bool takesFile = false;
};

// The things of the service that a parameter may name; none when the service does not say.
using ThingSource = std::function<std::vector<Thing>(Kind)>;

// Words without the name of the program; the last one is being typed, and may be empty.
Completion completionOf(const std::vector<std::string>& words, const ThingSource& things);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_RUN_COMPLETION_H
