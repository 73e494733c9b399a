#include "protocol/number_range.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace quellor {
namespace {

constexpr std::string_view kDigits = "0123456789";

/// Takes the digits at the front of `text` off it and returns how many there were.
std::size_t takeDigits(std::string_view& text) {
  const std::size_t count = std::min(text.find_first_not_of(kDigits), text.size());
  text.remove_prefix(count);
  return count;
}

/// Takes one of these characters off the front of `text`, if it is there.
bool take(std::string_view& text, std::string_view characters) {
  if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

/// RFC 8259, section 6.
bool isJsonNumber(std::string_view text) {
  take(text, "-");
  if (!take(text, "0") && takeDigits(text) == 0) return false;
  if (take(text, ".") && takeDigits(text) == 0) return false;
  if (take(text, "eE")) {
    take(text, "+-");
    if (takeDigits(text) == 0) return false;
  }
  return text.empty();
}

bool isOversized(std::string_view token) {
  constexpr std::size_t kDigitsOfTheLargestDouble = 309;
  const bool mayBe = token.size() >= kDigitsOfTheLargestDouble || token.find_first_of("eE") != std::string_view::npos;
  return mayBe && isJsonNumber(token) && std::isinf(std::strtod(std::string(token).c_str(), nullptr));
}

/// The position behind the string that begins at `begin` with its quotation mark.
std::size_t endOfString(std::string_view text, std::size_t begin) {
  std::size_t at = begin + 1;
  while (at < text.size() && text[at] != '"') at += text[at] == '\\' ? 2U : 1U;
  return at + 1;
}

}  // namespace

std::vector<OversizedNumber> oversizedNumbers(std::span<const char> document) {
  const std::string_view text(document.data(), document.size());
  std::vector<OversizedNumber> found;
  std::size_t ordinal = 0;
  for (std::size_t at = 0; (at = text.find_first_of("\"-0123456789", at)) != std::string_view::npos;) {
    if (text[at] == '"') {
      at = endOfString(text, at);
      continue;
    }
    const std::size_t end = std::min(text.find_first_not_of("+-.0123456789eE", at), text.size());
    if (isOversized(text.substr(at, end - at))) found.push_back({ordinal, at, end - at});
    ++ordinal;
    at = end;
  }
  return found;
}

std::string withZerosFor(const std::vector<OversizedNumber>& numbers, std::span<const char> document) {
  std::string bounded(document.begin(), document.end());
  for (const OversizedNumber& number : numbers) {
    bounded.replace(number.offset, number.length, number.length, ' ');
    bounded[number.offset] = '0';
  }
  return bounded;
}

}  // namespace quellor
