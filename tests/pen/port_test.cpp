// Frames on the pen's port: PortInit, PortStatus, PortData and SendPenData.

#include <atomic>
#include <limits>
#include <stdexcept>
#include <thread>

#include "tests/pen/pen_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kGivesDevice5[] = "27 05 35 08 00 00 00 00";

const char kPortFormat[] = "name: %s, opened: %d";
const char kDataFormat[] = "magic:0x%.2x,cmd:%d,devId:%d,reqId:%d";
const char kSentFormat[] =
    "size:%d, devId:%d,cmd: %d, reqId:%d,type:%d,pressure:%f,x:%d,y:%d, posx:%d, posy:%d";

// --- Whole frames -------------------------------------------------------------------------------

struct Stroke {
  const char* name;
  QEvent::Type type;
  bool isDown;        // whether the pen was pressed before
  const char* flags;  // as on the wire
};

class FrameTest : public PenTest, public testing::WithParamInterface<Stroke> {};

TEST_P(FrameTest, HasEveryByteAtItsOffset) {
  connectPen();
  send(GetParam().isDown ? QEvent::TabletPress : QEvent::TabletRelease);
  Pen pen;
  pen.x = 320.5;
  pen.y = 200.4;
  pen.pressure = 0.25;
  pen.rotation = 45;
  pen.xTilt = -30;
  pen.yTilt = 15;

  EXPECT_EQ(send(pen, GetParam().type), 0);

  EXPECT_EQ(lastFrame(), fromHex("C2000000"
                                 "27 05 D007 02000000 C2000000 00000000"
                                 "FF 00"
                                 "03000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000" +
                                 std::string(GetParam().flags) +
                                 "00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "41010000 C8000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "00000000 00000000"
                                 "0F000000 00000000"
                                 "00010000 00000000"
                                 "00B40000 00000000"
                                 "E2FFFFFF 00000000"
                                 "0F000000 00000000"));
}

INSTANTIATE_TEST_SUITE_P(
    OfA, FrameTest,
    testing::Values(Stroke{"Press", QEvent::TabletPress, false, "03600200"},
                    Stroke{"SecondPress", QEvent::TabletPress, true, "03600200"},
                    Stroke{"Move", QEvent::TabletMove, true, "16600200"},
                    Stroke{"Hover", QEvent::TabletMove, false, "02600200"},
                    Stroke{"Release", QEvent::TabletRelease, true, "02600200"},
                    Stroke{"SecondRelease", QEvent::TabletRelease, false, "02600200"},
                    Stroke{"Coming", QEvent::TabletEnterProximity, false, "AB000000"},
                    Stroke{"Going", QEvent::TabletLeaveProximity, false, "AC000000"},
                    Stroke{"GoingWhilePressed", QEvent::TabletLeaveProximity, true, "AC000000"},
                    Stroke{"TrackingChange", QEvent::TabletTrackingChange, true, "DB000000"}),
    [](const testing::TestParamInfo<Stroke>& row) { return row.param.name; });

using PortTest = PenTest;

TEST_F(PortTest, ReceivesItsNameAndAWholeFrame) {
  announce("x.space.port.2.y");
  deliver(kGivesDevice5);

  send(QEvent::TabletMove);

  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(written[0].port, "x.space.port.2.y");
  EXPECT_EQ(written[0].bytes.size(), kFrameSize);
  EXPECT_EQ(hexAt(written[0].bytes, 0, 5), "c200000027");
}

TEST_F(PortTest, ReceivesAPortHeaderBehindTheLength) {
  connectPen();
  send(QEvent::TabletMove);
  send(QEvent::TabletMove);

  const Bytes frame = lastFrame();

  ASSERT_EQ(frame.size(), kFrameSize);
  PortHeader header = {};
  std::memcpy(&header, &frame[4], sizeof header);
  EXPECT_EQ(int{header.magic}, 0x27);
  EXPECT_EQ(int{header.devId}, 5);
  EXPECT_EQ(int{header.cmd}, 2000);
  EXPECT_EQ(std::uint32_t{header.reqId}, 2u);
  EXPECT_EQ(std::uint32_t{header.size}, 194u);
  EXPECT_EQ(std::uint32_t{header.reserved}, 0u);
}

