// Compares a field of a layout with a member of the client library's structure.

#ifndef TESTS_PROTOCOL_SAME_PLACE_H
#define TESTS_PROTOCOL_SAME_PLACE_H

#include <cstddef>

#include <gtest/gtest.h>

#include "vel/protocol/layout.h"

#define EXPECT_SAME_OFFSET(field, record, member)                 \
  EXPECT_EQ((field).offset, offsetof(record, member)) << #member; \
  EXPECT_EQ((field).fixedBy, velprotocol::FixedBy::kClient) << #member

#define EXPECT_SAME_PLACE(field, record, member)              \
  EXPECT_SAME_OFFSET(field, record, member);                  \
  EXPECT_EQ((field).size, sizeof(record::member)) << #member; \
  EXPECT_EQ((field).name, #member)

// The last text of a record runs to the end of its block.
#define EXPECT_SAME_LAST_PLACE(field, record, member) \
  EXPECT_SAME_OFFSET(field, record, member);          \
  EXPECT_EQ((field).name, #member)

#endif  // TESTS_PROTOCOL_SAME_PLACE_H
