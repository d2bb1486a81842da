#include "base/descriptor.h"

#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

bool isOpen(int number) {
  return ::fcntl(number, F_GETFD) >= 0;
}

int newNumber() {
  return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(DescriptorTest, ClosesItsNumberAtTheEnd) {
  const int number = newNumber();
  ASSERT_TRUE(isOpen(number));
  {
    const base::Descriptor descriptor(number);
    EXPECT_TRUE(descriptor.isOpen());
    EXPECT_EQ(descriptor.number(), number);
  }

  EXPECT_FALSE(isOpen(number));
}

TEST(DescriptorTest, IsNotOpenWithANegativeNumber) {
  EXPECT_FALSE(base::Descriptor().isOpen());
  EXPECT_FALSE(base::Descriptor(-1).isOpen());
  EXPECT_TRUE(base::Descriptor(newNumber()).isOpen());
}

TEST(DescriptorTest, PassesItsNumberOn) {
  const int number = newNumber();
  base::Descriptor first(number);

  const base::Descriptor second = std::move(first);

  EXPECT_EQ(second.number(), number);
  EXPECT_TRUE(isOpen(number));
}

TEST(DescriptorTest, AnAssignmentClosesTheEarlierNumber) {
  const int earlier = newNumber();
  const int later = newNumber();
  base::Descriptor descriptor(earlier);

  descriptor = base::Descriptor(later);

  EXPECT_EQ(descriptor.number(), later);
  EXPECT_TRUE(isOpen(later));
  EXPECT_FALSE(isOpen(earlier));
}

}  // namespace
