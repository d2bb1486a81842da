#include "vel/apps/local/velsim/machine/status.h"

namespace velsim {

const char* nameOf(Status status) {
  switch (status) {
    case Status::kOk:
      return "ok";
    case Status::kUnknownVm:
      return "unknown-vm";
    case Status::kNotConnected:
      return "not-connected";
    case Status::kUnknownPipe:
      return "unknown-pipe";
    case Status::kPipeExists:
      return "pipe-exists";
    case Status::kEmptyToken:
      return "empty-token";
    case Status::kUnknownDevice:
      return "unknown-device";
    case Status::kBusy:
      return "busy";
    case Status::kNotAttached:
      return "not-attached";
    case Status::kForbidden:
      return "forbidden";
    case Status::kUnknownCommand:
      return "unknown-command";
    case Status::kNotStorage:
      return "not-storage";
    case Status::kUnknownPrinter:
      return "unknown-printer";
    case Status::kExists:
      return "exists";
    case Status::kEmptyText:
      return "empty-text";
    case Status::kBadAddress:
      return "bad-address";
    case Status::kSearchStopped:
      return "search-stopped";
    case Status::kNotSearching:
      return "not-searching";
    case Status::kUnknownDriver:
      return "unknown-driver";
    case Status::kUnknownJoystick:
      return "unknown-joystick";
    case Status::kUnknownMapping:
      return "unknown-mapping";
    case Status::kNotRegistered:
      return "not-registered";
    case Status::kUnknownTest:
      return "unknown-test";
    case Status::kUnknownFigure:
      return "unknown-figure";
    case Status::kFull:
      return "full";
  }
  return "";
}

}  // namespace velsim
