// The JSON Schema of what velctl prints with --json, made of the rows of the commands.

#ifndef TESTS_VELCTL_SCHEMA_SCHEMA_H
#define TESTS_VELCTL_SCHEMA_SCHEMA_H

#include <string>

namespace velctl_tests {

// docs/velctl.schema.json. Each line of output is one document. $defs has a schema for the lines of
// each command under its words, for each event, and for an error.
std::string schemaText();

}  // namespace velctl_tests

#endif  // TESTS_VELCTL_SCHEMA_SCHEMA_H
