#include "vel/apps/local/velsim/pen_port.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/temporary_directory.h"
#include "tests/processes/port_peer.h"

namespace velsim {
namespace {

using processes::PortPeer;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr std::size_t kMessageSize = 8;

std::string number32(unsigned int value) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) {
    bytes += static_cast<char>(value >> 8 * i & 0xFF);
  }
  return bytes;
}

// A frame of a pen that hovers at 7, 9.
std::string frame(unsigned int reqId, unsigned int devId) {
  std::string slots[22];
  for (std::string& slot : slots) {
    slot = std::string(8, '\0');
  }
  slots[0].replace(0, 4, number32(3));
  slots[3].replace(0, 4, number32(0x26002));
  slots[6] = number32(7) + number32(9);
  slots[17].replace(0, 4, number32(15));
  std::string bytes = number32(194) + '\x27' + static_cast<char>(devId) + "\xD0\x07" +
                      number32(reqId) + number32(194) + number32(0) + '\xFF' + '\0';
  for (const std::string& slot : slots) {
    bytes += slot;
  }
  return bytes;
}

std::string lineOf(unsigned int reqId, unsigned int devId) {
  return "frame " + std::to_string(reqId) + "  device " + std::to_string(devId) +
         "  x 7  y 9  pressure 0/1024  rotation 0.0  tilt 0 0  INRANGE|PRIMARY|CONFIDENCE|UPDATE";
}

std::string messageWith(unsigned int devId) {
  return std::string("\x27") + static_cast<char>(devId) + "\x35\x08" + number32(0);
}

class PenPortTest : public ::testing::Test {
 protected:
  PenPortTest() { open(); }

  void open() {
    port_.emplace(path, [this](const std::string& line) {
      const std::lock_guard<std::mutex> lock(mutex_);
      lines_.push_back(line);
      changed_.notify_all();
    });
  }
  void close() { port_.reset(); }
  // The lines, as soon as there are so many.
  std::vector<std::string> lines(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(processes::kPatienceSeconds),
                      [&] { return lines_.size() >= count; });
    return lines_;
  }

  TemporaryDirectory folder;
  const std::string path = folder / "pen";

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  std::optional<PenPort> port_;
};

TEST_F(PenPortTest, GivesAClientItsDeviceNumberAndReportsItsFrames) {
  PortPeer client = PortPeer::connectedTo(path);
  EXPECT_EQ(client.read(kMessageSize), messageWith(1));

  client.write(frame(1, 1) + frame(2, 1));
  EXPECT_THAT(lines(3), ElementsAre("pen 1: connected", lineOf(1, 1), lineOf(2, 1)));
  client.close();

  EXPECT_EQ(lines(4).back(), "pen 1: disconnected after 2 frames");
}

TEST_F(PenPortTest, ReadsFramesThatComeInPortions) {
  PortPeer client = PortPeer::connectedTo(path);
  const std::string bytes = frame(1, 1) + frame(2, 1);

  for (std::size_t start = 0; start < bytes.size(); start += 30) {
    client.write(bytes.substr(start, 30));
  }

  EXPECT_THAT(lines(3), ElementsAre("pen 1: connected", lineOf(1, 1), lineOf(2, 1)));
}

TEST_F(PenPortTest, ServesSeveralClientsAtOnce) {
  PortPeer first = PortPeer::connectedTo(path);
  EXPECT_EQ(first.read(kMessageSize), messageWith(1));
  PortPeer second = PortPeer::connectedTo(path);
  EXPECT_EQ(second.read(kMessageSize), messageWith(2));

  second.write(frame(1, 2));
  lines(3);
  first.write(frame(1, 1));
  lines(4);
  second.close();

  EXPECT_THAT(lines(5), ElementsAre("pen 1: connected", "pen 2: connected", lineOf(1, 2),
                                    lineOf(1, 1), "pen 2: disconnected after 1 frame"));
}

