// docs/protocol.md and docs/records.md, made from the headers of vel/protocol/.

#ifndef TESTS_PROTOCOL_DOCUMENT_H
#define TESTS_PROTOCOL_DOCUMENT_H

#include <string>

namespace velprotocol {

std::string protocolDocument();
std::string recordsDocument();

}  // namespace velprotocol

#endif  // TESTS_PROTOCOL_DOCUMENT_H
