// Log lines of the library.
//
//   VEL_DEBUG("vmId:%s, port:%d", vmId.c_str(), port);
//
// writes file, function and line, then the text in quotes. The text must be a literal, so that the
// compiler checks it against the arguments. VEL_DEBUG_AT and VEL_ERROR_AT take function and line
// from the caller, for code that logs for an operation.

#ifndef VEL_APPS_LOCAL_VELPROXY_INTERNAL_VEL_LOG_H
#define VEL_APPS_LOCAL_VELPROXY_INTERNAL_VEL_LOG_H

#include "platform/log.h"

namespace qx {

inline constexpr int kDebugLevel = 5;
inline constexpr int kErrorLevel = 7;
inline constexpr char kLogTag[] = "VEL_LOG";
inline constexpr char kLogFile[] = "vel_proxy";

}  // namespace qx

#define VEL_DEBUG(...) VEL_DEBUG_AT(__func__, __LINE__, __VA_ARGS__)
#define VEL_ERROR(...) VEL_ERROR_AT(__func__, __LINE__, __VA_ARGS__)
#define VEL_DEBUG_AT(function, line, ...) \
  VEL_LOG_(qx::kDebugLevel, "Debug:", function, line, __VA_ARGS__)
#define VEL_ERROR_AT(function, line, ...) \
  VEL_LOG_(qx::kErrorLevel, "Error:", function, line, __VA_ARGS__)

// The number of arguments (at most 11) selects one of two forms, because a text without arguments
// must not leave a comma at the end.
#define VEL_LOG_(level, word, function, line, ...)                                           \
  VEL_LOG_CHOOSE_(__VA_ARGS__, VEL_LOG_ARGS_, VEL_LOG_ARGS_, VEL_LOG_ARGS_, VEL_LOG_ARGS_,   \
                  VEL_LOG_ARGS_, VEL_LOG_ARGS_, VEL_LOG_ARGS_, VEL_LOG_ARGS_, VEL_LOG_ARGS_, \
                  VEL_LOG_ARGS_, VEL_LOG_ARGS_, VEL_LOG_TEXT_, ~)                            \
  (level, word, function, line, __VA_ARGS__)
#define VEL_LOG_CHOOSE_(text, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, form, ...) form
// The whole format of a line, for tables of formats.
#define VEL_DEBUG_FORMAT(text) VEL_LOG_FORMAT_("Debug:", text)
#define VEL_ERROR_FORMAT(text) VEL_LOG_FORMAT_("Error:", text)
#define VEL_LOG_FORMAT_(word, text) "%s %s(%d): \"" word "\" \"" text "\""
#define VEL_LOG_TEXT_(level, word, function, line, text) \
  norvoLogPrint(0, level, qx::kLogTag, VEL_LOG_FORMAT_(word, text), qx::kLogFile, function, line)
#define VEL_LOG_ARGS_(level, word, function, line, text, ...)                                     \
  norvoLogPrint(0, level, qx::kLogTag, VEL_LOG_FORMAT_(word, text), qx::kLogFile, function, line, \
                __VA_ARGS__)

#endif  // VEL_APPS_LOCAL_VELPROXY_INTERNAL_VEL_LOG_H
