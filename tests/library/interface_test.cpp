// The binary interface that clients are compiled against: the order of the virtual operations,
// their exact types (and so their mangled names), and where the fields of the records stand.
// Nothing here may ever change; what is new comes at the end.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "tests/library/proxy_test.h"
#include "tests/library/remote_operations.h"
#include "tests/library/slots.h"

namespace {

void expectInOrder(const std::vector<Slot>& slots) {
  for (const Slot& slot : slots) {
    EXPECT_EQ(slot.actual, slot.expected) << slot.signature;
  }
}

// --- qx::VelProxy -------------------------------------------------------------------------------

// The operations that have no row in tests/library/rows/, because they send no request of their
// own.
std::vector<Slot> localOperations() {
  return {
      SLOT(2, unsigned int, Init, ()),
      SLOT(4, void, ReleaseService, ()),
      SLOT(5, void, HandleEvent, (std::shared_ptr<QXBusMessage>)),
      SLOT(6, unsigned int, InitBroadcast, ()),
      SLOT(11, int, RegisterCallback, (std::string, int (*)(unsigned short, void*, void*), void*)),
      SLOT(12, int, UnregisterCallback, (std::string)),
      SLOT(14, int, RegisterPrinterCallback,
           (int (*)(unsigned short, PrinterDevice*, void*), void*)),
      SLOT(15, int, UnregisterPrinterCallback, ()),
      SLOT(16, void*, CheckPrinterCallback, ()),
      SLOT(30, int, FreeDeviceList, (std::list<CommonDevice*>)),
      SLOT(33, int, RegisterDeviceCallback, (int (*)(unsigned short, CommonDevice*, void*), void*)),
      SLOT(34, int, UnregisterDeviceCallback, (void*)),
      SLOT(35, int, UnregisterDeviceCallback, ()),
      SLOT(36, void*, CheckDeviceCallback, ()),
      SLOT(37, int, RegisterCmdCallback, (int (*)(unsigned short, CmdResponse*, void*), void*)),
      SLOT(41, int, ConnectUsbredir, (std::string, UDevInfo)),
      SLOT(42, void, onServiceDeath, ()),
      SLOT(43, int, SendPenData, (std::string, void*, int, int, int)),
      SLOT(44, void, PortInit,
           (const std::string&, bool,
            std::function<unsigned int(const std::string&, unsigned int, unsigned char*)>)),
      SLOT(45, void, PortStatus, (const std::string&, bool)),
      SLOT(46, void, PortData, (const std::string&, unsigned char*, unsigned int)),
      SLOT(47, std::list<CommonDevice*>, GetLocalDeviceList, ()),
      SLOT(50, std::string, GetVmIdString, (unsigned int)),
      SLOT(70, int, FreePolicyList, (std::list<CommonVidPidPolicy*>)),
      SLOT(85, int, RegisterConfigNewDevResultCallback,
           (int (*)(unsigned short, _ConfigNewDeviceResult*, void*), void*)),
      SLOT(86, int, UnregisterConfigNewDevResultCallback, (void*)),
      SLOT(87, int, UnregisterConfigNewDevResultCallback, ()),
      SLOT(92, int, DeviceBaseInfoNotify, (unsigned short, CommonDevice*)),
      SLOT(93, int, ConfigNewDeviceResultNotify, (unsigned short, _ConfigNewDeviceResult*)),
      SLOT(100, int, JoystickResultNotify, (unsigned short, _JoystickResult*)),
  };
}

}  // namespace

std::vector<Slot> operationsOfTheProxy() {
  std::vector<Slot> slots = localOperations();
  for (const RemoteOperation& operation : remoteOperations()) {
    slots.push_back(operation.slot());
  }
  std::sort(slots.begin(), slots.end(),
            [](const Slot& a, const Slot& b) { return a.expected < b.expected; });
  return slots;
}

