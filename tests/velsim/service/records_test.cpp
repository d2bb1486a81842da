// The bytes of every record, at the places where clients look.

#include "vel/apps/local/velsim/service/records.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "tests/velsim/service/simulated_service.h"
#include "vel/apps/local/velsim/machine/joysticks.h"
#include "vel/apps/local/velsim/machine/policies.h"

namespace velsim {
namespace {

using qxbus::Bytes;

template <typename Number>
Number numberAt(const qxbus::Bytes& record, std::size_t offset) {
  Number number = 0;
  EXPECT_LE(offset + sizeof number, record.size());
  if (offset + sizeof number <= record.size()) {
    std::memcpy(&number, &record[offset], sizeof number);
  }
  return number;
}

// Up to the first NUL, which must be there.
std::string textAt(const Bytes& record, std::size_t offset) {
  const auto begin = record.begin() + static_cast<std::ptrdiff_t>(std::min(offset, record.size()));
  const auto end = std::find(begin, record.end(), 0);
  EXPECT_NE(end, record.end()) << "no NUL";
  return std::string(begin, end);
}

// Expects zeros outside these places, each with offset and size.
void expectZeroElsewhere(Bytes record, const std::vector<std::pair<int, int>>& places) {
  for (const auto& [offset, size] : places) {
    std::fill_n(record.begin() + offset, size, static_cast<unsigned char>(0));
  }
  EXPECT_EQ(record, Bytes(record.size()));
}

Device someDevice() {
  Device device;
  device.number = 0xFFFE;
  device.type = DeviceType::kCamera;
  device.sourceId = 0x0102030405060708;
  device.vid = 0xABCD;
  device.pid = 0x1234;
  device.name = "Front camera";
  device.policy = -2;
  device.policyText = "by hand";
  device.status = DeviceStatus::kAttached;
  device.vm = 0x80000001;
  device.isMounted = true;
  return device;
}

TEST(RecordsTest, ADeviceIs936Bytes) {
  const Bytes record = recordOf(someDevice());

  ASSERT_EQ(record.size(), 936u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 0), 0xFFFE);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 2), 1);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 8), 2);
  EXPECT_EQ(numberAt<std::int16_t>(record, 10), -2);
  EXPECT_EQ(numberAt<std::uint64_t>(record, 12), 0x0102030405060708u);
  EXPECT_EQ(numberAt<std::uint32_t>(record, 20), 0x80000001u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 24), 0xABCD);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 26), 0x1234);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 28), 2);
  EXPECT_EQ(textAt(record, 296), "Front camera");
  EXPECT_EQ(textAt(record, 424), "by hand");
  expectZeroElsewhere(record,
                      {{0, 2}, {2, 2}, {8, 4}, {12, 8}, {20, 4}, {24, 6}, {296, 12}, {424, 7}});
}

TEST(RecordsTest, NumbersAreLittleEndian) {
  const Bytes record = recordOf(someDevice());

  EXPECT_EQ(Bytes(record.begin() + 12, record.begin() + 20), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST(RecordsTest, TextsThatAreTooLongAreCutAndEnd) {
  Device named = someDevice();
  named.name = std::string(500, 'n');
  named.policyText = std::string(500, 'p');

  const Bytes record = recordOf(named);

  EXPECT_EQ(textAt(record, 296), std::string(127, 'n'));
  EXPECT_EQ(textAt(record, 424), std::string(255, 'p'));
  EXPECT_EQ(numberAt<std::uint64_t>(record, 680), 0u);
}

TEST(RecordsTest, ATextIsCutBetweenCharacters) {
  Device named = someDevice();
  const std::string before(126, 'n');
  named.name = before + "\xC3\xA9tude";  // the second byte of the letter would be the 128th

  EXPECT_EQ(textAt(recordOf(named), 296), before);

  named.name = std::string(125, 'n') + "\xC3\xA9tude";
  EXPECT_EQ(textAt(recordOf(named), 296), std::string(125, 'n') + "\xC3\xA9");
}

TEST(RecordsTest, APrinterIs144Bytes) {
  Printer printer;
  printer.number = 0xFFFD;
  printer.name = "Office laser";
  printer.status = DeviceStatus::kAttached;
  printer.vm = 101;

  const Bytes record = recordOf(printer);

  ASSERT_EQ(record.size(), 144u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 0), 0xFFFD);
  EXPECT_EQ(numberAt<std::int32_t>(record, 8), 101);
  EXPECT_EQ(numberAt<std::int32_t>(record, 12), 2);
  EXPECT_EQ(textAt(record, 16), "Office laser");
  expectZeroElsewhere(record, {{0, 2}, {8, 8}, {16, 12}});
}

TEST(RecordsTest, ANetworkPrinterIsADeviceWithItsAddress) {
  Printer printer;
  printer.number = 31;
  printer.sourceId = 0x0102030405060708;
  printer.name = "Hall";
  printer.vm = 101;
  printer.address = "10.0.0.5";

  const Bytes record = deviceRecordOf(printer);

  ASSERT_EQ(record.size(), 936u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 0), 31);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 8), 1);
  EXPECT_EQ(numberAt<std::uint64_t>(record, 12), 0x0102030405060708u);
  EXPECT_EQ(numberAt<std::uint32_t>(record, 20), 101u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 28), 7);
  EXPECT_EQ(textAt(record, 296), "Hall");
  EXPECT_EQ(textAt(record, 424), "10.0.0.5");
  expectZeroElsewhere(record, {{0, 2}, {8, 2}, {12, 12}, {28, 2}, {296, 4}, {424, 8}});
}