TEST_F(PenPortTest, ReusesANumberOnlyAfterAllOthers) {
  for (unsigned int round = 0; round < 2; ++round) {
    for (unsigned int number = 1; number <= 255; ++number) {
      PortPeer client = PortPeer::connectedTo(path);
      ASSERT_EQ(client.read(kMessageSize), messageWith(number));
    }
  }
}

TEST_F(PenPortTest, AClientWaitsUntilANumberIsFree) {
  std::vector<PortPeer> clients;
  for (unsigned int number = 1; number <= 255; ++number) {
    clients.push_back(PortPeer::connectedTo(path));
    ASSERT_EQ(clients.back().read(kMessageSize), messageWith(number));
  }
  PortPeer late = PortPeer::connectedTo(path);

  clients[99].close();

  EXPECT_EQ(late.read(kMessageSize), messageWith(100));
  const std::vector<std::string> reported = lines(257);
  ASSERT_EQ(reported.size(), 257u);
  EXPECT_EQ(reported[255], "pen 100: disconnected after 0 frames");
  EXPECT_EQ(reported[256], "pen 100: connected");
}

TEST_F(PenPortTest, ClosesAClientThatSendsSomethingElseAndKeepsTheOthers) {
  PortPeer good = PortPeer::connectedTo(path);
  EXPECT_EQ(good.read(kMessageSize), messageWith(1));
  PortPeer bad = PortPeer::connectedTo(path);
  EXPECT_EQ(bad.read(kMessageSize), messageWith(2));
  std::string wrong = frame(2, 2);
  wrong[4] = '\x28';

  bad.write(frame(1, 2) + wrong + frame(3, 2));

  EXPECT_EQ(bad.readAll(), "");
  good.write(frame(1, 1));
  EXPECT_THAT(lines(5), ElementsAre("pen 1: connected", "pen 2: connected", lineOf(1, 2),
                                    "pen 2: closed after 1 frame: no pen frame: magic at "
                                    "offset 4 of the frame is 0x28, not 0x27",
                                    lineOf(1, 1)));
}

TEST_F(PenPortTest, ClosesAClientAtTheFirstBytesThatCannotBeginAFrame) {
  PortPeer client = PortPeer::connectedTo(path);
  EXPECT_EQ(client.read(kMessageSize), messageWith(1));

  client.write("GET ");

  EXPECT_EQ(client.readAll(), "");
  EXPECT_THAT(lines(2), ElementsAre("pen 1: connected",
                                    "pen 1: closed after 0 frames: no pen frame: length at "
                                    "offset 0 of the frame is 0x20544547, not 0xc2"));
}

TEST_F(PenPortTest, ReportsAClientThatDisconnectsInTheMiddleOfAFrame) {
  PortPeer client = PortPeer::connectedTo(path);
  EXPECT_EQ(client.read(kMessageSize), messageWith(1));

  client.write(frame(1, 1) + frame(2, 1).substr(0, 197));
  client.close();

  EXPECT_THAT(lines(3), ElementsAre("pen 1: connected", lineOf(1, 1),
                                    "pen 1: disconnected after 1 frame, in the middle of a frame"));
}

TEST_F(PenPortTest, AClientThatDoesNotReadDelaysNoOther) {
  for (int i = 0; i < 3; ++i) {
    PortPeer::connectedTo(path);
  }

  PortPeer client = PortPeer::connectedTo(path);

  EXPECT_EQ(client.read(kMessageSize), messageWith(4));
}

TEST_F(PenPortTest, ClosesItsClientsAndRemovesItsSocketAtItsEnd) {
  PortPeer client = PortPeer::connectedTo(path);
  EXPECT_EQ(client.read(kMessageSize), messageWith(1));

  close();

  EXPECT_EQ(client.readAll(), "");
  EXPECT_FALSE(std::filesystem::exists(path));
  open();
  EXPECT_EQ(PortPeer::connectedTo(path).read(kMessageSize), messageWith(1));
}

TEST_F(PenPortTest, CannotBeOpenedTwice) {
  try {
    const PenPort second(path, [](const std::string&) {});
    FAIL() << "it was opened";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), StartsWith(path + ": another program listens there"));
  }
}

}  // namespace
}  // namespace velsim
