#pragma once
#include <exception>
#include <string>
#include <utility>

namespace quellor {

/// An error that is described by a sentence for people. The sentence may quote any text, a NUL character included:
/// description() is all of it, what() ends there.
class DescribedError : public std::exception {
 public:
  explicit DescribedError(std::string description) : description_(std::move(description)) {}

  [[nodiscard]] const std::string& description() const noexcept { return description_; }
  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }

 private:
  std::string description_;
};

}  // namespace quellor
