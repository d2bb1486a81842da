#include "bus/dbus/wire/address.h"

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text.h"
#include "tests/wire/comparison.h"
#include "tests/wire/random.h"

namespace {

using namespace qxbus::wire;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

const char* environment(const char* name) {
  const std::string_view variable = name;
  if (variable == "XDG_RUNTIME_DIR") {
    return "/run/user/7";
  }
  return variable == "SOCKET" ? "/launchd/socket" : nullptr;
}

const char* emptyEnvironment(const char* /*name*/) {
  return nullptr;
}

const char* environmentOfEmptyValues(const char* /*name*/) {
  return "";
}

std::optional<std::string> launchdVariable(const std::string& name) {
  return name == "SOCKET" || name == "LAUNCHD" ? std::optional<std::string>("/asked/socket")
                                               : std::nullopt;
}

constexpr System kEverything = {environment, true, launchdVariable};
constexpr System kNothing = {emptyEnvironment, false, nullptr};
constexpr System kEmptyValues = {environmentOfEmptyValues, false, nullptr};
constexpr System kEmptyMac = {environmentOfEmptyValues, false, launchdVariable};

// The argument of connect() without the family.
std::string nameOf(const SocketAddress& address) {
  return std::string(address.socket.sun_path, address.size - offsetof(sockaddr_un, sun_path));
}

// --- Addresses with a socket ---------------------------------------------------------------------

struct UsableAddress {
  const char* name;
  std::string address;
  std::string socket;
  std::string guid;
};

const UsableAddress kUsable[] = {
    {"Path", "unix:path=/run/bus", "/run/bus\0"s, ""},
    {"EscapedPath", "unix:path=/run/a%20b%2Cc%3b", "/run/a b,c;\0"s, ""},
    {"PathThatNeedsNoEscape", "unix:path=/-_.\\*Az09", "/-_.\\*Az09\0"s, ""},
    {"Guid", "unix:path=/run/bus,guid=0123456789abcdef0123456789abcdef", "/run/bus\0"s,
     "0123456789abcdef0123456789abcdef"},
    {"GuidFirst", "unix:guid=12,path=/run/bus", "/run/bus\0"s, "12"},
    {"UnknownKey", "unix:path=/run/bus,colour=blue", "/run/bus\0"s, ""},
    {"CommaAtTheEnd", "unix:path=/run/bus,", "/run/bus\0"s, ""},
    {"AbstractName", "unix:abstract=/tmp/bus", "\0/tmp/bus"s, ""},
    {"AbstractNameWithNul", "unix:abstract=a%00b", "\0a\0b"s, ""},
    {"RuntimeDirectory", "unix:runtime=yes", "/run/user/7/bus\0"s, ""},
    {"LaunchdsVariableInTheEnvironment", "launchd:env=SOCKET", "/launchd/socket\0"s, ""},
    {"LaunchdsVariable", "launchd:env=LAUNCHD", "/asked/socket\0"s, ""},
};

class UsableAddressTest : public testing::TestWithParam<UsableAddress> {};

TEST_P(UsableAddressTest, HasASocket) {
  const auto addresses = parseAddresses(GetParam().address, kEverything);

  ASSERT_TRUE(addresses) << addresses.reason();
  EXPECT_THAT(addresses->refused, IsEmpty());
  ASSERT_THAT(addresses->usable, SizeIs(1));
  const SocketAddress& address = addresses->usable.front();
  EXPECT_EQ(address.socket.sun_family, AF_UNIX);
  EXPECT_EQ(nameOf(address), GetParam().socket);
  EXPECT_EQ(address.guid, GetParam().guid);
  EXPECT_EQ(address.text, GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(Addresses, UsableAddressTest, testing::ValuesIn(kUsable),
                         [](const auto& tested) { return tested.param.name; });

TEST(AddressTest, LaunchdIsAskedForAVariableThatIsEmptyHere) {
  const auto addresses = parseAddresses("launchd:env=SOCKET", kEmptyMac);

  ASSERT_TRUE(addresses) << addresses.reason();
  EXPECT_EQ(nameOf(addresses->usable.at(0)), "/asked/socket\0"s);
}

TEST(AddressTest, AListKeepsItsOrder) {
  const auto addresses =
      parseAddresses("unix:path=/a,guid=1;tcp:host=h;unix:abstract=b;", kEverything);

  ASSERT_TRUE(addresses);
  ASSERT_THAT(addresses->usable, SizeIs(2));
  EXPECT_EQ(nameOf(addresses->usable[0]), "/a\0"s);
  EXPECT_EQ(addresses->usable[0].guid, "1");
  EXPECT_EQ(nameOf(addresses->usable[1]), "\0b"s);
  EXPECT_EQ(addresses->usable[1].guid, "");
  EXPECT_THAT(addresses->refused,
              ElementsAre("tcp:host=h: the transport \"tcp\" is not supported"));
}

// --- Addresses without a socket ------------------------------------------------------------------

struct RefusedRow {
  const char* name;
  std::string address;
  System system;
  const char* reason;
};

const RefusedRow kRefused[] = {
    {"Tcp", "tcp:host=localhost,port=1", kEverything, "the transport \"tcp\" is not supported"},
    {"NonceTcp", "nonce-tcp:port=1", kEverything, "\"nonce-tcp\" is not supported"},
    {"Autolaunch", "autolaunch:", kEverything, "\"autolaunch\" is not supported"},
    {"Unixexec", "unixexec:path=sh", kEverything, "\"unixexec\" is not supported"},
    {"Unknown", "pigeon:post=yes", kEverything, "the transport \"pigeon\" is unknown"},
    {"WithoutTransport", ":path=/a", kEverything, "the transport \"\" is unknown"},
    {"Directory", "unix:dir=/tmp", kEverything, "\"dir\" is for servers"},
    {"TemporaryDirectory", "unix:tmpdir=/tmp", kEverything, "\"tmpdir\" is for servers"},
    {"NoPlace", "unix:guid=1", kEverything, "a client needs one of"},
    {"TwoPlaces", "unix:path=/a,abstract=b", kEverything, "a client needs one of"},
    {"OnePlaceTwice", "unix:path=/a,path=/b", kEverything, "a client needs one of"},
    {"Runtime", "unix:runtime=no", kEverything, "can only be \"yes\""},
    {"NoRuntimeDirectory", "unix:runtime=yes", kNothing, "XDG_RUNTIME_DIR is not set"},
    {"EmptyRuntimeDirectory", "unix:runtime=yes", kEmptyValues, "XDG_RUNTIME_DIR is not set"},
    {"NoAbstractSockets", "unix:abstract=a", kNothing, "this system has no abstract sockets"},
    {"NoLaunchd", "launchd:env=SOCKET", kNothing, "this system has no launchd"},
    {"NoVariable", "launchd:", kEverything, "\"env\", which names a variable, is missing"},
    {"VariableNotSet", "launchd:env=OTHER", kEverything, "the variable OTHER is not set"},
    {"PathWithNul", "unix:path=/a%00b", kEverything, "the path of the socket holds a NUL"},
    {"LongPath", "unix:path=/" + std::string(300, 'a'), kEverything, "the name of the socket is"},
};

class RefusedAddressTest : public testing::TestWithParam<RefusedRow> {};

TEST_P(RefusedAddressTest, SaysWhy) {
  const RefusedRow& row = GetParam();

  const auto addresses = parseAddresses(row.address, row.system);

  ASSERT_FALSE(addresses);
  EXPECT_THAT(addresses.reason(), HasSubstr(row.reason));
  EXPECT_THAT(addresses.reason(), HasSubstr(row.address + ": "));
}

INSTANTIATE_TEST_SUITE_P(Addresses, RefusedAddressTest, testing::ValuesIn(kRefused),
                         [](const auto& tested) { return tested.param.name; });

TEST(AddressTest, OfAnUnusableListNamesEachReason) {
  const auto addresses = parseAddresses("tcp:host=h;autolaunch:", kEverything);

  ASSERT_FALSE(addresses);
  EXPECT_EQ(addresses.reason(),
            "tcp:host=h: the transport \"tcp\" is not supported; "
            "autolaunch:: the transport \"autolaunch\" is not supported");
}

// --- Malformed addresses -------------------------------------------------------------------------

struct MalformedRow {
  const char* name;
  const char* address;
  const char* reason;
};

const MalformedRow kMalformed[] = {
    {"Empty", "", "the address is empty"},
    {"NoColon", "unix", "at character 1: no colon follows the transport"},
    {"NoColonLater", "unix:path=/a;b", "at character 14: no colon follows the transport"},
    {"EmptyEntry", "unix:path=/a;;", "at character 14: no colon follows the transport"},
    {"NoValue", "unix:path", "at character 6: \"path\" is not a key, '=' and a value"},
    {"EmptyValue", "unix:path=", "at character 6: \"path=\" is not a key, '=' and a value"},
    {"EmptyKey", "unix:guid=1,=/a", "at character 13: \"=/a\" is not a key, '=' and a value"},
    {"NotEscaped", "unix:path=/a b", "at character 13: the character must be escaped"},
    {"SecondEquals", "unix:path=/a=b", "at character 13: the character must be escaped"},
    {"CutEscape", "unix:path=/a%2", "at character 13: two hexadecimal digits must follow '%'"},
    {"EscapeAtTheEnd", "unix:path=/a%", "at character 13: two hexadecimal digits must follow '%'"},
    {"WrongEscape", "unix:path=/%2g", "at character 12: two hexadecimal digits must follow '%'"},
};

class MalformedAddressTest : public testing::TestWithParam<MalformedRow> {};

TEST_P(MalformedAddressTest, SaysWhereAndWhy) {
  const auto addresses = parseAddresses(GetParam().address, kEverything);

  ASSERT_FALSE(addresses);
  EXPECT_THAT(addresses.reason(), HasSubstr(GetParam().reason));
}

INSTANTIATE_TEST_SUITE_P(Addresses, MalformedAddressTest, testing::ValuesIn(kMalformed),
                         [](const auto& tested) { return tested.param.name; });

// --- Sockets by path -----------------------------------------------------------------------------

TEST(SocketAddressTest, HasAPathThatFits) {
  const std::string longest(sizeof sockaddr_un::sun_path - 1, 'a');

  const auto address = socketAddressOf(longest);

  ASSERT_TRUE(address);
  EXPECT_EQ(nameOf(*address), longest + '\0');
  EXPECT_FALSE(socketAddressOf(longest + 'a'));
  EXPECT_FALSE(socketAddressOf(""));
}

TEST(SocketAddressTest, HasATextThatLeadsToTheSameSocket) {
  const auto address = socketAddressOf("/run/a b;c");
  ASSERT_TRUE(address);

  const auto again = parseAddresses(address->text, kEverything);

  ASSERT_TRUE(again);
  EXPECT_EQ(nameOf(again->usable.front()), nameOf(*address));
}

// --- As in libdbus -------------------------------------------------------------------------------

TEST(AddressTest, RandomListsAreMalformedWhenLibdbusSaysSo) {
  wiretest::Random random(1);
  int wellFormed = 0;
  for (int i = 0; i < 100000; ++i) {
    std::string list = random.chance(80) ? "unix:" : "";
    list += random.textOver(":;,,==%%0Aa/ \\", random.below(10));

    bool isWellFormed = false;
    ASSERT_EQ(wiretest::compareAddresses(list, &isWellFormed), "") << list;
    wellFormed += isWellFormed ? 1 : 0;
  }
  EXPECT_GT(wellFormed, 5000);
}

TEST(AddressTest, RandomPathsAreEscapedAsInLibdbus) {
  wiretest::Random random(1);
  for (int i = 0; i < 10000; ++i) {
    std::string path = "/";
    for (std::size_t count = random.below(20); count > 0; --count) {
      path += static_cast<char>(1 + random.below(255));
    }
    const std::string list = "unix:guid=" + escaped(path) + ",path=" + escaped(path);

    bool isWellFormed = false;
    ASSERT_EQ(wiretest::compareEscaped(path), "");
    ASSERT_EQ(wiretest::compareAddresses(list, &isWellFormed), "") << list;
    ASSERT_TRUE(isWellFormed);
    const auto addresses = parseAddresses(list, kEverything);

    ASSERT_TRUE(addresses) << addresses.reason();
    EXPECT_EQ(nameOf(addresses->usable.front()), path + '\0');
    EXPECT_EQ(addresses->usable.front().guid, path);
  }
}

}  // namespace
