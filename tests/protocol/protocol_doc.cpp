// Writes docs/protocol.md to standard output.

#include <cstdio>

#include "tests/protocol/document.h"

int main() {
  return std::fputs(velprotocol::document().c_str(), stdout) == EOF ? 1 : 0;
}
