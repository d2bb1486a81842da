// The layouts against the structures that the header of the client library declares.

#include "vel/protocol/records.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/protocol/same_place.h"
#include "vel/apps/local/velproxy/records.h"

namespace velprotocol {
namespace {

TEST(RecordsTest, ADeviceHasItsFieldsWhereTheClientReadsThem) {
  EXPECT_SAME_PLACE(device::kNumber, CommonDevice, devNumber);
  EXPECT_SAME_PLACE(device::kStatus, CommonDevice, status);
  EXPECT_SAME_PLACE(device::kPolicy, CommonDevice, policy);
  EXPECT_SAME_PLACE(device::kVm, CommonDevice, vmId);
  EXPECT_SAME_PLACE(device::kName, CommonDevice, name);
  EXPECT_SAME_PLACE(device::kPolicyText, CommonDevice, policyText);
  EXPECT_SAME_LAST_PLACE(device::kVmIdText, CommonDevice, vmIdText);
}

TEST(RecordsTest, APrinterHasItsFieldsWhereTheClientReadsThem) {
  EXPECT_SAME_PLACE(printer::kNumber, PrinterDevice, devNum);
  EXPECT_SAME_PLACE(printer::kVm, PrinterDevice, vmId);
  EXPECT_SAME_PLACE(printer::kStatus, PrinterDevice, status);
  EXPECT_SAME_LAST_PLACE(printer::kName, PrinterDevice, name);
}

TEST(RecordsTest, ANewDeviceResultHasItsFieldsWhereTheClientReadsThem) {
  EXPECT_SAME_PLACE(new_device_result::kVid, _ConfigNewDeviceResult, vid);
  EXPECT_SAME_PLACE(new_device_result::kPid, _ConfigNewDeviceResult, pid);
  EXPECT_SAME_PLACE(new_device_result::kIsSuccess, _ConfigNewDeviceResult, isSuccess);
  EXPECT_SAME_PLACE(new_device_result::kName, _ConfigNewDeviceResult, name);
  EXPECT_SAME_LAST_PLACE(new_device_result::kCode, _ConfigNewDeviceResult, code);
}

TEST(RecordsTest, RecordsThatTheClientPassesOnUnreadHaveTheSizeOfItsStructures) {
  EXPECT_EQ(usb_identity::kLayout.size(), sizeof(UDevInfo));
  EXPECT_EQ(joystick::kLayout.size(), sizeof(JoystickDevice));
  EXPECT_EQ(joystick_mapping::kLayout.size(), sizeof(JoystickMapping));
  EXPECT_EQ(joystick_result::kLayout.size(), sizeof(_JoystickResult));
}

TEST(RecordsTest, NamesAreUnique) {
  std::set<std::string_view> names;
  for (const Layout* const record : kRecords) {
    EXPECT_TRUE(names.insert(record->name()).second) << record->name();
    EXPECT_EQ(findRecord(record->name()), record);
  }
  EXPECT_EQ(findRecord("Nothing"), nullptr);
}

TEST(LayoutTest, AGapOrAnOverlapIsFound) {
  static constexpr Field kGap[] = {TextField("a", 0, 4, FixedBy::kClient, ""),
                                   TextField("b", 5, 4, FixedBy::kClient, "")};
  static constexpr Field kOverlap[] = {TextField("a", 0, 4, FixedBy::kClient, ""),
                                       TextField("b", 3, 4, FixedBy::kClient, "")};
  static constexpr Field kOpenTooEarly[] = {TextField("a", 0, kToTheEnd, FixedBy::kClient, ""),
                                            TextField("b", 0, 4, FixedBy::kClient, "")};
  static constexpr Field kLateStart[] = {TextField("a", 1, 4, FixedBy::kClient, "")};

  EXPECT_FALSE(Layout("", "", BlockSize::kExact, "", kGap).isGapless());
  EXPECT_FALSE(Layout("", "", BlockSize::kExact, "", kOverlap).isGapless());
  EXPECT_FALSE(Layout("", "", BlockSize::kExact, "", kOpenTooEarly).isGapless());
  EXPECT_FALSE(Layout("", "", BlockSize::kExact, "", kLateStart).isGapless());
}

}  // namespace
}  // namespace velprotocol
