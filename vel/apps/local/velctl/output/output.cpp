#include "vel/apps/local/velctl/output/output.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "base/text.h"
#include "vel/apps/local/velctl/failure.h"
#include "vel/apps/local/velctl/output/interruption.h"
#include "vel/apps/local/velctl/output/printable_json.h"

namespace velctl {

void Output::line(const std::string& text, const Json& json) const {
  if (form_ == Form::kJson) {
    this->json(json);
  } else {
    this->text(text + '\n');
  }
}

void Output::json(const Json& json) const {
  if (form_ == Form::kJson) {
    // Names come from the service and need not be UTF-8, which JSON must be.
    text(printableJson(json.dump(-1, ' ', false, Json::error_handler_t::replace)) + '\n');
  }
}

void Output::text(const std::string& lines) const {
  const int error = writeInterruptibly(descriptor_, lines);
  if (error == EPIPE) {
    throw OutputClosed();
  }
  if (error != 0) {
    throw Failure(kExitOutputLost,
                  std::string("writing to standard output: ") + std::strerror(error));
  }
}

void Output::done(const std::string& text, const Json& json) const {
  if (form_ == Form::kJson || !isQuiet_) {
    line(text, json);
  }
}

void Output::note(const std::string& text) const {
  if (!isQuiet_) {
    error(text);
  }
}

void Output::error(const std::string& text) {
  message("velctl: " + text);
}

void Output::message(const std::string& line) {
  try {
    writeInterruptibly(STDERR_FILENO, line + '\n');
  } catch (const Interrupted&) {
    // Standard error is blocked, and the program is about to end.
  }
}

void Output::noteDropped(std::size_t count, const std::string& noun, const std::string& reason) {
  if (count > 0) {
    error(base::counted(count, noun) + " dropped: " + reason);
  }
}

}  // namespace velctl
