#pragma once
#include <optional>

#include "platform/metadata/metadata_removals.h"
#include "platform/values/metadata_blocks.h"

namespace quellor {

/// The Exif block and the XMP packet for a written file, made from `blocks`: `removals` are out of both, the
/// orientation (1 to 8) is in both where there is one, everything else stays byte for byte. IPTC has no home in the
/// written file and is absent. Raises std::bad_alloc.
///
/// Exif: as platform/metadata/exif_editor.h has it. A block that cannot be read, or from which what has to go cannot be
/// removed with certainty, is left out. Where there is an orientation and no block, a block with that alone is made.
///
/// XMP: as platform/metadata/xmp_editor.h has it. A packet that cannot be edited with certainty is left out when
/// something has to be removed from it, and carried as it is otherwise. A packet in the Exif block stays as it is or
/// goes.
MetadataBlocks editedBlocks(const MetadataBlocks& blocks, const MetadataRemovals& removals,
                            std::optional<int> orientation);

}  // namespace quellor