TEST_F(PortTest, MayWriteOneByteBehindTheFrame) {
  // Writers that end the bytes with a NUL have room for it.
  proxy.PortInit(kPenPort, true, [](const std::string&, unsigned int length, unsigned char* bytes) {
    bytes[length] = '!';
    return 0u;
  });
  deliver(kGivesDevice5);

  EXPECT_EQ(send(QEvent::TabletMove), 0);
}

TEST_F(PortTest, IgnoresTheResultOfTheWriter) {
  unsigned int calls = 0;
  proxy.PortInit(kPenPort, true, [&calls](const std::string&, unsigned int, unsigned char*) {
    ++calls;
    return std::numeric_limits<unsigned int>::max();
  });
  deliver(kGivesDevice5);

  EXPECT_EQ(send(QEvent::TabletMove), 0);
  EXPECT_EQ(send(QEvent::TabletMove), 0);

  EXPECT_EQ(calls, 2u);
}

TEST_F(PortTest, LetsNoExceptionOfTheWriterOut) {
  for (const bool isStandard : {true, false}) {
    proxy.PortInit(kPenPort, true,
                   [isStandard](const std::string&, unsigned int, unsigned char*) -> unsigned int {
                     if (isStandard) {
                       throw std::runtime_error("full");
                     }
                     throw 17;
                   });
    deliver(kGivesDevice5);
    int status = 0;

    EXPECT_NO_THROW(status = send(QEvent::TabletMove));

    EXPECT_EQ(status, -1);
  }
  announce();
  EXPECT_EQ(send(QEvent::TabletMove), 0);
  EXPECT_EQ(written.size(), 1u) << "the next frame is sent";
}

TEST_F(PortTest, SendsThePositionThatIsGiven) {
  connectPen();

  send(penAt(3, 4), QEvent::TabletMove, 100, -2);

  EXPECT_EQ(hexAt(lastFrame(), kPacketInFrame + 50, 8), "64000000feffffff");
}

TEST_F(PortTest, UsesNoBus) {
  connectPen();
  send(QEvent::TabletPress);
  proxy.PortStatus(kPenPort, false);

  EXPECT_THAT(bus.madeMessages(), IsEmpty());
  EXPECT_THAT(timeline.startingWith("initSync"), IsEmpty());
  EXPECT_EQ(bus.liveInterfaces(), 0);
}

// --- Flags of a stroke --------------------------------------------------------------------------

TEST_F(PortTest, SendsTheFlagsOfAStroke) {
  connectPen();
  std::vector<std::uint32_t> flags;
  for (const QEvent::Type type : {QEvent::TabletPress, QEvent::TabletMove, QEvent::TabletMove,
                                  QEvent::TabletRelease, QEvent::TabletMove}) {
    send(type);
    flags.push_back(lastFlags());
  }

  EXPECT_THAT(flags, ElementsAre(kPressed, kDrawing, kDrawing, kHovering, kHovering));
}

TEST_F(PortTest, OtherEventsDoNotPressOrReleaseThePen) {
  connectPen();

  send(QEvent::TabletEnterProximity);
  send(QEvent::TabletMove);
  EXPECT_EQ(lastFlags(), kHovering);

  send(QEvent::TabletPress);
  send(QEvent::TabletLeaveProximity);
  send(QEvent::TabletMove);
  EXPECT_EQ(lastFlags(), kDrawing);
}

TEST_F(PortTest, KnowsThatThePenIsDownFromEventsThatWereNotSent) {
  send(QEvent::TabletPress);
  connectPen();

  send(QEvent::TabletMove);

  EXPECT_EQ(lastFlags(), kDrawing);
}

