// Writes docs/protocol.md to standard output; with the argument "records", docs/records.md.

#include <cstdio>
#include <string>

#include "tests/protocol/document.h"

int main(int argc, char** argv) {
  const bool isOfRecords = argc > 1 && std::string(argv[1]) == "records";
  const std::string text =
      isOfRecords ? velprotocol::recordsDocument() : velprotocol::protocolDocument();
  return std::fputs(text.c_str(), stdout) == EOF ? 1 : 0;
}
