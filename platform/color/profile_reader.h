#pragma once
#include <optional>
#include <string>

#include "platform/values/bytes.h"
#include "platform/values/color.h"

namespace quellor {

/// What an embedded profile says of itself.
struct ProfileFacts {
  ColorModel model = ColorModel::rgb;
  /// The profile's own description in English, or in the first language that it has; valid UTF-8.
  std::optional<std::string> description;
  /// The name of the known space whose primaries and tone curve the profile has, e.g. "kCGColorSpaceDisplayP3".
  std::optional<std::string> knownSpace;
};

/// What the profile says of itself; absent when the bytes are no usable profile. Throws std::bad_alloc only.
///
/// Usable is a profile whose bytes are all there (the size in its header does not exceed them), which describes
/// colours of a grey, RGB or CMYK device or space (input, display, output and colour-space profiles) and which has
/// what it takes to interpret them: a table towards the profile connection space or, for grey and RGB, readable tone
/// curves and colorants (ICC.1:2010, clause 8). Tables are not read.
std::optional<ProfileFacts> describeProfile(ByteView profile);

}  // namespace quellor