TEST_F(PortTest, MakesThePacketEvenWhenNothingIsSent) {
  QTabletEvent before = penAt(1, 1).event();
  const unsigned char* const packet = qx::serialize(&before, 0, kOwnPosition, kOwnPosition);

  EXPECT_EQ(send(penAt(77, 88), QEvent::TabletPress), 0);

  const Bytes made = bytesOf(packet, kPacketSize);
  EXPECT_THAT(written, IsEmpty());
  EXPECT_EQ(numberAt(made, 26), kPressed);
  EXPECT_EQ(numberAt(made, 50), 77u);
  EXPECT_EQ(numberAt(made, 54), 88u);
}

TEST_F(PortTest, OtherKindsOfInputChangeNothing) {
  connectPen();
  send(penAt(1, 2), QEvent::TabletMove);
  QTabletEvent before = penAt(5, 6).event();
  const unsigned char* const packet = qx::serialize(&before, 7, kOwnPosition, kOwnPosition);
  const Bytes expected = bytesOf(packet, kPacketSize);
  QTabletEvent press = penAt(9, 9).event(QEvent::TabletPress);
  for (const int type :
       {1, 2, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    forget();

    EXPECT_EQ(proxy.SendPenData("win11", &press, type, kOwnPosition, kOwnPosition), -1);

    EXPECT_EQ(bytesOf(packet, kPacketSize), expected);
    EXPECT_THAT(log.summaries(),
                ElementsAre(debugLine("SendPenData", "type: %d", "type: " + std::to_string(type))));
  }
  EXPECT_EQ(written.size(), 1u);
  send(QEvent::TabletMove);
  EXPECT_EQ(lastFlags(), kHovering);
  EXPECT_EQ(lastRequest(), 2u);
}

TEST_F(PortTest, DoesNotReadTheEventOfAnotherKindOfInput) {
  unsigned char notAnEvent = 0;

  EXPECT_EQ(proxy.SendPenData("", &notAnEvent, 1, 0, 0), -1);
  EXPECT_EQ(proxy.SendPenData("", nullptr, 1, 0, 0), -1);

  EXPECT_EQ(log.summaries().size(), 2u);
}

TEST_F(PortTest, RefusesANullEvent) {
  connectPen();
  send(QEvent::TabletPress);

  EXPECT_EQ(proxy.SendPenData("win11", nullptr, 0, 1, 1), -1);

  EXPECT_EQ(written.size(), 1u);
  send(QEvent::TabletMove);
  EXPECT_EQ(lastFlags(), kDrawing);
  EXPECT_EQ(lastRequest(), 2u);
}

// --- When nothing is sent -----------------------------------------------------------------------

TEST_F(PortTest, SendsNothingBeforeItIsAnnounced) {
  deliver(kGivesDevice5);
  proxy.PortStatus(kPenPort, true);
  forget();

  EXPECT_EQ(send(QEvent::TabletPress), 0);

  EXPECT_THAT(log.summaries(), IsEmpty());
}

TEST_F(PortTest, SendsNothingBeforeThePenHasADeviceNumber) {
  announce();
  forget();

  EXPECT_EQ(send(QEvent::TabletPress), 0);
  EXPECT_THAT(written, IsEmpty());
  EXPECT_THAT(log.summaries(), IsEmpty());

  deliver(kGivesDevice5);
  EXPECT_EQ(send(QEvent::TabletMove), 0);
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(lastFrame()[5], 5);
  EXPECT_EQ(lastRequest(), 1u);
}

TEST_F(PortTest, SendsNothingWithoutAWriter) {
  deliver(kGivesDevice5);
  proxy.PortInit(kPenPort, true, nullptr);
  forget();

  EXPECT_EQ(send(QEvent::TabletPress), 0);

  EXPECT_THAT(log.summaries(), IsEmpty());
}

TEST_F(PortTest, SendsNothingWhenItIsAnnouncedAsClosed) {
  deliver(kGivesDevice5);
  announce(kPenPort, false);

  EXPECT_EQ(send(QEvent::TabletPress), 0);
  EXPECT_THAT(written, IsEmpty());

  proxy.PortStatus(kPenPort, true);
  send(QEvent::TabletMove);
  EXPECT_EQ(lastRequest(), 1u);
}

TEST_F(PortTest, ContinuesCountingWhenItIsOpenedAgain) {
  connectPen();
  send(QEvent::TabletMove);
  send(QEvent::TabletMove);

  proxy.PortStatus(kPenPort, false);
  forget();
  EXPECT_EQ(send(QEvent::TabletMove), 0);
  EXPECT_EQ(written.size(), 2u);
  EXPECT_THAT(log.summaries(), IsEmpty());

  proxy.PortStatus(kPenPort, true);
  send(QEvent::TabletMove);
  ASSERT_EQ(written.size(), 3u);
  EXPECT_EQ(lastRequest(), 3u);
  EXPECT_EQ(lastFrame()[5], 5);
}

TEST_F(PortTest, IsOpenedAndClosedUnderAnyNameOfAPenPort) {
  connectPen();

  proxy.PortStatus("another.space.port.2", false);
  send(QEvent::TabletMove);
  EXPECT_THAT(written, IsEmpty());

  proxy.PortStatus("space.port.2", true);
  send(QEvent::TabletMove);
  EXPECT_EQ(written.size(), 1u);
  EXPECT_EQ(written[0].port, kPenPort);
}

TEST_F(PortTest, IgnoresTheStateOfAnotherPort) {
  connectPen();

  for (const char* const other : {"", "space.port.1", "space.port", "space.port.", "port.2"}) {
    proxy.PortStatus(other, false);
  }
  send(QEvent::TabletMove);

  EXPECT_EQ(written.size(), 1u);
}

// --- Names --------------------------------------------------------------------------------------

struct Name {
  std::string name;
  bool isPen;
  const char* logged;
};

class NameTest : public PenTest, public testing::WithParamInterface<Name> {};

TEST_P(NameTest, DecidesWhetherThePortIsThePens) {
  deliver(kGivesDevice5);
  announce(GetParam().name);

  send(QEvent::TabletMove);

  EXPECT_EQ(written.size(), GetParam().isPen ? 1u : 0u);
  EXPECT_EQ(written.empty() ? "" : written[0].port, GetParam().isPen ? GetParam().name : "");
}

TEST_P(NameTest, IsLoggedFromSpacePortOn) {
  announce(GetParam().name, true);
  announce(GetParam().name, false);
  proxy.PortStatus(GetParam().name, true);
  proxy.PortStatus(GetParam().name, false);

  const std::string start = std::string("name: ") + GetParam().logged;
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("PortInit", kPortFormat, start + ", opened: 1"),
                          debugLine("PortInit", kPortFormat, start + ", opened: 0"),
                          debugLine("PortStatus", kPortFormat, start + ", opened: 1"),
                          debugLine("PortStatus", kPortFormat, start + ", opened: 0")));
}

