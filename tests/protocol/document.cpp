#include "tests/protocol/document.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "vel/protocol/events.h"
#include "vel/protocol/frames.h"
#include "vel/protocol/meanings.h"
#include "vel/protocol/methods.h"
#include "vel/protocol/names.h"
#include "vel/protocol/records.h"

namespace velprotocol {
namespace {

constexpr char kIntroduction[] = R"(# Protocol of the service "vel"

<!-- Generated from vel/protocol/: edit the headers there, not this file. -->

For those who write a service, or another client: the methods that the service answers, the events that
it sends, and the numbers in both. [records.md](records.md) has the records, byte by byte. `velsim` is a
service that keeps to this protocol; `vel/protocol/` states it for the compiler.
[Over D-Bus](architecture.md#over-d-bus) describes how a call, a reply and an event travel.

- A call and a reply hold arguments by position. The service should refuse a call whose arguments
  are not those of the method, and answer an error with one text.
- Every method needs an answer. The client library waits at most the time in the table. It does not
  wait for methods marked *asynchronous*, and only logs their answers.
- A status is the service's own number; 0 is success. The client library passes it on unchanged.
- `vm` is the number of a VM, which getVmListSize returns for a name. 0 stands for this machine, and
  for a name that the service does not know.
- Numbers of devices, printers and joysticks, and USB ids, are unsigned: as int16 they keep their 16
  bits, so that 65535 travels as -1.
- `count`, then a group in parentheses: the group follows count times. In the answer to a client an
  empty block ends a list early. Arguments in brackets may be missing.
- `unused` is 0. `bytes[8]` named sourceId is a uint64.
)";

constexpr char kMethodsHead[] = "| method | arguments | reply | limit | |\n|---|---|---|---|---|\n";

constexpr char kEventsIntroduction[] = R"(
## Events

An event holds the number of a VM (int32; 0: no VM), a code (int32) and, when there is one, a record
(bytes). The client library drops an event of a VM whose number it has not asked for. It takes a code
that is not listed for a NewDeviceResult.

)";

constexpr char kRecordsIntroduction[] = R"(# Records and frames, byte by byte

<!-- Generated from vel/protocol/: edit the headers there, not this file. -->

A record is one block of bytes in a call, a reply or an event of the service; [protocol.md](protocol.md)
names the record of each. A frame travels through the pen port of a client. The tables give every byte.

- Numbers are little-endian. A text ends at its first NUL, or where its field ends.
- *client* marks the fields that the client library reads or writes: every service must keep to their places.
- *service* marks bytes that the client library passes on unread; the meaning given is velsim's.

| record | bytes | in |
|---|---|---|
)";

constexpr char kRecordsHeading[] = R"(
## Records
)";

constexpr char kFramesIntroduction[] = R"(
## Frames of the pen port

Pen input does not travel on the bus: the client library writes frames to a port of the client whose
name contains `space.port.2`, and reads messages from that port. It sends no frame before a message
has given the pen its device number. Values of 8 bytes have 32 bits; the high half is zero.
)";

constexpr char kNumbersIntroduction[] = R"(
## Numbers

The interface itself defines 2, attached, and 0, ok. The other numbers are velsim's: another service may use
others.
)";

std::string code(std::string_view text) {
  return "`" + std::string(text) + "`";
}

constexpr char kRecordsFile[] = "records.md";

// A heading of records.md; with an empty file, of the same document.
std::string link(std::string_view heading, const char* file = "") {
  std::string anchor(heading);
  std::transform(anchor.begin(), anchor.end(), anchor.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return "[" + std::string(heading) + "](" + file + "#" + anchor + ")";
}

std::string typeOf(const Argument& argument) {
  if (argument.record) {
    return link(argument.record->name(), kRecordsFile);
  }
  const std::string type(nameOf(argument.type));
  return argument.size != 0 ? type + "[" + std::to_string(argument.size) + "]" : type;
}

std::string shown(std::string_view notation) {
  const ArgumentList arguments(notation);
  if (arguments.size() == 0) {
    return "none";
  }
  std::string text;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    text += i == 0 ? "" : ", ";
    text += i == arguments.optionalFrom() ? "[" : "";
    text += i == arguments.repeatedFrom() ? "(" : "";
    text += code(arguments[i].name) + " " + typeOf(arguments[i]);
  }
  text += arguments.repeatedFrom() < arguments.size() ? ")" : "";
  text += arguments.optionalFrom() < arguments.size() ? "]" : "";
  return text;
}

std::string limitOf(const Method& method) {
  return method.timeoutMs == kAsynchronousMs ? "*asynchronous*"
                                             : std::to_string(method.timeoutMs) + " ms";
}

struct Section {
  Subject subject;
  std::string_view heading;
};
constexpr Section kSections[] = {
    {Subject::kService, "Service"},
    {Subject::kVms, "VM sessions"},
    {Subject::kDevices, "Devices"},
    {Subject::kNewDevices, "New devices and storage commands"},
    {Subject::kPolicies, "Policies and properties"},
    {Subject::kNetworkDevices, "Network devices and USB redirection"},
    {Subject::kPrinters, "Printers"},
    {Subject::kSharedPrinters, "Shared printers"},
    {Subject::kPrintQueues, "Print queues"},
    {Subject::kJoysticks, "Joysticks"},
    {Subject::kCommands, "Service commands"},
    {Subject::kDiagnosis, "Diagnosis, self-tests and the camera"},
    {Subject::kQuality, "Stream quality"},
};

