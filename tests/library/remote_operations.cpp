#include "tests/library/remote_operations.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <ostream>

#include "tests/library/rows/rows.h"

using scripted::debugLine;
using scripted::errorLine;
using scripted::Reply;

const std::vector<RemoteOperation>& remoteOperations() {
  static const std::vector<RemoteOperation>* const all = [] {
    auto* const made = new std::vector<RemoteOperation>;
    for (const auto rowsOfASubject :
         {connectionRows, vmIdRows, sessionRows, printerRows, networkPrinterRows, sharedPrinterRows,
          printQueueRows, deviceRows, newDeviceRows, networkDeviceRows, policyRows, diagnosticRows,
          streamQualityRows, joystickRows}) {
      const std::vector<RemoteOperation> rows = rowsOfASubject();
      made->insert(made->end(), rows.begin(), rows.end());
    }
    return made;
  }();
  return *all;
}

std::vector<RemoteOperation> remoteOperationsThat(
    const std::function<bool(const RemoteOperation&)>& applies) {
  const std::vector<RemoteOperation>& all = remoteOperations();
  std::vector<RemoteOperation> rows;
  std::copy_if(all.begin(), all.end(), std::back_inserter(rows), applies);
  return rows;
}

std::string shown(int status) {
  return std::to_string(status);
}

std::string shown(unsigned int status) {
  return shown(static_cast<int>(status));
}

std::string shown(const std::string& text) {
  return text;
}

std::string shown(const std::map<std::string, unsigned int>& numbers) {
  std::string text;
  for (const auto& [name, number] : numbers) {
    text += (text.empty() ? "" : " ") + name + "=" + std::to_string(number);
  }
  return text;
}

void PrintTo(const RemoteOperation& operation, std::ostream* out) {
  *out << operation.testName();
}

RemoteOperation& RemoteOperation::sentOnly(std::optional<Lines> completion) {
  waits_ = false;
  timeoutMs_ = -1;
  status_ = Status::kNone;
  result_ = "0";
  afterError_ = "0";
  completion_ = completion.value_or(Lines{debugLine("operator()", "ret: %d", "ret: 5")});
  return *this;
}

std::string RemoteOperation::requestForVm(unsigned int number) const {
  std::string request = request_;
  const std::size_t at = request.find(kVmArgument);
  if (at != std::string::npos) {
    request.replace(at, sizeof kVmArgument - 1,
                    "int32 " + std::to_string(static_cast<int>(number)));
  }
  return request;
}

RemoteOperation RemoteOperation::sentBy(const qx::VelProxy& proxy) const {
  const auto address = reinterpret_cast<std::uintptr_t>(&proxy);
  const std::string bytes = scripted::show(scripted::bytesOf(&address, sizeof address));
  const std::map<std::string, std::string> meanings = {
      {kProxyBytes, bytes.substr(bytes.find(' ') + 1)},
      {kProxyNumber, std::to_string(static_cast<long>(address))},
  };
  const auto fill = [&meanings](std::string& text) {
    for (const auto& [placeholder, meaning] : meanings) {
      const std::size_t at = text.find(placeholder);
      if (at != std::string::npos) {
        text.replace(at, placeholder.size(), meaning);
      }
    }
  };
  RemoteOperation row = *this;
  fill(row.request_);
  for (std::string& line : row.beforeCall_) {
    fill(line);
  }
  return row;
}

RemoteOperation::Lines RemoteOperation::replyLine(const Reply& reply) const {
  return logsReply_ ? Lines{debugLine(name(), "reply: %s", "reply: " + reply.debugString())}
                    : Lines();
}

RemoteOperation::Lines RemoteOperation::withoutServiceLines() const {
  return withoutServiceLines_.value_or(
      Lines{errorLine(name(), "wait velserviced restart when it death")});
}

RemoteOperation::Lines RemoteOperation::errorLines(int type, const std::string& text) const {
  if (errorLines_) {
    return errorLines_(type, text);
  }
  return waits_ ? Lines{errorLine(name(), "reply type: %d(%s)",
                                  "reply type: " + std::to_string(type) + "(" + text + ")")}
                : Lines();
}
