// Prints, as source code for lupdate, the texts that the panel shows and that stand in other
// headers: lupdate reads calls, and would not find them.

#include <cstdio>
#include <string>
#include <string_view>

#include "examples/panel/service/problem.h"
#include "vel/client/advice.h"

namespace {

void print(std::string_view text) {
  if (!text.empty()) {
    std::printf("QT_TRANSLATE_NOOP(\"%s\", \"%s\")\n", panel::kForeignTexts,
                std::string(text).c_str());
  }
}

}  // namespace

int main() {
  print(qx::kNoServiceOnTheBus);
  print(qx::kBusUnreachable);
  for (const velprotocol::Meaning& status : velprotocol::kStatuses) {
    if (status.number != 0) {
      print(status.explanation);
      print(vel::remedyFor(vel::Error::refused("", static_cast<std::int32_t>(status.number))));
    }
  }
  for (int kind = 0; !vel::nameOf(static_cast<vel::ErrorKind>(kind)).empty(); ++kind) {
    print(vel::remedyFor(static_cast<vel::ErrorKind>(kind)));
  }
}
