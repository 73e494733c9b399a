#pragma once
#include <optional>
#include <string_view>

#include "platform/metadata/tiff_directory.h"
#include "platform/properties.h"

namespace quellor::metadata {

struct MakerNote {
  std::string_view key;  // of the top-level dictionary: "{MakerApple}"
  PropertyDictionary entries;
};

/// The maker note in `note`, the MakerNote entry of the Exif directory of `block`. It is recognised by the signature
/// that it begins with or, for makers who write none, by `make` (the Make of the first directory) together with its
/// form. Absent for a note of another maker.
///
/// Where the note is a plain TIFF directory, `entries` holds what can be read of it, each under its tag's number in
/// decimal. It is empty where the maker's form is another one.
std::optional<MakerNote> readMakerNote(const TiffBlock& block, const TiffEntry& note, std::string_view make);

}  // namespace quellor::metadata