std::string methods() {
  std::string text = "## Methods\n";
  for (const Section& section : kSections) {
    text += "\n### " + std::string(section.heading) + "\n\n" + kMethodsHead;
    for (const Method& method : kMethods) {
      if (method.subject == section.subject) {
        text += "| " + code(method.name) + " | " + shown(method.arguments) + " | " +
                shown(method.reply) + " | " + limitOf(method) + " | " +
                std::string(method.meaning) + " |\n";
      }
    }
  }
  return text;
}

std::string events() {
  std::string text = kEventsIntroduction;
  text += "| code | event | record | signal | |\n|---|---|---|---|---|\n";
  for (const Event& event : kEvents) {
    text += "| " + std::to_string(static_cast<std::int32_t>(event.code)) + " | " +
            std::string(event.name) + " | " + link(event.record->name(), kRecordsFile) + " | " +
            code(event.sent == Sent::kBroadcast ? kBroadcastEvent : kServiceEvent) + " | " +
            std::string(event.meaning) + " |\n";
  }
  return text;
}

std::string_view nameOf(FieldType type) {
  switch (type) {
    case FieldType::kUnsigned:
      return "unsigned";
    case FieldType::kSigned:
      return "signed";
    case FieldType::kText:
      return "text";
    case FieldType::kBytes:
      return "bytes";
  }
  return {};
}

std::string sizeOf(const Layout& layout) {
  const std::string size = std::to_string(layout.size()) + " bytes";
  if (layout.blockSize() == BlockSize::kExact) {
    return "Exactly " + size + ".";
  }
  if (layout.isOpenEnded()) {
    return layout.size() == 0 ? "As long as the text." : "As long as the text, after " + size + ".";
  }
  return "The service chooses the length; velsim sends " + size + ".";
}

std::string layoutOf(const Layout& layout) {
  std::string text = "\n### " + std::string(layout.name()) + "\n\n" +
                     std::string(layout.meaning()) + " " + sizeOf(layout);
  text +=
      layout.clientName().empty() ? "" : " The client library's " + code(layout.clientName()) + ".";
  text += "\n\n| offset | size | type | field | fixed by | |\n|---|---|---|---|---|---|\n";
  for (const Field& field : layout) {
    text += "| " + std::to_string(field.offset) + " | " +
            (field.size == kToTheEnd ? "to the end" : std::to_string(field.size)) + " | " +
            std::string(nameOf(field.type)) + " | " + code(field.name) + " | " +
            (field.fixedBy == FixedBy::kClient ? "client" : "service") + " | " +
            std::string(field.meaning) + " |\n";
  }
  return text;
}

template <std::size_t count>
std::string layoutsOf(const Layout* const (&layouts)[count]) {
  std::string text;
  for (const Layout* const layout : layouts) {
    text += layoutOf(*layout);
  }
  return text;
}

// The methods and events that carry a record.
std::string usesOf(const Layout& layout) {
  std::string uses;
  const auto add = [&uses](const std::string& use) {
    if (uses.find(use) == std::string::npos) {
      uses += (uses.empty() ? "" : ", ") + use;
    }
  };
  for (const Method& method : kMethods) {
    for (const std::string_view notation : {method.arguments, method.reply}) {
      const ArgumentList arguments(notation);
      for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i].record == &layout) {
          add(code(method.name));
        }
      }
    }
  }
  for (const Event& event : kEvents) {
    if (event.record == &layout) {
      add("event " + std::to_string(static_cast<std::int32_t>(event.code)));
    }
  }
  return uses;
}

std::string bytesOf(const Layout& layout) {
  const std::string size = std::to_string(layout.size());
  if (layout.isOpenEnded()) {
    return size + " and the text";
  }
  return layout.blockSize() == BlockSize::kExact ? size : size + " of velsim";
}

std::string overview() {
  std::string text;
  for (const Layout* const layout : kRecords) {
    text +=
        "| " + link(layout->name()) + " | " + bytesOf(*layout) + " | " + usesOf(*layout) + " |\n";
  }
  for (const Layout* const layout : kFrames) {
    text += "| " + link(layout->name()) + " | " + bytesOf(*layout) + " | the pen port |\n";
  }
  return text;
}

std::string numbers() {
  std::string text;
  for (const Legend& legend : kLegends) {
    text += "\n### " + std::string(legend.subject) + "\n\n| number | word | |\n|---|---|---|\n";
    for (const Meaning& meaning : legend) {
      text += "| " + std::to_string(meaning.number) + " | " + std::string(meaning.word) + " | " +
              std::string(meaning.explanation) + " |\n";
    }
  }
  return text;
}

}  // namespace

std::string protocolDocument() {
  return kIntroduction + methods() + events() + kNumbersIntroduction + numbers();
}

std::string recordsDocument() {
  return kRecordsIntroduction + overview() + kRecordsHeading + layoutsOf(kRecords) +
         kFramesIntroduction + layoutsOf(kFrames);
}

}  // namespace velprotocol
