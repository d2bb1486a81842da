// What stands where a service wants to listen.

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "base/unix_socket.h"
#include "tests/dbus/hostile_test.h"
#include "tests/dbus/odd_sockets.h"

namespace {

using namespace dbustest;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr uid_t kAnotherUser = 65534;

class Squatted : public HostileTest {
 protected:
  // Why a service cannot start; empty when it can.
  static std::string obstacleAt(const std::string& address) {
    try {
      const qxbus::ServiceHost host(address, "vel", {});
      return "";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }

  std::string place() const { return directory() + "/velproxy"; }
  std::string inDirectory() const { return "direct:" + place() + "/"; }
};

TEST_F(Squatted, DirectoryThatOthersCanEnterIsRefused) {
  for (const mode_t mode : {0755U, 0710U, 0701U}) {
    fs::remove(place());
    ASSERT_EQ(::mkdir(place().c_str(), mode), 0);
    ASSERT_EQ(::chmod(place().c_str(), mode), 0);

    EXPECT_EQ(obstacleAt(inDirectory()),
              place() + ": must be a directory that only this user can enter");
  }
  ASSERT_EQ(::chmod(place().c_str(), 0700), 0);
  EXPECT_EQ(obstacleAt(inDirectory()), "");
}

TEST_F(Squatted, DirectoryOfAnotherUserIsRefused) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can give a directory away";
  }
  ASSERT_EQ(::mkdir(place().c_str(), 0700), 0);
  ASSERT_EQ(::chown(place().c_str(), kAnotherUser, kAnotherUser), 0);

  EXPECT_EQ(obstacleAt(inDirectory()),
            place() + ": must be a directory that only this user can enter");
}

TEST_F(Squatted, LinkInPlaceOfTheDirectoryIsRefused) {
  ASSERT_EQ(::mkdir((directory() + "/real").c_str(), 0700), 0);
  fs::create_directory_symlink(directory() + "/real", place());

  EXPECT_EQ(obstacleAt(inDirectory()),
            place() + ": must be a directory that only this user can enter");
  EXPECT_TRUE(fs::is_empty(directory() + "/real"));
}

TEST_F(Squatted, LinkThatLeadsNowhereInPlaceOfTheDirectoryIsRefused) {
  fs::create_symlink(directory() + "/nowhere", place());

  EXPECT_THAT(obstacleAt(inDirectory()), HasSubstr("must be a directory that only this user"));
  // Here the name leads to what the link leads to.
  EXPECT_THAT(obstacleAt(inDirectory() + "/"),
              HasSubstr("must be a directory that only this user"));
  EXPECT_FALSE(fs::exists(directory() + "/nowhere"));
}

TEST_F(Squatted, DirectoryThatCannotBeMadeIsNamed) {
  const std::string tooLong = "/" + std::string(300, 'x');

  EXPECT_EQ(obstacleAt("direct:" + tooLong + "/"), tooLong + ": File name too long");
  EXPECT_EQ(obstacleAt("direct:" + place() + "/deeper/"),
            place() + "/deeper: No such file or directory");
}

TEST_F(Squatted, DirectoryMayBeHere) {
  const fs::path before = fs::current_path();
  fs::current_path(directory());

  EXPECT_EQ(obstacleAt("direct:here/"), "");

  EXPECT_TRUE(fs::is_directory(directory() + "/here"));
  fs::current_path(before);
}

// As in /tmp.
TEST_F(Squatted, DirectoryIsMadeInOneOfRootForAnyUser) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs root to start a service as another user";
  }
  fs::permissions(directory(), fs::perms(0777));
  Process service(
      helper({BUS_PROCESS, "serve", inDirectory(), "vel", std::to_string(kAnotherUser)}));

  EXPECT_EQ(service.readLine(), "running");
  EXPECT_TRUE(fs::is_directory(place()));
}

// As with the environment of another user, which sudo may keep: the directory would be the other
// user's obstacle from then on, and the other user could replace it.
TEST_F(Squatted, DirectoryIsNotMadeInOneOfAnotherUser) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can give a directory away";
  }
  ASSERT_EQ(::chown(directory().c_str(), kAnotherUser, kAnotherUser), 0);

  EXPECT_THAT(obstacleAt(inDirectory()),
              AllOf(StartsWith(place() + ": "), HasSubstr("belongs to user 65534")));
  EXPECT_FALSE(fs::exists(place()));
}

TEST_F(Squatted, SocketOfAnotherProgramIsLeftToIt) {
  const base::Listener squatter(socket());

  EXPECT_EQ(obstacleAt(address()),
            socket() + ": another program listens there; choose another path");

  EXPECT_EQ(base::connectTo(base::newSocket(), socket()), 0);
}

TEST_F(Squatted, FileOrLinkInPlaceOfTheSocketIsLeft) {
  const std::string elsewhere = directory() + "/elsewhere";
  const std::string refusal =
      socket() + ": the file there is not a socket; choose another path, or remove the file";
  std::ofstream(socket()) << "text";
  EXPECT_EQ(obstacleAt(address()), refusal);
  EXPECT_EQ(fs::file_size(socket()), 4u);
  fs::remove(socket());
  // Where a file would be made.
  fs::create_symlink(elsewhere, socket());
  EXPECT_EQ(obstacleAt(address()), refusal);
  EXPECT_FALSE(fs::exists(elsewhere));
  // Where a socket would be removed.
  const base::Listener other(elsewhere);
  EXPECT_EQ(obstacleAt(address()), refusal);
  EXPECT_TRUE(fs::is_symlink(socket()));
  EXPECT_EQ(base::connectTo(base::newSocket(), elsewhere), 0);
}

TEST_F(Squatted, NameOnTheBusIsLeftToItsOwner) {
  NEEDS_DAEMON();
  const Process squatter(helper({BUS_PROCESS, "serve", bus().address(), "vel"}));
  ASSERT_TRUE(waitUntil([] { return manager().isServiceRegistered("vel"); }));

  EXPECT_EQ(obstacleAt(bus().address()), "the name qx.bus.vel is taken: the service runs already");

  EXPECT_THAT(call(*proxyOf(), "echo"), IsReply());
}

}  // namespace
