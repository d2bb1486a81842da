#include "bus/dbus/wire/values_check.h"

#include <cstddef>
#include <cstdint>

#include "bus/dbus/wire/grammar.h"

namespace qxbus::wire {
namespace {

constexpr int kDeepestValue = 64;

// Types whose values all have one size, which is also their alignment; 0: another type.
std::size_t fixedSizeOf(char type) {
  switch (type) {
    case 'y':
      return 1;
    case 'n':
    case 'q':
      return 2;
    case 'b':
    case 'i':
    case 'u':
    case 'h':
      return 4;
    case 'x':
    case 't':
    case 'd':
      return 8;
    default:
      return 0;
  }
}

std::size_t alignmentOf(char type) {
  switch (type) {
    case 's':
    case 'o':
    case 'a':
      return 4;
    case '(':
    case '{':
      return 8;
    case 'g':
    case 'v':
      return 1;
    default:
      return fixedSizeOf(type);
  }
}

bool checkBoolean(Cursor* cursor) {
  std::uint32_t value = 0;
  return cursor->number(&value) && (value <= 1 || cursor->fail(Fault::kBoolean));
}

bool checkString(Cursor* cursor) {
  std::string_view text;
  return cursor->string(&text) && (isText(text) || cursor->fail(Fault::kText));
}

bool checkObjectPath(Cursor* cursor) {
  std::string_view path;
  return cursor->string(&path) && (isObjectPath(path) || cursor->fail(Fault::kObjectPath));
}

bool checkSignature(Cursor* cursor) {
  std::string_view signature;
  return cursor->signature(&signature) &&
         (isSignature(signature) || cursor->fail(Fault::kSignature));
}

bool checkDepth(Cursor* cursor, int depth) {
  return depth <= kDeepestValue || cursor->fail(Fault::kNesting);
}

// The functions below remove the type of the value that they check from the front of the types.
bool checkValue(Cursor* cursor, std::string_view* types, int depth);

bool checkVariant(Cursor* cursor, int depth) {
  std::string_view type;
  if (!cursor->signature(&type)) {
    return false;
  }
  if (!isSingleType(type)) {
    return cursor->fail(Fault::kSignature);
  }
  return checkDepth(cursor, depth) && checkValue(cursor, &type, depth);
}

// A structure, or an entry of a dictionary.
bool checkFields(Cursor* cursor, std::string_view* types, int depth) {
  if (!cursor->align(alignmentOf('(')) || !checkDepth(cursor, depth)) {
    return false;
  }
  while (types->front() != ')' && types->front() != '}') {
    if (!checkValue(cursor, types, depth)) {
      return false;
    }
  }
  types->remove_prefix(1);
  return true;
}

bool checkFixedElements(Cursor* cursor, char type, std::size_t elementSize, std::size_t size) {
  if (size % elementSize != 0) {
    return cursor->fail(Fault::kArrayEnd);
  }
  if (type != 'b') {
    return cursor->skip(size);
  }
  for (const std::size_t end = cursor->position() + size; cursor->position() != end;) {
    if (!checkBoolean(cursor)) {
      return false;
    }
  }
  return true;
}

// At least one, and all of one type.
bool checkElements(Cursor* cursor, std::string_view* types, std::size_t size, int depth) {
  if (!checkDepth(cursor, depth)) {
    return false;
  }
  const std::size_t end = cursor->position() + size;
  const std::string_view element = *types;
  do {
    *types = element;
    if (!checkValue(cursor, types, depth)) {
      return false;
    }
  } while (cursor->position() < end);
  return cursor->position() == end || cursor->fail(Fault::kArrayEnd);
}

bool checkArray(Cursor* cursor, std::string_view* types, int depth) {
  const char element = types->front();
  std::size_t size = 0;
  if (!cursor->array(alignmentOf(element), &size)) {
    return false;
  }
  if (const std::size_t elementSize = fixedSizeOf(element)) {
    types->remove_prefix(1);
    return checkFixedElements(cursor, element, elementSize, size);
  }
  if (size == 0) {
    types->remove_prefix(lengthOfFirstType(*types));
    return true;
  }
  return checkElements(cursor, types, size, depth);
}

bool checkValue(Cursor* cursor, std::string_view* types, int depth) {
  const char type = types->front();
  types->remove_prefix(1);
  switch (type) {
    case 'b':
      return checkBoolean(cursor);
    case 's':
      return checkString(cursor);
    case 'o':
      return checkObjectPath(cursor);
    case 'g':
      return checkSignature(cursor);
    case 'v':
      return checkVariant(cursor, depth + 1);
    case 'a':
      return checkArray(cursor, types, depth + 1);
    case '(':
    case '{':
      return checkFields(cursor, types, depth + 1);
    default: {
      const std::size_t size = fixedSizeOf(type);
      return cursor->align(size) && cursor->skip(size);
    }
  }
}

}  // namespace

bool checkValues(Cursor* cursor, std::string_view signature, int depth) {
  while (!signature.empty()) {
    if (!checkValue(cursor, &signature, depth)) {
      return false;
    }
  }
  return true;
}

}  // namespace qxbus::wire
