// docs/protocol.md, made from the headers of vel/protocol/.

#ifndef TESTS_PROTOCOL_DOCUMENT_H
#define TESTS_PROTOCOL_DOCUMENT_H

#include <string>

namespace velprotocol {

std::string document();

}  // namespace velprotocol

#endif  // TESTS_PROTOCOL_DOCUMENT_H
