#include "vel/apps/local/velctl/output/printable_json.h"

#include "base/printable.h"
#include "base/text.h"
#include "base/utf8.h"

namespace velctl {
namespace {

void appendEscape(std::string* text, char32_t unit) {
  *text += "\\u";
  base::appendHex(text, static_cast<unsigned char>(unit >> 8));
  base::appendHex(text, static_cast<unsigned char>(unit & 0xFF));
}

}  // namespace

std::string printableJson(std::string_view json) {
  if (base::isPrintableAscii(json)) {
    return std::string(json);
  }
  std::string shown;
  shown.reserve(json.size());
  base::PrintableSequence sequence;
  while (!json.empty()) {
    const base::Utf8Character character = base::firstCharacter(json);
    const char32_t code = character.code;
    // ASCII control characters are escaped already, or stand between the values.
    if (sequence.isPrintable(character) || code < 0x20) {
      shown += json.substr(0, character.length);
    } else if (code < 0x10000) {
      appendEscape(&shown, code);
    } else {
      appendEscape(&shown, 0xD800 + ((code - 0x10000) >> 10));
      appendEscape(&shown, 0xDC00 + ((code - 0x10000) & 0x3FF));
    }
    json.remove_prefix(character.length);
  }
  return shown;
}

}  // namespace velctl