namespace {

TEST(InterfaceTest, TheOperationsOfTheProxyStandInOrder) {
  expectInOrder(operationsOfTheProxy());
}

// One more virtual operation goes behind the last.
struct Longer : qx::VelProxy {
  virtual void next() {}
};

TEST(InterfaceTest, EverySlotOfTheProxyIsListedOnce) {
  // 0 and 1 are the two destructors.
  int expected = 2;
  for (const Slot& slot : operationsOfTheProxy()) {
    EXPECT_EQ(slot.expected, expected) << slot.signature;
    ++expected;
  }
  EXPECT_EQ(slotOf(&Longer::next), expected)
      << "an operation has no row: HeaderTest.DeclaresTheOperationsOfTheSlots names it";
}

// Clients are compiled against these 101 slots; those behind them are for the clients to come.
TEST(InterfaceTest, TheProxyHasAtLeast101Slots) {
  EXPECT_GE(slotOf(&Longer::next), 101);
}

TEST(InterfaceTest, TheOtherMembersOfTheProxyAreNotVirtual) {
  EXPECT_EQ(slotOf(static_cast<int (qx::VelProxy::*)(std::string, UDevInfo)>(
                &qx::VelProxy::DisconnectUsbredir)),
            -1);
  static_assert(std::is_same_v<decltype(&qx::VelProxy::getInstance), qx::VelProxy* (*)()>);
  static_assert(std::is_same_v<decltype(&qx::VelProxy::BroadcastCallback),
                               void (*)(std::shared_ptr<QXBusMessage>)>);
  static_assert(std::is_same_v<decltype(&qx::VelProxy::lastError), qx::VelError (*)()>);
  static_assert(std::has_virtual_destructor_v<qx::VelProxy>);
  static_assert(std::is_default_constructible_v<qx::VelProxy>);
  static_assert(!std::is_final_v<qx::VelProxy>);
}

TEST(InterfaceTest, TheObjectBeginsWithItsVirtualTable) {
  const qx::VelProxy proxy;
  void* first = nullptr;
  std::memcpy(&first, static_cast<const void*>(&proxy), sizeof first);

  EXPECT_NE(first, nullptr);
  // No base class in front: a pointer to the object is a pointer to its table.
  EXPECT_EQ(dynamic_cast<const void*>(&proxy), static_cast<const void*>(&proxy));
}

}  // namespace

// --- Exported names -----------------------------------------------------------------------------

// Does not link unless the library defines a symbol of this name. One for each kind of parameter:
// with the types above, the others follow.
#define STRING_OF(text) STRING_OF_(text)
#define STRING_OF_(text) #text
// (Not in an unnamed namespace, whose variables no other source can define.)
#define EXPECT_EXPORTED(name)                                                        \
  do {                                                                               \
    extern const char symbol_##name __asm__(STRING_OF(__USER_LABEL_PREFIX__) #name); \
    const volatile auto address = reinterpret_cast<std::uintptr_t>(&symbol_##name);  \
    EXPECT_NE(address, 0u) << #name;                                                 \
  } while (false)

TEST(InterfaceTest, TheExportedNamesAreThoseThatClientsLinkTo) {
  EXPECT_EXPORTED(_ZN2qx8VelProxyC1Ev);
  EXPECT_EXPORTED(_ZN2qx8VelProxyC2Ev);
  EXPECT_EXPORTED(_ZN2qx8VelProxyD0Ev);
  EXPECT_EXPORTED(_ZN2qx8VelProxyD1Ev);
  EXPECT_EXPORTED(_ZN2qx8VelProxyD2Ev);
  EXPECT_EXPORTED(_ZTVN2qx8VelProxyE);
  EXPECT_EXPORTED(_ZTIN2qx8VelProxyE);
  EXPECT_EXPORTED(_ZN2qx8VelProxy11getInstanceEv);
  EXPECT_EXPORTED(_ZN2qx8VelProxy4InitEv);
  EXPECT_EXPORTED(_ZN2qx8VelProxy9ConnectVmE6VmInfo);
  EXPECT_EXPORTED(_ZN2qx8VelProxy23RegisterPrinterCallbackEPFitP13PrinterDevicePvES3_);
  EXPECT_EXPORTED(_ZN2qx8VelProxy22RegisterDeviceCallbackEPFitP12CommonDevicePvES3_);
  EXPECT_EXPORTED(_ZN2qx8VelProxy19RegisterCmdCallbackEPFitP11CmdResponsePvES3_);
  EXPECT_EXPORTED(_ZN2qx8VelProxy24RegisterJoystickCallbackEPFit15_JoystickResultPvES2_);
  EXPECT_EXPORTED(_ZN2qx8VelProxy23ConfigNewDeviceAsIgnoreEyttt);
  EXPECT_EXPORTED(_ZN2qx8VelProxy27GetDevicePropertyWithVidPidEttt);
  EXPECT_EXPORTED(_ZN2qx8VelProxy17AddNetworkPrinterEPKc);
#if defined(_LIBCPP_VERSION)
  EXPECT_EXPORTED(_ZN2qx8VelProxy11HandleEventENSt3__110shared_ptrI12QXBusMessageEE);
  EXPECT_EXPORTED(_ZN2qx8VelProxy17BroadcastCallbackENSt3__110shared_ptrI12QXBusMessageEE);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy10GetVmIdIntENSt3__112basic_stringIcNS1_11char_traitsIcEENS1_9allocatorIcEEEE);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy10CreatePipeENSt3__112basic_stringIcNS1_11char_traitsIcEENS1_9allocatorIcEEEENS1_4listI15_CHANNEL_HANDLENS5_IS9_EEEE);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy14OnFocusChangedENSt3__112basic_stringIcNS1_11char_traitsIcEENS1_9allocatorIcEEEEyj);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy18DisconnectUsbredirENSt3__112basic_stringIcNS1_11char_traitsIcEENS1_9allocatorIcEEEE8UDevInfo);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy9SetBwInfoERKNSt3__112basic_stringIcNS1_11char_traitsIcEENS1_9allocatorIcEEEEyy);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy8DiagnoseERKNSt3__112basic_stringIcNS1_11char_traitsIcEENS1_9allocatorIcEEEEyP17VelDiagnoseNotify);
