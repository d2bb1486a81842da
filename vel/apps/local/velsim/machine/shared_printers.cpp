#include "vel/apps/local/velsim/machine/shared_printers.h"

#include <algorithm>
#include <charconv>

namespace velsim {
namespace {

// Reads a decimal number up to most off the front of a text.
bool readNumber(std::string_view& text, unsigned most) {
  unsigned number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto length = static_cast<std::size_t>(stop - text.data());
  if (error != std::errc() || number > most || length != std::to_string(number).size()) {
    return false;
  }
  text.remove_prefix(length);
  return true;
}

bool readCharacter(std::string_view& text, char character) {
  if (text.empty() || text.front() != character) {
    return false;
  }
  text.remove_prefix(1);
  return true;
}

std::string withoutPort(const std::string& address) {
  return address.substr(0, address.find(':'));
}

auto findIn(std::vector<SharedPrinter>& printers, const std::string& address,
            const std::string& name) {
  return std::find_if(printers.begin(), printers.end(), [&](const SharedPrinter& each) {
    return each.address == address && each.name == name;
  });
}

}  // namespace

bool SharedPrinters::isAddress(const std::string& text) {
  constexpr int kFields = 4;
  constexpr unsigned kMostOfField = 255;
  constexpr unsigned kMostOfPort = 65535;
  std::string_view rest = text;
  for (int field = 0; field < kFields; ++field) {
    if ((field > 0 && !readCharacter(rest, '.')) || !readNumber(rest, kMostOfField)) {
      return false;
    }
  }
  if (rest.empty()) {
    return true;
  }
  return readCharacter(rest, ':') && readNumber(rest, kMostOfPort) && rest.empty();
}

std::vector<SharedPrinter> SharedPrinters::at(const std::string& address) const {
  std::vector<SharedPrinter> found;
  for (const SharedPrinter& shared : setup_.found) {
    if (shared.address == withoutPort(address)) {
      found.push_back(shared);
    }
  }
  return found;
}

SharedPrinters::Search SharedPrinters::beginSearch() {
  searches_.insert(++lastSearch_);
  return lastSearch_;
}

Status SharedPrinters::stopSearches() {
  if (searches_.empty()) {
    return Status::kNotSearching;
  }
  searches_.clear();
  return Status::kOk;
}

Status SharedPrinters::add(const std::vector<SharedPrinter>& printers) {
  std::vector<SharedPrinter> after = added_;
  for (const SharedPrinter& printer : printers) {
    if (printer.address.empty() || printer.name.empty()) {
      return Status::kEmptyText;
    }
    if (findIn(after, printer.address, printer.name) != after.end()) {
      return Status::kExists;
    }
    after.push_back(printer);
  }
  added_.swap(after);
  return Status::kOk;
}

Status SharedPrinters::remove(const std::string& address, const std::string& name) {
  const auto removed = findIn(added_, address, name);
  if (removed == added_.end()) {
    return Status::kUnknownPrinter;
  }
  added_.erase(removed);
  return Status::kOk;
}

void SharedPrinters::reset() {
  searches_.clear();
  added_ = setup_.added;
}

}  // namespace velsim
