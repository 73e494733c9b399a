#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/metadata/byte_ranges.h"
#include "platform/metadata/exif_directories.h"

namespace quellor::metadata {

/// The camera's maker as the first directory has it, up to the first NUL; empty when it has none.
std::string makeIn(const ExifDirectories& directories);

/// The key of the top-level dictionary ("{MakerApple}") for the maker note in `note`, a readable MakerNote entry of
/// `block`. It is recognised by the signature that it begins with or, for makers who write none, by `make` together
/// with its form. Absent for a note of another maker.
std::optional<std::string_view> makerDictionaryKey(const TiffBlock& block, const TiffEntry& note,
                                                   std::string_view make);

/// Where the values of the note's entries stand in the block: some makers put them outside of the note. Empty where the
/// note's form is not that of a plain directory; a note of an unknown maker is tried as one.
std::vector<ByteRange> makerNoteReferences(const TiffBlock& block, const TiffEntry& note, std::string_view make);

}  // namespace quellor::metadata
