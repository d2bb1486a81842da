// A value, or the reason why there is no value.
//
//   Result<Socket> connectTo(const std::string& path) {
//     if (path.empty()) { return Failed{"the path is empty"}; }
//     ...
//     return socket;
//   }

#ifndef BASE_RESULT_H
#define BASE_RESULT_H

#include <optional>
#include <string>
#include <utility>

namespace base {

// The reason, as a text for people.
struct Failed {
  std::string reason;
};

template <typename Value>
class [[nodiscard]] Result {
 public:
  Result(Value value) : value_(std::move(value)) {}
  Result(Failed failed) : reason_(std::move(failed.reason)) {}

  explicit operator bool() const { return value_.has_value(); }
  // Needs a value.
  Value& operator*() { return *value_; }
  const Value& operator*() const { return *value_; }
  Value* operator->() { return &*value_; }
  const Value* operator->() const { return &*value_; }

  // Empty when there is a value.
  const std::string& reason() const { return reason_; }
  // The reason as the failure of another result.
  Failed failed() const { return Failed{reason_}; }

 private:
  std::optional<Value> value_;
  std::string reason_;
};

// Success without a value, or the reason of a failure.
template <>
class [[nodiscard]] Result<void> {
 public:
  Result() = default;
  Result(Failed failed) : isDone_(false), reason_(std::move(failed.reason)) {}

  explicit operator bool() const { return isDone_; }
  const std::string& reason() const { return reason_; }
  Failed failed() const { return Failed{reason_}; }

 private:
  bool isDone_ = true;
  std::string reason_;
};

}  // namespace base

#endif  // BASE_RESULT_H
