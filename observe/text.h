#pragma once
#include <string_view>

namespace quellor {

/// Whether `text` contains `part` somewhere, taking upper- and lower-case letters of ASCII for the same.
bool containsIgnoringCase(std::string_view text, std::string_view part);

}  // namespace quellor
