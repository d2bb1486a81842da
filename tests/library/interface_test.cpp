// The binary interface that clients are compiled against: the order of the virtual operations,
// their exact types (and so their mangled names), and where the fields of the records stand.
// Nothing here may ever change; what is new comes at the end.

#include <cstddef>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <type_traits>

#include "tests/library/proxy_test.h"

namespace {

// The slot in the virtual table that a pointer to a virtual member stands for; -1 if it is not
// virtual. As the Itanium C++ ABI has it: an odd offset, or (on ARM) an odd adjustment beside it.
template <typename Member>
int slotOf(Member member) {
  static_assert(std::is_member_function_pointer_v<Member>);
  std::ptrdiff_t parts[2];
  static_assert(sizeof parts == sizeof member);
  std::memcpy(parts, &member, sizeof parts);
  constexpr auto kSlotSize = static_cast<std::ptrdiff_t>(sizeof(void*));
  const bool isVirtual = (parts[0] & 1) != 0 || (parts[1] & 1) != 0;
  return isVirtual ? static_cast<int>(parts[0] / kSlotSize) : -1;
}

struct Slot {
  int expected;
  int actual;
  const char* name;
};

// Does not compile unless the class has an operation of exactly this name, result and parameters.
#define SLOT_OF(class_, slot, result, name, parameters)                                       \
  Slot {                                                                                      \
    slot, slotOf(static_cast<result(class_::*) parameters>(&class_::name)), #name #parameters \
  }

void expectInOrder(const std::vector<Slot>& slots) {
  for (const Slot& slot : slots) {
    EXPECT_EQ(slot.actual, slot.expected) << slot.name;
  }
}

// --- qx::VelProxy -------------------------------------------------------------------------------

using VmNumbers = std::map<std::string, unsigned int>;

#define SLOT(slot, result, name, parameters) SLOT_OF(qx::VelProxy, slot, result, name, parameters)

// 0 and 1 are the two destructors.
std::vector<Slot> operationsOfTheProxy() {
  return {
      SLOT(2, unsigned int, Init, ()),
      SLOT(3, unsigned int, ResetService, ()),
      SLOT(4, void, ReleaseService, ()),
      SLOT(5, void, HandleEvent, (std::shared_ptr<QXBusMessage>)),
      SLOT(6, unsigned int, InitBroadcast, ()),
      SLOT(7, unsigned int, ConnectVm, (VmInfo)),
      SLOT(8, unsigned int, DisconnectVm, (std::string)),
      SLOT(9, unsigned int, CreatePipe, (std::string, std::list<_CHANNEL_HANDLE>)),
      SLOT(10, unsigned int, DestroyPipe, (std::string, std::list<_CHANNEL_HANDLE>)),
      SLOT(11, int, RegisterCallback, (std::string, int (*)(unsigned short, void*, void*), void*)),
      SLOT(12, int, UnregisterCallback, (std::string)),
      SLOT(13, unsigned int, StartVm, (std::string)),
      SLOT(14, int, RegisterPrinterCallback,
           (int (*)(unsigned short, PrinterDevice*, void*), void*)),
      SLOT(15, int, UnregisterPrinterCallback, ()),
      SLOT(16, void*, CheckPrinterCallback, ()),
      SLOT(17, unsigned int, SetPortChannelStatus, (std::string, unsigned int, int)),
      SLOT(18, VmNumbers, GetVmList, ()),
      SLOT(19, std::list<PrinterDevice*>, GetPrinterList, (std::string)),
      SLOT(20, std::list<PrinterDevice*>, GetPrinterStatus, (unsigned short)),
      SLOT(21, int, ConnectPrinter, (std::string, unsigned short)),
      SLOT(22, int, DisconnectPrinter, (std::string, unsigned short)),
      SLOT(23, int, AddNetworkPrinter, (const char*)),
      SLOT(24, int, AddNetworkPrinter,
           (const std::string&, const std::string&, const std::string&)),
      SLOT(25, int, DeleteNetworkPrinter, (const std::string&)),
      SLOT(26, int, RenameNetworkPrinter, (std::string, std::string)),
      SLOT(27, std::list<CommonDevice*>, GetNetworkPrinterList, ()),
      SLOT(28, std::list<CommonDevice*>, GetDeviceList, (std::string)),
      SLOT(29, std::list<CommonDevice*>, GetDeviceStatus, (unsigned short)),
      SLOT(30, int, FreeDeviceList, (std::list<CommonDevice*>)),
      SLOT(31, int, ConnectDevice, (std::string, unsigned short)),
      SLOT(32, int, DisconnectDevice, (std::string, unsigned short)),
      SLOT(33, int, RegisterDeviceCallback, (int (*)(unsigned short, CommonDevice*, void*), void*)),
      SLOT(34, int, UnregisterDeviceCallback, (void*)),
      SLOT(35, int, UnregisterDeviceCallback, ()),
      SLOT(36, void*, CheckDeviceCallback, ()),
      SLOT(37, int, RegisterCmdCallback, (int (*)(unsigned short, CmdResponse*, void*), void*)),
      SLOT(38, unsigned int, OnFocusChanged, (std::string, unsigned long long, unsigned int)),
      SLOT(39, unsigned int, UpdateDriveToken, (std::string)),
      SLOT(40, int, SetUsbredirStatus, (std::string, UDevInfo, unsigned short)),
      SLOT(41, int, ConnectUsbredir, (std::string, UDevInfo)),
      SLOT(42, void, onServiceDeath, ()),
      SLOT(43, int, SendPenData, (std::string, void*, int, int, int)),
      SLOT(44, void, PortInit,
           (const std::string&, bool,
            std::function<unsigned int(const std::string&, unsigned int, unsigned char*)>)),
      SLOT(45, void, PortStatus, (const std::string&, bool)),
      SLOT(46, void, PortData, (const std::string&, unsigned char*, unsigned int)),
      SLOT(47, std::list<CommonDevice*>, GetLocalDeviceList, ()),
      SLOT(48, int, SetDeviceLocalPolicy, (CommonDevice*)),
      SLOT(49, unsigned int, GetVmIdInt, (std::string)),
      SLOT(50, std::string, GetVmIdString, (unsigned int)),
      SLOT(51, int, AddNetworkDevice, (int, std::string&)),
      SLOT(52, int, DeleteNetworkDevice, (std::string&, std::string&)),
      SLOT(53, int, RedirectDevice, (std::string, unsigned short, unsigned short)),
      SLOT(54, int, SetAutoConnect, (unsigned short, int)),
      SLOT(55, int, GetAutoConnect, (unsigned short)),
      SLOT(56, int, ConnectDeviceBySrcId, (std::string, unsigned long long)),
      SLOT(57, int, DisconnectDeviceBySrcId, (std::string, unsigned long long)),
      SLOT(58, int, DoVelTest, (std::string, unsigned int)),
      SLOT(59, int, DoVelCmd, (std::string, std::string, int)),
      SLOT(60, std::string, GetVelCmdHelp, (std::string)),
      SLOT(61, void, SetBwInfo, (const std::string&, unsigned long long, unsigned long long)),
      SLOT(62, void, SetRtcQosInfo, (const std::string&, unsigned int, void*)),
      SLOT(63, std::string, Diagnose, (const std::string&, unsigned long long, VelDiagnoseNotify*)),
      SLOT(64, std::string, DiagnoseDevice,
           (const std::string&, unsigned short, VelDiagnoseNotify*)),
      SLOT(65, int, CheckCameraAuthStat, ()),
      SLOT(66, int, SetDevicePropertyWithVidPid,
           (unsigned short, unsigned short, unsigned short, int)),
      SLOT(67, int, GetDevicePropertyWithVidPid, (unsigned short, unsigned short, unsigned short)),
      SLOT(68, int, GetLocalDevicePropertyWithVidPid,
           (unsigned short, unsigned short, unsigned short)),
      SLOT(69, std::list<CommonVidPidPolicy*>, GetPolicyListByVidPid, ()),
      SLOT(70, int, FreePolicyList, (std::list<CommonVidPidPolicy*>)),
      SLOT(71, std::string, GetTurboConfigWithVidPid, (unsigned short, unsigned short)),
      SLOT(72, int, SetTurboConfigWithVidPid, (unsigned short, unsigned short, const std::string&)),
      SLOT(73, int, ResetAllDeviceProperty, ()),
      SLOT(74, int, SearchSharePrinterDevice,
           (const std::string&, std::list<_SharePrinterDevice>&)),
      SLOT(75, int, StopSearchSharePrinterDevice, ()),
      SLOT(76, int, AddSharePrinterDevice, (std::list<_SharePrinterDevice>&)),
      SLOT(77, int, DeleteSharePrinterDevice, (_SharePrinterDevice&)),
      SLOT(78, std::string, SearchAllPrinter, ()),
      SLOT(79, std::string, GetPrinterDriverlList, (const std::string&)),
      SLOT(80, int, AddLocalPrinter, (const std::string&, const std::string&, const std::string&)),
      SLOT(81, int, AutoAddPrinter, (const std::string&, const std::string&, const std::string&)),
      SLOT(82, int, DeletePrinter, (const std::string&)),
      SLOT(83, int, ChangePrinterDriver, (const std::string&, const std::string&)),
      SLOT(84, int, PrintTestPage, (const std::string&)),
      SLOT(85, int, RegisterConfigNewDevResultCallback,
           (int (*)(unsigned short, _ConfigNewDeviceResult*, void*), void*)),
      SLOT(86, int, UnregisterConfigNewDevResultCallback, (void*)),
      SLOT(87, int, UnregisterConfigNewDevResultCallback, ()),
      SLOT(
          88, int, ConfigNewDeviceAsConnect,
          (const std::string&, unsigned long long, unsigned short, unsigned short, unsigned short)),
      SLOT(89, int, ConfigNewDeviceAsIgnore,
           (unsigned long long, unsigned short, unsigned short, unsigned short)),
      SLOT(90, int, ConfigUdisks2Command, (const std::string&, unsigned long long, unsigned short)),
      SLOT(91, int, ConfigPrinterCommand, (const std::string&, unsigned long long, unsigned short)),
      SLOT(92, int, DeviceBaseInfoNotify, (unsigned short, CommonDevice*)),
      SLOT(93, int, ConfigNewDeviceResultNotify, (unsigned short, _ConfigNewDeviceResult*)),
      SLOT(94, std::list<JoystickDevice>, GetJoystickDevList, ()),
      SLOT(95, std::list<JoystickMapping>, GetJoystickMappingList, ()),
      SLOT(96, int, SetJoystickMapping, (unsigned short, unsigned short)),
      SLOT(97, int, CalibrationJoystick, (unsigned short)),
      SLOT(98, int, RegisterJoystickCallback,
           (int (*)(unsigned short, _JoystickResult, void*), void*)),
      SLOT(99, int, UnregisterJoystickCallback, (void*)),
      SLOT(100, int, JoystickResultNotify, (unsigned short, _JoystickResult*)),
  };
}

TEST(InterfaceTest, TheOperationsOfTheProxyStandInOrder) {
  expectInOrder(operationsOfTheProxy());
}

// One more virtual operation goes behind the last.
struct Longer : qx::VelProxy {
  virtual void next() {}
};

TEST(InterfaceTest, TheProxyHas101Slots) {
  EXPECT_EQ(slotOf(&Longer::next), 101);
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

// --- The index at the top of the header ----------------------------------------------------------

namespace {

struct Header {
  std::string index;         // the operations by subject
  std::string declarations;  // from the include guard on
};

Header readHeader() {
  std::ifstream file(VEL_PROXY_HEADER);
  std::stringstream text;
  text << file.rdbuf();
  const std::string all = text.str();
  const std::size_t begin = all.find("//   connection ");
  const std::size_t end = all.find("#ifndef");
  if (begin == std::string::npos || end == std::string::npos || begin > end) {
    return {};
  }
  return {all.substr(begin, end - begin), all.substr(end)};
}

// What stands between the columns of subjects: every operation ends with a comma or a line.
std::set<std::string> namesIn(const std::string& index) {
  constexpr std::size_t kSubjects = 22;
  std::set<std::string> names;
  std::istringstream lines(index);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line.size() > kSubjects ? line.substr(kSubjects) : "");
    for (std::string word; words >> word;) {
      names.insert(word.back() == ',' ? word.substr(0, word.size() - 1) : word);
    }
  }
  return names;
}

TEST(HeaderTest, TheIndexNamesEveryOperation) {
  const std::set<std::string> indexed = namesIn(readHeader().index);

  for (const Slot& operation : operationsOfTheProxy()) {
    const std::string name(operation.name, std::strcspn(operation.name, "("));
    EXPECT_EQ(indexed.count(name), 1u)
        << name << " is missing from the index by subject at the top of " << VEL_PROXY_HEADER;
  }
}

TEST(HeaderTest, TheIndexNamesNothingElse) {
  const Header header = readHeader();

  ASSERT_FALSE(namesIn(header.index).empty());
  for (const std::string& name : namesIn(header.index)) {
    EXPECT_NE(header.declarations.find(" " + name + "("), std::string::npos)
        << "the index at the top of " << VEL_PROXY_HEADER << " names " << name
        << ", which the header does not declare";
  }
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
