// Listeners at paths where another file exists, and sockets.

#include "base/unix_socket.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/temporary_directory.h"

namespace {

using base::Listener;
using base::Socket;
using testing::StartsWith;

class ListenerTest : public testing::Test {
 protected:
  // The reason why no listener is possible; empty when one is.
  static std::string obstacleAt(const std::string& path) {
    try {
      const Listener listener(path);
      return "";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }
  static int connectingTo(const std::string& path) {
    return base::connectTo(base::newSocket(), path);
  }
  // A socket without a listener.
  Socket boundSocket(int type = SOCK_STREAM) const {
    Socket socket(::socket(AF_UNIX, type, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    return socket;
  }

  TemporaryDirectory folder;
  const std::string path = folder / "port";
};

TEST_F(ListenerTest, NamesItsUserAndItsProcessToAClient) {
  const Listener listener(path);
  const Socket client = base::newSocket();
  ASSERT_EQ(base::connectTo(client, path), 0);

  const base::Peer peer = base::peerOf(client);

  EXPECT_EQ(peer.user, ::geteuid());
#if defined(__linux__) || defined(__APPLE__)
  EXPECT_EQ(peer.process, ::getpid());
#endif
}

TEST_F(ListenerTest, OfASocketWithoutAnOtherEndThereIsNoUser) {
  const base::Peer peer = base::peerOf(Socket());

  EXPECT_EQ(peer.user, std::nullopt);
  EXPECT_EQ(peer.process, std::nullopt);
}

TEST_F(ListenerTest, TakesClientsOneAfterTheOther) {
  const Listener listener(path);
  EXPECT_FALSE(listener.accept());
  const Socket first = base::newSocket();
  const Socket second = base::newSocket();

  EXPECT_EQ(base::connectTo(first, path), 0);
  EXPECT_EQ(base::connectTo(second, path), 0);

  EXPECT_TRUE(listener.accept());
  EXPECT_TRUE(listener.accept());
  EXPECT_FALSE(listener.accept());
}

TEST_F(ListenerTest, OnlyThisUserCanConnect) {
  const Listener listener(path);
  struct stat file = {};

  ASSERT_EQ(::stat(path.c_str(), &file), 0);

  EXPECT_EQ(file.st_mode & 0777u, 0600u);
}

TEST_F(ListenerTest, RemovesItsSocket) {
  { const Listener listener(path); }

  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(connectingTo(path), ENOENT);
}

TEST_F(ListenerTest, LeavesAFileThatHasReplacedTheSocket) {
  {
    const Listener listener(path);
    std::filesystem::rename(path, path + ".old");
    std::ofstream(path) << "a file";
  }

  EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST_F(ListenerTest, ReplacesASocketWithoutAListener) {
  // As after a program that was killed.
  boundSocket();
  EXPECT_EQ(connectingTo(path), ECONNREFUSED);

  const Listener listener(path);

  EXPECT_EQ(connectingTo(path), 0);
}

TEST_F(ListenerTest, LeavesTheSocketOfAnotherListener) {
  const Listener other(path);

  EXPECT_EQ(obstacleAt(path), path + ": another program listens there; choose another path");

  EXPECT_EQ(connectingTo(path), 0);
}

TEST_F(ListenerTest, LeavesAListenerWithAFullQueue) {
  const Socket busy = boundSocket();
  ASSERT_EQ(::listen(busy.number(), 0), 0);
  const Socket first = base::newSocket();
  ASSERT_EQ(base::connectTo(first, path), 0);
#ifdef __linux__
  // Other systems report a full queue as they report a missing listener.
  EXPECT_THAT(obstacleAt(path), StartsWith(path + ": another program listens there"));
  EXPECT_TRUE(std::filesystem::is_socket(path));
#endif
}

TEST_F(ListenerTest, LeavesSocketsOfAnotherKind) {
  const Socket datagrams = boundSocket(SOCK_DGRAM);

  EXPECT_THAT(obstacleAt(path), StartsWith(path + ": there is a socket already ("));

  EXPECT_TRUE(std::filesystem::is_socket(path));
}

TEST_F(ListenerTest, LeavesOtherFiles) {
  const std::string file = folder / "file";
  const std::string directory = folder / "directory";
  const std::string link = folder / "link";
  std::ofstream(file) << "text";
  std::filesystem::create_directory(directory);
  std::filesystem::create_symlink(folder / "nowhere", link);

  for (const std::string& each : {file, directory, link}) {
    EXPECT_EQ(obstacleAt(each), each +
                                    ": the file there is not a socket; choose another path, or "
                                    "remove the file");
  }

  EXPECT_EQ(std::filesystem::file_size(file), 4u);
  EXPECT_TRUE(std::filesystem::is_directory(directory));
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST_F(ListenerTest, NeedsAnExistingFolder) {
  const std::string nowhere = folder / "nosuch" / "port";

  EXPECT_EQ(obstacleAt(nowhere), nowhere + ": No such file or directory");
}

TEST_F(ListenerTest, NeedsAPathThatFits) {
  constexpr std::size_t kMost = sizeof(sockaddr_un::sun_path) - 1;
  const std::string start = folder.path().string() + "/";
  const std::string longest = start + std::string(kMost - start.size(), 'x');

  EXPECT_EQ(obstacleAt(longest), "");
  EXPECT_EQ(base::pathFault(longest), "");
  EXPECT_EQ(obstacleAt(longest + "x"), longest + "x: the path of a socket has at most " +
                                           std::to_string(kMost) + " bytes, not " +
                                           std::to_string(kMost + 1));
  EXPECT_EQ(connectingTo(longest + "x"), ENAMETOOLONG);
  EXPECT_EQ(base::pathFault(""), "the path of the socket is empty");
}

TEST(PortSocketTest, SendingToAClosedSocketFailsWithoutASignal) {
  const TemporaryDirectory folder;
  const Listener listener(folder / "port");
  const Socket client = base::newSocket();
  ASSERT_EQ(base::connectTo(client, folder / "port"), 0);
  listener.accept();
  const unsigned char byte = 0;

  EXPECT_EQ(base::sendSome(client, &byte, 1), -1);

  EXPECT_EQ(errno, EPIPE);
}

}  // namespace