#else
  EXPECT_EXPORTED(_ZN2qx8VelProxy11HandleEventESt10shared_ptrI12QXBusMessageE);
  EXPECT_EXPORTED(_ZN2qx8VelProxy17BroadcastCallbackESt10shared_ptrI12QXBusMessageE);
  EXPECT_EXPORTED(_ZN2qx8VelProxy10GetVmIdIntENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy10CreatePipeENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEENS1_4listI15_CHANNEL_HANDLESaIS8_EEE);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy14OnFocusChangedENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEyj);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy18DisconnectUsbredirENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE8UDevInfo);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy9SetBwInfoERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEyy);
  EXPECT_EXPORTED(
      _ZN2qx8VelProxy8DiagnoseERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEyP17VelDiagnoseNotify);
#endif
}

namespace {

// --- The bus ------------------------------------------------------------------------------------

#define MESSAGE_SLOT(slot, result, name, parameters) \
  SLOT_OF(QXBusMessage, slot, result, name, parameters)

TEST(InterfaceTest, TheOperationsOfAMessageStandInOrder) {
  expectInOrder({
      MESSAGE_SLOT(2, void, appendInt16, (std::int16_t)),
      MESSAGE_SLOT(3, void, appendInt32, (std::int32_t)),
      MESSAGE_SLOT(4, void, appendUInt64, (std::uint64_t)),
      MESSAGE_SLOT(5, void, appendInt64, (std::int64_t)),
      MESSAGE_SLOT(6, void, appendDouble, (double)),
      MESSAGE_SLOT(7, void, appendString, (std::string)),
      MESSAGE_SLOT(8, void, appendCString, (const char*)),
      MESSAGE_SLOT(9, void, appendBytes, (const void*, int)),
      MESSAGE_SLOT(10, std::int16_t, getInt16, (int)),
      MESSAGE_SLOT(11, std::uint16_t, getUInt16, (int)),
      MESSAGE_SLOT(12, std::int32_t, getInt32, (int)),
      MESSAGE_SLOT(13, std::uint32_t, getUInt32, (int)),
      MESSAGE_SLOT(14, std::int64_t, getInt64, (int)),
      MESSAGE_SLOT(15, std::uint64_t, getUInt64, (int)),
      MESSAGE_SLOT(16, std::string, getString, (int)),
      MESSAGE_SLOT(17, unsigned char*, getBytes, (int, int*)),
      MESSAGE_SLOT(18, int, argCount, ()),
  });
  static_assert(std::has_virtual_destructor_v<QXBusMessage>);
  EXPECT_EQ(slotOf(static_cast<int (QXBusMessage::*)()>(&QXBusMessage::type)), -1);
  EXPECT_EQ(slotOf(static_cast<std::string (QXBusMessage::*)()>(&QXBusMessage::toDebugString)), -1);
}

struct LongerMessage : QXBusMessage {
  virtual void next() {}
};

struct LongerListener : QXBusEventCallback {
  virtual void next() {}
};

TEST(InterfaceTest, AMessageHas19SlotsAndAListenerOnlyItsDestructors) {
  EXPECT_EQ(slotOf(&LongerMessage::next), 19);
  EXPECT_EQ(slotOf(&LongerListener::next), 2);
}

TEST(InterfaceTest, TheManagerAndTheInterfaceOfAServiceHaveNoVirtualTable) {
  using Message = std::shared_ptr<QXBusMessage>;
  using Interface = QXBusProxyInterface;
  using Manager = QXBusSerivceManager;

  static_assert(!std::is_polymorphic_v<Interface>);
  static_assert(!std::is_polymorphic_v<Manager>);
  static_assert(std::is_same_v<decltype(&Interface::makeMethodCallMessage),
                               Message (Interface::*)(std::string)>);
  static_assert(std::is_same_v<decltype(&Interface::callWithReplyBlocking),
                               Message (Interface::*)(Message, int)>);
  static_assert(std::is_same_v<decltype(&Interface::callWithReply),
                               void (Interface::*)(Message, std::function<void(Message)>, int)>);
  static_assert(std::is_same_v<decltype(&Interface::setDeathCallback),
                               void (Interface::*)(std::function<void()>)>);
  static_assert(
      std::is_same_v<decltype(&Interface::addEventListener),
                     void (Interface::*)(std::string, QXBusEventCallback*, QXBusSecurityFlags)>);
  static_assert(std::is_same_v<decltype(&Interface::removeEventListener),
                               void (Interface::*)(std::string, QXBusEventCallback*)>);
  static_assert(std::is_same_v<decltype(&Manager::initSync), Manager* (*)(int)>);
  static_assert(std::is_same_v<decltype(&Manager::isServiceRegistered),
                               bool (Manager::*)(const std::string&)>);
  static_assert(std::is_same_v<decltype(&Manager::getServiceProxyInterface),
                               std::shared_ptr<Interface> (Manager::*)(std::string,
                                                                       QXBusSecurityFlags, int)>);
  static_assert(std::is_same_v<decltype(&Manager::addEventListener),
                               void (Manager::*)(const std::string&, QXBusEventCallback*,
                                                 QXBusSecurityFlags)>);
  EXPECT_EQ(static_cast<int>(MESSAGE_TYPE_METHOD_RETURN), 2);
}

// --- Records ------------------------------------------------------------------------------------

template <typename Record, typename Field>
std::size_t offsetOf(Field Record::*field) {
  alignas(Record) static const unsigned char bytes[sizeof(Record)] = {};
  const auto* const record = reinterpret_cast<const Record*>(bytes);
  return static_cast<std::size_t>(reinterpret_cast<const unsigned char*>(&(record->*field)) -
                                  bytes);
}

TEST(InterfaceTest, TheFieldsOfASessionFollowItsName) {
  constexpr std::size_t kName = sizeof(std::string);

  EXPECT_EQ(offsetOf(&VmInfo::vmId), 0u);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::systemType), kName);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::shareMode), kName + 4);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::connectParam), kName + 8);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::sessionId), kName + 12);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::kstMajorVer), kName + 16);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::kstMinorVer), kName + 20);
  EXPECT_EQ(offsetOf<VmInfo>(&VmInfo::kstStreamCollaborateType), kName + 24);
  EXPECT_EQ(sizeof(VmInfo), kName + 32);
  static_assert(std::is_signed_v<decltype(VmInfo::systemType)>);
  static_assert(std::is_signed_v<decltype(VmInfo::shareMode)>);
  static_assert(std::is_unsigned_v<decltype(VmInfo::sessionId)>);
  static_assert(std::is_unsigned_v<decltype(VmInfo::kstMajorVer)>);
  static_assert(std::is_unsigned_v<decltype(VmInfo::kstMinorVer)>);
  static_assert(std::is_unsigned_v<decltype(VmInfo::kstStreamCollaborateType)>);
}

