#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/bytes.h"

namespace quellor {

enum class FileFormat : std::uint8_t { heif, jpeg, png, tiff, webp, gif };

/// The format that a file with these first bytes claims to be of, or absent. A few hundred bytes are enough.
std::optional<FileFormat> recogniseFormat(ByteView head);

/// The name of the module that has the format's codec.
std::string_view moduleNameOf(FileFormat format);

}  // namespace quellor
