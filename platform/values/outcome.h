#pragma once
#include <optional>
#include <utility>

namespace quellor {

/// Why something is absent: a short English phrase for developers. No response shows it; tests assert it.
struct Refusal {
  const char* reason;  // lives as long as the program
};

/// A value, or the first reason why there is none. Whoever hands an absence on hands its reason on.
template <typename T>
class [[nodiscard]] Outcome {
 public:
  Outcome(T value) : value_(std::move(value)) {}
  Outcome(Refusal refusal) : refusal_(refusal) {}

  [[nodiscard]] bool has_value() const { return value_.has_value(); }
  explicit operator bool() const { return has_value(); }

  /// Only where there is a value.
  [[nodiscard]] T& operator*() & { return *value_; }
  [[nodiscard]] const T& operator*() const& { return *value_; }
  [[nodiscard]] T&& operator*() && { return *std::move(value_); }
  [[nodiscard]] T* operator->() { return &*value_; }
  [[nodiscard]] const T* operator->() const { return &*value_; }

  /// The value; raises std::bad_optional_access where there is none.
  [[nodiscard]] T& value() & { return value_.value(); }
  [[nodiscard]] const T& value() const& { return value_.value(); }
  [[nodiscard]] T&& value() && { return std::move(value_).value(); }

  /// Of an absence; of a value the reason is empty.
  [[nodiscard]] Refusal refusal() const { return refusal_; }
  [[nodiscard]] const char* reason() const { return refusal_.reason; }

 private:
  std::optional<T> value_;
  Refusal refusal_{""};
};

}  // namespace quellor