TEST(InterfaceTest, TheFieldsOfAPipeFollowItsName) {
  constexpr std::size_t kName = sizeof(std::string);

  EXPECT_EQ(offsetOf(&_CHANNEL_HANDLE::vmId), 0u);
  EXPECT_EQ(offsetOf(&_CHANNEL_HANDLE::handle), kName);
  EXPECT_EQ(offsetOf(&_CHANNEL_HANDLE::name1), kName + 8);
  EXPECT_EQ(offsetOf(&_CHANNEL_HANDLE::name2), kName + 136);
  EXPECT_EQ(sizeof(_CHANNEL_HANDLE), kName + 264);
}

TEST(InterfaceTest, TheFieldsOfTheRecordsOnTheBusStandWhereTheServicePutsThem) {
  EXPECT_EQ(offsetOf(&PrinterDevice::devNum), 0u);
  EXPECT_EQ(offsetOf(&PrinterDevice::vmId), 8u);
  EXPECT_EQ(offsetOf(&PrinterDevice::status), 12u);
  EXPECT_EQ(offsetOf(&PrinterDevice::name), 16u);
  static_assert(std::is_same_v<decltype(PrinterDevice::devNum), unsigned short>);
  static_assert(std::is_same_v<decltype(PrinterDevice::vmId), int>);
  static_assert(std::is_same_v<decltype(PrinterDevice::status), int>);

  EXPECT_EQ(offsetOf(&CommonDevice::devNumber), 0u);
  EXPECT_EQ(offsetOf(&CommonDevice::status), 8u);
  EXPECT_EQ(offsetOf(&CommonDevice::policy), 10u);
  EXPECT_EQ(offsetOf(&CommonDevice::vmId), 20u);
  EXPECT_EQ(offsetOf(&CommonDevice::name), 296u);
  EXPECT_EQ(offsetOf(&CommonDevice::policyText), 424u);
  EXPECT_EQ(offsetOf(&CommonDevice::vmIdText), 680u);
  static_assert(std::is_same_v<decltype(CommonDevice::devNumber), unsigned short>);
  static_assert(std::is_same_v<decltype(CommonDevice::status), unsigned short>);
  static_assert(sizeof(CommonDevice::policy) == 2);
  static_assert(std::is_same_v<decltype(CommonDevice::vmId), unsigned int>);
  static_assert(sizeof(CommonDevice::name) == 128);
  static_assert(sizeof(CommonDevice::policyText) == 256);

  EXPECT_EQ(offsetOf(&_ConfigNewDeviceResult::vid), 0u);
  EXPECT_EQ(offsetOf(&_ConfigNewDeviceResult::pid), 2u);
  EXPECT_EQ(offsetOf(&_ConfigNewDeviceResult::isSuccess), 18u);
  EXPECT_EQ(offsetOf(&_ConfigNewDeviceResult::name), 20u);
  EXPECT_EQ(offsetOf(&_ConfigNewDeviceResult::code), 276u);
  static_assert(sizeof(_ConfigNewDeviceResult::name) == 256);

  EXPECT_EQ(offsetOf(&_SharePrinterDevice::name), 0u);
  EXPECT_EQ(offsetOf(&_SharePrinterDevice::addr), 128u);
  EXPECT_EQ(offsetOf(&_SharePrinterDevice::desc), 256u);
  EXPECT_EQ(sizeof(_SharePrinterDevice), 384u);

  EXPECT_EQ(sizeof(UDevInfo), 8u);
  EXPECT_EQ(sizeof(JoystickDevice), 138u);
  EXPECT_EQ(sizeof(JoystickMapping), 130u);
  EXPECT_EQ(sizeof(_JoystickResult), 146u);
  static_assert(std::is_trivially_copyable_v<UDevInfo>);
  static_assert(std::is_trivially_copyable_v<JoystickDevice>);
  static_assert(std::is_trivially_copyable_v<JoystickMapping>);
  static_assert(std::is_trivially_copyable_v<_JoystickResult>);
  static_assert(std::is_default_constructible_v<VmInfo>);
  static_assert(std::is_default_constructible_v<_CHANNEL_HANDLE>);
  static_assert(std::is_default_constructible_v<_SharePrinterDevice>);
}