INSTANTIATE_TEST_SUITE_P(
    Names, NameTest,
    testing::Values(
        Name{"space.port.2", true, "space.port.2"},
        Name{"client.space.port.2", true, "space.port.2"},
        Name{"x.space.port.2.y", true, "space.port.2.y"},
        Name{"space.port.20", true, "space.port.20"},
        Name{"space.port.1,space.port.2", true, "space.port.1,space.port.2"},
        Name{"space.port", false, "space.port"}, Name{"a.space.port.", false, "space.port."},
        Name{"space.port.1", false, "space.port.1"}, Name{"space.port.12", false, "space.port.12"},
        Name{"space.port,2", false, "space.port,2"}, Name{"Space.Port.2", false, "(null)"},
        Name{"space.por", false, "(null)"}, Name{"", false, "(null)"},
        Name{std::string("a\0b.space.port.2", 16), true, "space.port.2"}));

// --- Announcing again ---------------------------------------------------------------------------

TEST_F(PortTest, CountsFromOneWhenItIsAnnouncedAgain) {
  connectPen();
  send(QEvent::TabletMove);
  send(QEvent::TabletMove);

  announce("again.space.port.2");
  send(QEvent::TabletMove);

  EXPECT_EQ(lastRequest(), 1u);
  EXPECT_EQ(written.back().port, "again.space.port.2");
}

