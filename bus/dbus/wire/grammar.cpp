#include "bus/dbus/wire/grammar.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/utf8.h"

namespace qxbus::wire {
namespace {

constexpr std::size_t kLongestName = 255;
constexpr std::size_t kLongestSignature = 255;
constexpr int kDeepestNesting = 32;

// --- Texts ---------------------------------------------------------------------------------------

// Whether all eight bytes are ASCII and none is NUL.
bool isPlain(std::uint64_t eight) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  // With every high bit clear, a subtraction borrows only from a byte that is 0.
  return (eight & kHighBits) == 0 && ((eight - kOnes) & kHighBits) == 0;
}

// --- Names ---------------------------------------------------------------------------------------

constexpr unsigned char kDigit = 1;
constexpr unsigned char kLetter = 2;  // or underscore
constexpr unsigned char kHyphen = 4;

struct Classes {
  unsigned char of[256] = {};

  constexpr Classes() {
    for (int c = '0'; c <= '9'; ++c) {
      of[c] = kDigit;
    }
    for (int c = 'a'; c <= 'z'; ++c) {
      of[c] = kLetter;
      of[c - 'a' + 'A'] = kLetter;
    }
    of[static_cast<int>('_')] = kLetter;
    of[static_cast<int>('-')] = kHyphen;
  }
};

constexpr Classes kClasses;

bool isOneOf(char c, unsigned char classes) {
  return (kClasses.of[static_cast<unsigned char>(c)] & classes) != 0;
}

// How the elements between the separators of a name are made.
struct Elements {
  unsigned char first;  // classes of an element's first character
  unsigned char rest;   // and of the others
};

constexpr Elements kInterfaceElements = {kLetter, kLetter | kDigit};
constexpr Elements kBusNameElements = {kLetter | kHyphen, kLetter | kDigit | kHyphen};
constexpr Elements kUniqueNameElements = {kLetter | kDigit | kHyphen, kLetter | kDigit | kHyphen};
constexpr Elements kPathElements = {kLetter | kDigit, kLetter | kDigit};

// The number of elements; 0 when one of them is malformed or empty.
int countElements(std::string_view name, char separator, Elements elements) {
  int count = 0;
  bool isFirst = true;
  for (const char c : name) {
    if (isFirst) {
      if (!isOneOf(c, elements.first)) {
        return 0;
      }
      ++count;
      isFirst = false;
    } else if (c == separator) {
      isFirst = true;
    } else if (!isOneOf(c, elements.rest)) {
      return 0;
    }
  }
  return isFirst ? 0 : count;
}

// --- Signatures ----------------------------------------------------------------------------------

bool isBasicType(char type) {
  switch (type) {
    case 'y':
    case 'b':
    case 'n':
    case 'q':
    case 'i':
    case 'u':
    case 'x':
    case 't':
    case 'd':
    case 's':
    case 'o':
    case 'g':
    case 'h':
      return true;
    default:
      return false;
  }
}

struct Nesting {
  int structs = 0;
  int entries = 0;
};

// Where the complete type at the beginning of the characters ends; null when none is there.
const char* endOfType(const char* type, const char* end, Nesting nesting);

const char* endOfStruct(const char* field, const char* end, Nesting nesting) {
  if (++nesting.structs > kDeepestNesting) {
    return nullptr;
  }
  do {
    field = endOfType(field, end, nesting);
  } while (field && field != end && *field != ')');
  return field && field != end ? field + 1 : nullptr;
}

const char* endOfEntry(const char* key, const char* end, Nesting nesting) {
  if (++nesting.entries > kDeepestNesting || key == end || !isBasicType(*key)) {
    return nullptr;
  }
  const char* const value = endOfType(key + 1, end, nesting);
  return value && value != end && *value == '}' ? value + 1 : nullptr;
}

const char* endOfType(const char* type, const char* end, Nesting nesting) {
  // libdbus counts arrays of arrays up to the next structure or dictionary, and so does this.
  const char* const element =
      std::find_if(type, end, [](char character) { return character != 'a'; });
  if (element - type > kDeepestNesting || element == end) {
    return nullptr;
  }
  if (*element == '(') {
    return endOfStruct(element + 1, end, nesting);
  }
  if (*element == '{' && element != type) {
    return endOfEntry(element + 1, end, nesting);
  }
  return isBasicType(*element) || *element == 'v' ? element + 1 : nullptr;
}

}  // namespace

bool isText(std::string_view bytes) {
  while (!bytes.empty()) {
    std::uint64_t eight = 0;
    if (bytes.size() >= sizeof eight) {
      std::memcpy(&eight, bytes.data(), sizeof eight);
      if (isPlain(eight)) {
        bytes.remove_prefix(sizeof eight);
        continue;
      }
    }
    const base::Utf8Character character = base::firstCharacter(bytes);
    if (!character.isValid || character.code == 0) {
      return false;
    }
    bytes.remove_prefix(character.length);
  }
  return true;
}

bool isObjectPath(std::string_view path) {
  return path == "/" || (!path.empty() && path.front() == '/' &&
                         countElements(path.substr(1), '/', kPathElements) > 0);
}

bool isInterfaceName(std::string_view name) {
  return name.size() <= kLongestName && countElements(name, '.', kInterfaceElements) > 1;
}

bool isMemberName(std::string_view name) {
  return name.size() <= kLongestName && countElements(name, '.', kInterfaceElements) == 1;
}

bool isBusName(std::string_view name) {
  if (name.size() > kLongestName) {
    return false;
  }
  if (name.empty() || name.front() != ':') {
    return countElements(name, '.', kBusNameElements) > 1;
  }
  // libdbus accepts ":" and ":.1", and hands them on: refused here, they would end the connection.
  name.remove_prefix(1);
  if (!name.empty() && name.front() == '.') {
    name.remove_prefix(1);
    return countElements(name, '.', kUniqueNameElements) > 0;
  }
  return name.empty() || countElements(name, '.', kUniqueNameElements) > 0;
}

bool isSignature(std::string_view signature) {
  if (signature.size() > kLongestSignature) {
    return false;
  }
  const char* const end = signature.data() + signature.size();
  for (const char* type = signature.data(); type != end;) {
    type = endOfType(type, end, {});
    if (!type) {
      return false;
    }
  }
  return true;
}

bool isSingleType(std::string_view signature) {
  if (signature.empty() || signature.size() > kLongestSignature) {
    return false;
  }
  const char* const end = signature.data() + signature.size();
  return endOfType(signature.data(), end, {}) == end;
}

std::size_t lengthOfFirstType(std::string_view signature) {
  const std::size_t element = signature.find_first_not_of('a');
  int open = 0;
  for (std::size_t i = element; i < signature.size(); ++i) {
    const char type = signature[i];
    open += type == '(' || type == '{' ? 1 : 0;
    open -= type == ')' || type == '}' ? 1 : 0;
    if (open == 0) {
      return i + 1;
    }
  }
  return signature.size();
}

}  // namespace qxbus::wire
