#pragma once
#include <optional>
#include <string>

#include "platform/bytes.h"
#include "platform/color_space.h"

/// The seam between the program and the library that understands ICC profiles: a loadable module, like the codecs.
namespace quellor {

/// What an embedded profile says of itself.
struct ProfileFacts {
  ColorModel model = ColorModel::rgb;
  /// The profile's own description in English, or in the first language that it has; valid UTF-8.
  std::optional<std::string> description;
  /// The name of the known space whose primaries and tone curve the profile has, e.g. "kCGColorSpaceDisplayP3".
  std::optional<std::string> knownSpace;
};

/// The functions that the colour module exports. None throws, all are free of state.
struct ColorEngine {
  /// Absent when the bytes are no usable profile of a grey, RGB or CMYK space.
  std::optional<ProfileFacts> (*describe)(ByteView profile) noexcept;

  /// A profile of the space with that name: the same bytes on every run and machine. Absent for spaces that have
  /// none here (PQ, HLG, generic CMYK) and for unknown names.
  std::optional<Bytes> (*build)(const std::string& spaceName) noexcept;
};

/// Name of the function, with C linkage, by which the colour module hands out its ColorEngine:
/// `const ColorEngine* ()`.
inline constexpr const char* kColorEngineEntry = "quellorColorEngine";

}  // namespace quellor
