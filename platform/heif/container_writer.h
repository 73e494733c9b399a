#pragma once
#include <optional>
#include <vector>

#include "platform/heif/output_file.h"

namespace quellor::heif {

/// A file in parts, so that it can go out in gathered writes without a copy of its image data.
struct SerialisedFile {
  Bytes head;                  // everything up to the first byte of item data
  std::vector<ByteView> runs;  // the item data, as views of what the OutputFile's items pointed at

  /// The whole file, part after part. Valid as long as this object stands where it is.
  [[nodiscard]] std::vector<ByteView> parts() const;
};

/// Lays out `ftyp`, then `meta` with `hdlr`, `pitm`, `iinf`, `iref`, `iprp` and `iloc`, then `mdat` with the data of
/// the items in their order. Boxes have the oldest version that can say what has to be said: 32-bit ids only where an
/// id needs them, 64-bit offsets only beyond 4 GB, 15-bit property indexes only beyond 127 properties. An item without
/// data has no entry in `iloc`.
///
/// Absent when an id stands twice, the primary item or a property does not exist, the format has no room for something
/// (65535 items, 255 properties an item, 32767 properties, 65535 targets of a reference), or memory runs out.
std::optional<SerialisedFile> serialise(const OutputFile& file);

}  // namespace quellor::heif
