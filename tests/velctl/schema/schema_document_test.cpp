#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/velctl/schema/schema.h"

namespace velctl_tests {
namespace {

TEST(SchemaTest, IsTheOneInTheFolderOfDocuments) {
  std::ostringstream schema;
  schema << std::ifstream(VELCTL_SCHEMA).rdbuf();

  EXPECT_EQ(schema.str(), schemaText()) << "write it anew: build the target velctl_schema";
}

}  // namespace
}  // namespace velctl_tests
