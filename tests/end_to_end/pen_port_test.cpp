// velsim's pen port as a user opens it.

#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/end_to_end/end_to_end_test.h"
#include "tests/processes/port_peer.h"
#include "vel/apps/local/velsim/exit_codes.h"

namespace end_to_end {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::size_t kMessageSize = 8;
constexpr char kFirstNumber[] = "\x27\x01\x35\x08\0\0\0\0";

class VelsimPenPortTest : public EndToEndTest {
 protected:
  std::string port() const { return folder() + "/pen"; }
  Finished velsimAt(const std::string& path) const {
    return run(options({VELSIM_PATH, "--pen-port", path}));
  }
  static bool isServed(const std::string& path) {
    return PortPeer::connectedTo(path).read(kMessageSize).size() == kMessageSize;
  }
};

TEST_F(VelsimPenPortTest, IsOpenWhenVelsimIsReadyAndGoneWhenItHasStopped) {
  for (const int signal : {SIGINT, SIGTERM}) {
    startVelsim({"--pen-port", port()});
    EXPECT_TRUE(velsimLogs("velsim: pen port at " + port() + "\n")) << velsimLog();
    EXPECT_EQ(PortPeer::connectedTo(port()).read(kMessageSize),
              std::string(kFirstNumber, kMessageSize));

    const Finished stopped = stopVelsim(signal);

    EXPECT_EQ(stopped.status, velsim::kExitStopped);
    EXPECT_THAT(stopped.out, IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(port()));
  }
}

TEST_F(VelsimPenPortTest, IsNotOpenedUnlessRequested) {
  startVelsim();

  EXPECT_THAT(stopVelsim(SIGTERM).err, Not(HasSubstr("pen port")));
}

TEST_F(VelsimPenPortTest, ReplacesTheSocketOfAServiceThatWasKilled) {
  startVelsim({"--pen-port", port()});
  killVelsim();
  EXPECT_TRUE(std::filesystem::is_socket(port()));

  startVelsim({"--pen-port", port()});

  EXPECT_TRUE(isServed(port()));
}

TEST_F(VelsimPenPortTest, ThatOfAnotherServiceStays) {
  startVelsim({"--pen-port", port()});

  const Finished second = velsimAt(port());

  EXPECT_EQ(second.status, velsim::kExitNotServing);
  EXPECT_THAT(second.out, IsEmpty());
  EXPECT_EQ(processes::withoutTimes(second.err),
            "velsim: cannot open the pen port: " + port() +
                ": another program listens there; choose another path\n");
  EXPECT_TRUE(isServed(port()));
}

TEST_F(VelsimPenPortTest, AFileThatIsNoSocketStays) {
  std::ofstream(port()) << "precious";

  const Finished failed = velsimAt(port());

  EXPECT_EQ(failed.status, velsim::kExitNotServing);
  EXPECT_THAT(failed.err, HasSubstr(": the file there is not a socket; "));
  EXPECT_EQ(std::filesystem::file_size(port()), 8u);
}

TEST_F(VelsimPenPortTest, CannotBeInAFolderThatIsNotThere) {
  const Finished failed = velsimAt(folder() + "/nosuch/pen");

  EXPECT_EQ(failed.status, velsim::kExitNotServing);
  EXPECT_EQ(processes::withoutTimes(failed.err), "velsim: cannot open the pen port: " + folder() +
                                                     "/nosuch/pen: No such file or directory\n");
}

TEST_F(VelsimPenPortTest, APathThatNoSocketCanHaveIsBadUsage) {
  const Finished tooLong = velsimAt(folder() + "/" + std::string(200, 'x'));
  const Finished empty = velsimAt("");

  EXPECT_EQ(tooLong.status, velsim::kExitUsage);
  EXPECT_THAT(tooLong.err, HasSubstr("x: the path of a socket has at most "));
  EXPECT_EQ(empty.status, velsim::kExitUsage);
  EXPECT_THAT(empty.err, HasSubstr("the path of the socket is empty; see velsim --help\n"));
}

TEST_F(VelsimPenPortTest, IsRemovedWhenTheNamedBusIsUnreachable) {
  bus().kill();

  const Finished failed = velsimAt(port());

  EXPECT_EQ(failed.status, velsim::kExitNotServing);
  EXPECT_THAT(failed.err, HasSubstr("velsim: cannot serve on " + bus().address()));
  EXPECT_FALSE(std::filesystem::exists(port()));
}

TEST_F(VelsimPenPortTest, ReportsBytesThatAreNoFrameAndClosesThatClientOnly) {
  startVelsim({"--pen-port", port()});
  PortPeer client = PortPeer::connectedTo(port());
  client.read(kMessageSize);

  client.write("hello");

  EXPECT_EQ(client.readAll(), "");
  EXPECT_TRUE(
      velsimLogs("velsim: pen 1: closed after 0 frames: no pen frame: length at offset 0 "
                 "of the frame is 0x6c6c6568, not 0xc2\n"))
      << velsimLog();
  EXPECT_TRUE(isServed(port()));
  EXPECT_EQ(velctl({"vm", "list"}).status, 0);
}

TEST_F(VelsimPenPortTest, IsSilentWhenVelsimIsQuiet) {
  startVelsim({"--quiet", "--pen-port", port()});
  PortPeer client = PortPeer::connectedTo(port());
  client.read(kMessageSize);

  client.write("hello");

  EXPECT_EQ(client.readAll(), "");
  EXPECT_THAT(stopVelsim(SIGTERM).err, Not(HasSubstr("pen 1")));
}

// A machine whose session bus is not there any more.
class PenPortWithoutBusTest : public EndToEndTest {
 protected:
  PenPortWithoutBusTest() { bus().kill(); }

  Process::Options withoutBus(const std::vector<std::string>& command) {
    Process::Options alone = options(command);
    alone.environment["QXBUS_ADDRESS"] = "";
    alone.environment["DBUS_SESSION_BUS_ADDRESS"] = bus().address();
    return alone;
  }
  std::string port() const { return folder() + "/pen"; }
};

TEST_F(PenPortWithoutBusTest, ARecordedStrokeArrives) {
  Process velsim(withoutBus({VELSIM_PATH, "--pen-port", port()}));
  ASSERT_TRUE(processes::isReady(velsim)) << velsim.err();

  const Finished replay =
      run(withoutBus({VELCTL_PATH, "pen", "replay", RECORDED_STROKE, "--port", port()}));

  EXPECT_EQ(replay.status, 0) << replay.err;
  // velsim may still have frames to read when the replay has sent them all.
  EXPECT_TRUE(comesTrue([&] {
    return velsim.err().find("velsim: pen 1: disconnected after ") != std::string::npos;
  }));
  const Finished stopped = velsim.end(SIGTERM);
  EXPECT_EQ(stopped.status, velsim::kExitStopped);
  EXPECT_THAT(stopped.err, HasSubstr("velsim: no connection to the bus at " + bus().address()));
  EXPECT_THAT(stopped.err, HasSubstr("velsim: ready at the pen port only, pid "));
  EXPECT_THAT(stopped.err, HasSubstr("velsim: frame 1  device 1  "));
}

TEST_F(PenPortWithoutBusTest, VelsimWithoutAPenPortDoesNotStart) {
  const Finished failed = run(withoutBus({VELSIM_PATH}));

  EXPECT_EQ(failed.status, velsim::kExitNotServing);
  EXPECT_THAT(failed.err,
              HasSubstr("velsim: cannot serve: no connection to the bus at " + bus().address()));
}

}  // namespace
}  // namespace end_to_end
