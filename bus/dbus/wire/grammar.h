// The rules of D-Bus for strings, names, object paths and signatures.

#ifndef BUS_DBUS_WIRE_GRAMMAR_H
#define BUS_DBUS_WIRE_GRAMMAR_H

#include <string_view>

namespace qxbus::wire {

// UTF-8 without NUL: the contents of a string.
bool isText(std::string_view bytes);

// "/qx/bus/vel"
bool isObjectPath(std::string_view path);
// "qx.bus.vel"; error names follow the same rules.
bool isInterfaceName(std::string_view name);
// "connectDevice"
bool isMemberName(std::string_view name);
// ":1.42" or "qx.bus.vel"
bool isBusName(std::string_view name);

// Any number of complete types, at most 255 characters; an empty signature is valid.
bool isSignature(std::string_view signature);
// Exactly one complete type: the signature of a variant.
bool isSingleType(std::string_view signature);

// The number of characters of the first complete type.
//
// signature  valid, and not empty
std::size_t lengthOfFirstType(std::string_view signature);

}  // namespace qxbus::wire

#endif  // BUS_DBUS_WIRE_GRAMMAR_H