TEST_F(PortTest, KeepsDeviceNumberAndPressureOfThePenWhenItIsAnnouncedAgain) {
  connectPen();
  send(QEvent::TabletPress);

  announce();
  send(QEvent::TabletMove);

  EXPECT_EQ(lastFrame()[5], 5);
  EXPECT_EQ(lastFlags(), kDrawing);
}

TEST_F(PortTest, StaysWhenAnotherPortIsAnnounced) {
  connectPen();
  send(QEvent::TabletMove);

  proxy.PortInit("space.port.1", false, nullptr);
  send(QEvent::TabletMove);

  EXPECT_EQ(lastRequest(), 2u);
}

// A writer that lives as long as a token.
PortWriter writerWith(std::shared_ptr<int> token) {
  return [token = std::move(token)](const std::string&, unsigned int, unsigned char*) {
    return static_cast<unsigned int>(*token);
  };
}

TEST_F(PortTest, ReleasesTheWriterThatIsReplaced) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = token;
  proxy.PortInit(kPenPort, true, writerWith(std::move(token)));
  EXPECT_FALSE(watch.expired());

  proxy.PortInit("space.port.1", true, recorder());
  EXPECT_FALSE(watch.expired());

  announce();
  EXPECT_TRUE(watch.expired());
}

TEST_F(PortTest, DropsTheWriterOfAnotherPort) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = token;

  proxy.PortInit("space.port.1", true, writerWith(std::move(token)));

  EXPECT_TRUE(watch.expired());
}

TEST_F(PortTest, AWriterMayReplaceItself) {
  auto token = std::make_shared<std::string>("as long as the writer runs");
  const std::weak_ptr<std::string> watch = token;
  std::string inside;
  proxy.PortInit(kPenPort, true,
                 [this, &inside, token = std::move(token)](const std::string& port, unsigned int,
                                                           unsigned char* bytes) {
                   announce("next.space.port.2");
                   // The writer and the arguments of this call still exist.
                   inside = *token + ", " + port + ", " + std::to_string(bytes[8]);
                   return 0u;
                 });
  deliver(kGivesDevice5);
  forget();

  EXPECT_EQ(send(QEvent::TabletPress), 0);

  EXPECT_EQ(inside, std::string("as long as the writer runs, ") + kPenPort + ", 1");
  EXPECT_TRUE(watch.expired());
  EXPECT_THAT(log.summaries().back(), testing::HasSubstr("size:194, devId:5,cmd: 2000,"));
  EXPECT_THAT(written, IsEmpty());
  send(QEvent::TabletMove);
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(written[0].port, "next.space.port.2");
  EXPECT_EQ(lastRequest(), 1u);
  EXPECT_EQ(lastFlags(), kDrawing);
}

TEST_F(PortTest, AWriterMayRemoveItself) {
  int calls = 0;
  proxy.PortInit(kPenPort, true, [&](const std::string&, unsigned int, unsigned char*) {
    proxy.PortInit(kPenPort, true, nullptr);
    return static_cast<unsigned int>(++calls);
  });
  deliver(kGivesDevice5);

  EXPECT_EQ(send(QEvent::TabletMove), 0);
  EXPECT_EQ(send(QEvent::TabletMove), 0);

  EXPECT_EQ(calls, 1);
}

TEST_F(PortTest, AWriterMayCloseThePort) {
  int calls = 0;
  proxy.PortInit(kPenPort, true, [&](const std::string&, unsigned int, unsigned char*) {
    proxy.PortStatus(kPenPort, false);
    return static_cast<unsigned int>(++calls);
  });
  deliver(kGivesDevice5);

  send(QEvent::TabletMove);
  send(QEvent::TabletMove);

  EXPECT_EQ(calls, 1);
}

// --- The counter --------------------------------------------------------------------------------