TEST(RecordsTest, ANewDeviceResultIs340Bytes) {
  const Device plugged = someDevice();

  const Bytes well =
      recordOf(NewDeviceResult{NewDeviceRequest::kAttach, plugged, plugged.sourceId, Status::kOk});
  const Bytes badly =
      recordOf(NewDeviceResult{NewDeviceRequest::kAttach, std::nullopt, 7, Status::kUnknownDevice});

  ASSERT_EQ(well.size(), 340u);
  EXPECT_EQ(numberAt<std::uint16_t>(well, 0), 0xABCD);
  EXPECT_EQ(numberAt<std::uint16_t>(well, 2), 0x1234);
  EXPECT_EQ(numberAt<std::uint64_t>(well, 4), 0x0102030405060708u);
  EXPECT_EQ(numberAt<std::uint16_t>(well, 18), 1);
  EXPECT_EQ(textAt(well, 20), "Front camera");
  EXPECT_EQ(textAt(well, 276), "ok");
  expectZeroElsewhere(well, {{0, 12}, {18, 2}, {20, 12}, {276, 2}});

  ASSERT_EQ(badly.size(), 340u);
  EXPECT_EQ(numberAt<std::uint64_t>(badly, 4), 7u);
  EXPECT_EQ(numberAt<std::uint16_t>(badly, 18), 0);
  EXPECT_EQ(textAt(badly, 276), "unknown-device");
  expectZeroElsewhere(badly, {{4, 8}, {276, 14}});
}

TEST(RecordsTest, ADiagnosisEndsWithItsText) {
  const Bytes record =
      recordOf(DiagnosisStep{0x0102030405060708, DiagnosisStatus::kFault, "it broke"}, 101);

  ASSERT_EQ(record.size(), 25u);
  EXPECT_EQ(numberAt<std::uint64_t>(record, 0), 0x0102030405060708u);
  EXPECT_EQ(numberAt<std::uint32_t>(record, 8), 2u);
  EXPECT_EQ(numberAt<std::uint32_t>(record, 12), 101u);
  EXPECT_EQ(textAt(record, 16), "it broke");
}

TEST(RecordsTest, AnAnswerToACommandIsItsText) {
  EXPECT_EQ(recordOf(CommandAnswer{"{}"}), (Bytes{'{', '}', 0}));
}

TEST(RecordsTest, APolicyIs268Bytes) {
  VidPidPolicy policy;
  policy.id = {0xABCD, 0x1234};
  policy.deviceType = 2;
  policy.builtInProperty = 30;

  EXPECT_EQ(numberAt<std::uint16_t>(recordOf(policy), 6), 0);
  EXPECT_EQ(numberAt<std::int32_t>(recordOf(policy), 8), 30);

  policy.property = -5;
  policy.turboText = "fast";
  const Bytes record = recordOf(policy);

  ASSERT_EQ(record.size(), 268u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 0), 0xABCD);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 2), 0x1234);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 4), 2);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 6), 3);
  EXPECT_EQ(numberAt<std::int32_t>(record, 8), -5);
  EXPECT_EQ(textAt(record, 12), "fast");
}

TEST(RecordsTest, AJoystickIs138BytesAndAMapping130) {
  const Joystick joystick = {0xABCD, 0x1234, "Wheel", 2, true};

  const Bytes record = recordOf(3, joystick);
  const Bytes mapping = joystickMappingRecord(4, "Flight");

  ASSERT_EQ(record.size(), 138u);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 0), 3);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 2), 0xABCD);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 4), 0x1234);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 6), 2);
  EXPECT_EQ(numberAt<std::uint16_t>(record, 8), 1);
  EXPECT_EQ(textAt(record, 10), "Wheel");
  ASSERT_EQ(mapping.size(), 130u);
  EXPECT_EQ(numberAt<std::uint16_t>(mapping, 0), 4);
  EXPECT_EQ(textAt(mapping, 2), "Flight");
}

TEST(RecordsTest, EveryStatusHasANameOfItsOwn) {
  std::map<std::string, int> statuses;
  for (int status = 0; status <= static_cast<int>(Status::kFull); ++status) {
    const std::string name(nameOf(static_cast<Status>(status)));
    EXPECT_NE(name, "") << status;
    EXPECT_TRUE(statuses.emplace(name, status).second) << name;
  }
}

}  // namespace
}  // namespace velsim
