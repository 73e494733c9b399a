#pragma once
#include <exception>
#include <string>
#include <utility>

namespace quellor {

/// The one error type of the system: raised wherever an operation can fail, caught once, in the operation's driver,
/// which copies both texts into the response's `error`.
class HelperFailure : public std::exception {
 public:
  /// `code` is a lower snake_case token that programs compare ("input_not_found"), `message` a sentence for people.
  HelperFailure(std::string failureCode, std::string failureMessage)
      : code(std::move(failureCode)), message(std::move(failureMessage)) {}

  [[nodiscard]] const char* what() const noexcept override { return message.c_str(); }

  std::string code;
  std::string message;
};

}  // namespace quellor