TEST_F(PortTest, CountsTo65535AndThenFromZero) {
  std::uint32_t expected = 0;
  std::uint32_t wrong = 0;
  std::uint32_t last = 0;
  proxy.PortInit(kPenPort, true, [&](const std::string&, unsigned int, unsigned char* bytes) {
    expected = (expected + 1) % 65536;
    last = numberAt(bytesOf(bytes, kFrameSize), 8);
    wrong += last == expected ? 0 : 1;
    return 0u;
  });
  deliver(kGivesDevice5);
  QTabletEvent event = Pen().event();
  for (int frame = 1; frame <= 65536; ++frame) {
    proxy.SendPenData("", &event, 0, kOwnPosition, kOwnPosition);
    if (frame == 65535) {
      EXPECT_EQ(last, 65535u);
    }
    if (frame % 4096 == 0) {
      forget();  // The log keeps every line.
    }
  }

  EXPECT_EQ(last, 0u);
  EXPECT_EQ(wrong, 0u);
  proxy.SendPenData("", &event, 0, kOwnPosition, kOwnPosition);
  EXPECT_EQ(last, 1u);
}

// --- The device number --------------------------------------------------------------------------

TEST_F(PortTest, KeepsTheFirstDeviceNumber) {
  connectPen();

  deliver("27 09 35 08 00 00 00 00");
  deliver("27 09 00 00 00 00 00 00");

  EXPECT_THAT(log.summaries(), IsEmpty());
  send(QEvent::TabletMove);
  EXPECT_EQ(lastFrame()[5], 5);
}

TEST_F(PortTest, KeepsListeningAfterDeviceNumberZero) {
  announce();
  forget();

  deliver("27 00 35 08 00 00 00 00");
  send(QEvent::TabletMove);
  EXPECT_THAT(written, IsEmpty());

  deliver("27 FF 35 08 00 00 00 00");
  send(QEvent::TabletMove);
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(lastFrame()[5], 0xFF);
}

struct Message {
  const char* bytes;
  const char* logged;
  int devId;  // of the pen afterwards; 0: none
};

class MessageTest : public PenTest, public testing::WithParamInterface<Message> {};

TEST_P(MessageTest, IsLoggedAndGivesANumberOnlyWithItsCommand) {
  announce();
  forget();

  deliver(GetParam().bytes);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("PortData", kDataFormat, GetParam().logged)));
  send(QEvent::TabletMove);
  EXPECT_EQ(written.empty() ? 0 : lastFrame()[5], GetParam().devId);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, MessageTest,
    testing::Values(
        Message{"27 05 35 08 00 00 00 00", "magic:0x27,cmd:2101,devId:5,reqId:0", 5},
        Message{"27 01 35 08 78 56 34 12", "magic:0x27,cmd:2101,devId:1,reqId:305419896", 1},
        Message{"27 FF 35 08 FF FF FF FF", "magic:0x27,cmd:2101,devId:255,reqId:-1", 255},
        // The magic is not tested.
        Message{"00 07 35 08 00 00 00 00", "magic:0x00,cmd:2101,devId:7,reqId:0", 7},
        Message{"FF 07 35 08 00 00 00 00", "magic:0xff,cmd:2101,devId:7,reqId:0", 7},
        Message{"27 05 34 08 00 00 00 00", "magic:0x27,cmd:2100,devId:5,reqId:0", 0},
        Message{"27 05 36 08 01 00 00 00", "magic:0x27,cmd:2102,devId:5,reqId:1", 0},
        Message{"27 05 D0 07 00 00 00 00", "magic:0x27,cmd:2000,devId:5,reqId:0", 0},
        Message{"27 05 08 35 00 00 00 00", "magic:0x27,cmd:13576,devId:5,reqId:0", 0},
        Message{"27 05 FF FF 00 00 00 80", "magic:0x27,cmd:65535,devId:5,reqId:-2147483648", 0},
        Message{"27 00 35 08 00 00 00 00", "magic:0x27,cmd:2101,devId:0,reqId:0", 0}));

TEST_F(PortTest, TakesAMessageFromAnyPortWithAnyLength) {
  announce();
  // At an odd address, because a reader may put it anywhere.
  Bytes message = fromHex("EE 27 05 35 08 00 00 00 00");

  proxy.PortData("some.other.port", message.data() + 1, 0);

  send(QEvent::TabletMove);
  EXPECT_EQ(written.size(), 1u);
}

TEST_F(PortTest, TakesAMessageBeforeItIsAnnounced) {
  deliver(kGivesDevice5);

  announce();
  send(QEvent::TabletMove);

  EXPECT_EQ(written.size(), 1u);
}