TEST(InterfaceTest, TheFieldsOfAPenPacketStandInSlotsOfEightBytes) {
  const std::size_t offsets[] = {
      offsetof(PenPacket, pointerType),
      offsetof(PenPacket, pointerId),
      offsetof(PenPacket, frameId),
      offsetof(PenPacket, pointerFlags),
      offsetof(PenPacket, sourceDevice),
      offsetof(PenPacket, targetWindow),
      offsetof(PenPacket, pixelLocation),
      offsetof(PenPacket, highResolutionLocation),
      offsetof(PenPacket, rawPixelLocation),
      offsetof(PenPacket, rawHighResolutionLocation),
      offsetof(PenPacket, time),
      offsetof(PenPacket, historyCount),
      offsetof(PenPacket, inputData),
      offsetof(PenPacket, keyStates),
      offsetof(PenPacket, performanceCount),
      offsetof(PenPacket, buttonChangeType),
      offsetof(PenPacket, penFlags),
      offsetof(PenPacket, penMask),
      offsetof(PenPacket, pressure),
      offsetof(PenPacket, rotation),
      offsetof(PenPacket, tiltX),
      offsetof(PenPacket, tiltY),
  };

  std::size_t expected = 2;
  for (const std::size_t offset : offsets) {
    EXPECT_EQ(offset, expected);
    expected += 8;
  }
  EXPECT_EQ(sizeof(PenPacket), expected);
  EXPECT_EQ(offsetof(PenPacket, pixelLocation.y), 54u);
  static_assert(std::is_same_v<decltype(PenPacket::Location::x), std::int32_t>);
  static_assert(std::is_same_v<decltype(PenPacket::Slot::value), std::int32_t>);
  static_assert(alignof(PenPacket) == 1);
  static_assert(std::is_trivially_copyable_v<PenPacket>);
}

