// Prints docs/velctl.schema.json, or, with the argument "lines", a right line of each command and
// its words, in JSON.

#include <cstdio>
#include <string>

#include "tests/velctl/commands.h"
#include "tests/velctl/schema/schema.h"
#include "tests/velctl/words.h"
#include "vel/apps/local/velctl/line/command_line.h"
#include "vel/apps/local/velctl/output/json.h"

int main(int argc, char** argv) {
  std::string text;
  if (argc > 1 && std::string(argv[1]) == "lines") {
    velctl::Json lines = velctl::Json::array();
    for (const velctl_tests::Command& command : velctl_tests::commands()) {
      const std::vector<std::string> words = velctl_tests::wordsOf(command.line);
      const velctl::ParsedLine line = velctl::parseLine(words);
      if (line.command) {
        lines.push_back({{"command", line.command->path}, {"words", words}});
      }
    }
    text = lines.dump(1) + '\n';
  } else {
    text = velctl_tests::schemaText();
  }
  return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}