TEST_F(PortTest, IgnoresANullMessage) {
  proxy.PortData(kPenPort, nullptr, 8);
  proxy.PortData(kPenPort, nullptr, 0);

  EXPECT_THAT(log.summaries(), IsEmpty());
}

TEST_F(PortTest, GivesEachProxyItsOwnNumber) {
  connectPen();
  qx::VelProxy other;
  other.PortInit(kPenPort, true, recorder());
  Bytes message = fromHex("27 06 35 08 00 00 00 00");
  QTabletEvent event = Pen().event(QEvent::TabletPress);

  other.SendPenData("", &event, 0, 0, 0);
  EXPECT_THAT(written, IsEmpty());

  other.PortData(kPenPort, message.data(), 8);
  other.SendPenData("", &event, 0, 0, 0);
  EXPECT_EQ(lastFrame()[5], 6);
  send(QEvent::TabletMove);
  EXPECT_EQ(lastFrame()[5], 5);
  EXPECT_EQ(lastFlags(), kHovering);
}

TEST_F(PortTest, TakesTheNumberFromAnotherThreadWhileItSends) {
  announce();
  std::atomic<bool> isSending{false};
  std::thread reader([&] {
    while (!isSending) {
      std::this_thread::yield();
    }
    deliver("27 05 34 08 00 00 00 00");
    deliver(kGivesDevice5);
    deliver("27 09 35 08 00 00 00 00");
  });
  // Until the number has arrived, or the time is up.
  const auto limit = std::chrono::steady_clock::now() + scripted::kLongEnough;
  while (written.empty() && std::chrono::steady_clock::now() < limit) {
    send(QEvent::TabletMove);
    isSending = true;
  }
  reader.join();

  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(lastFrame()[5], 5);
  EXPECT_EQ(lastRequest(), 1u);
}

// --- The log ------------------------------------------------------------------------------------

TEST_F(PortTest, LogsEachFrameAfterItIsWritten) {
  std::size_t linesInWriter = 99;
  proxy.PortInit(kPenPort, true, [&](const std::string&, unsigned int, unsigned char*) {
    linesInWriter = log.lines().size();
    return 0u;
  });
  deliver(kGivesDevice5);
  forget();
  Pen pen;
  pen.x = 10.5;
  pen.y = -10.6;
  pen.pressure = 0.123456789;

  send(pen, QEvent::TabletPress);

  EXPECT_EQ(linesInWriter, 0u);
  EXPECT_THAT(log.summaries(),
              ElementsAre(debugLine("SendPenData", kSentFormat,
                                    "size:194, devId:5,cmd: 2000, reqId:1,type:92,"
                                    "pressure:0.123457,x:11,y:-11, posx:11, posy:-11")));
}

TEST_F(PortTest, LogsTheEventsOwnPositionAndNotTheOneThatIsSent) {
  connectPen();

  send(penAt(3, 4), QEvent::TabletRelease, 100, 200);

  EXPECT_THAT(log.summaries(), ElementsAre(debugLine("SendPenData", kSentFormat,
                                                     "size:194, devId:5,cmd: 2000, reqId:1,type:93,"
                                                     "pressure:0.000000,x:3,y:4, posx:3, posy:4")));
}

TEST_F(PortTest, LogsTheNumberOfTheEventAndTheRequest) {
  connectPen();
  send(QEvent::TabletMove);

  send(penWithPressure(1), QEvent::TabletMove);
  send(QEvent::TabletLeaveProximity);

  EXPECT_EQ(log.summaries()[1], debugLine("SendPenData", kSentFormat,
                                          "size:194, devId:5,cmd: 2000, reqId:2,type:87,"
                                          "pressure:1.000000,x:0,y:0, posx:0, posy:0"));
  EXPECT_EQ(log.summaries()[2], debugLine("SendPenData", kSentFormat,
                                          "size:194, devId:5,cmd: 2000, reqId:3,type:172,"
                                          "pressure:0.000000,x:0,y:0, posx:0, posy:0"));
}

}  // namespace