TEST(InterfaceTest, TheFieldsOfAPortHeaderStandWithoutGaps) {
  EXPECT_EQ(offsetof(PortHeader, magic), 0u);
  EXPECT_EQ(offsetof(PortHeader, devId), 1u);
  EXPECT_EQ(offsetof(PortHeader, cmd), 2u);
  EXPECT_EQ(offsetof(PortHeader, reqId), 4u);
  EXPECT_EQ(offsetof(PortHeader, size), 8u);
  EXPECT_EQ(offsetof(PortHeader, reserved), 12u);
  EXPECT_EQ(sizeof(PortHeader), 16u);
  static_assert(std::is_unsigned_v<decltype(PortHeader::cmd)>);
  static_assert(std::is_unsigned_v<decltype(PortHeader::reqId)>);
  static_assert(std::is_unsigned_v<decltype(PortHeader::size)>);
  static_assert(alignof(PortHeader) == 1);
  static_assert(std::is_trivially_copyable_v<PortHeader>);
}

TEST(InterfaceTest, TheTypeOfACollaboratingClientIsOne) {
  EXPECT_EQ(VEL_KST_STREAM_COLLAB_TYPE_COLLABORATOR, 1u);
}

TEST(InterfaceTest, ADiagnosisIsNotifiedThroughTheSlotBehindTheDestructors) {
  EXPECT_EQ(slotOf(static_cast<void (VelDiagnoseNotify::*)(std::string, unsigned long long,
                                                           unsigned int, std::string)>(
                &VelDiagnoseNotify::DiagnoseResultNotify)),
            2);
}

}  // namespace
