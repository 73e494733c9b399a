#include "observe/text.h"

#include <algorithm>

namespace quellor {
namespace {

char lowerCase(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

}  // namespace

bool containsIgnoringCase(std::string_view text, std::string_view part) {
  const auto sameLetter = [](char a, char b) { return lowerCase(a) == lowerCase(b); };
  return std::search(text.begin(), text.end(), part.begin(), part.end(), sameLetter) != text.end() || part.empty();
}

}  // namespace quellor
