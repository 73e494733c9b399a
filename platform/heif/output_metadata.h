#pragma once
#include "platform/heif/output_file.h"
#include "platform/values/metadata_blocks.h"

namespace quellor::heif {

/// Adds hidden items for the Exif block and the XMP packet (ISO/IEC 23008-12, annex A.2 and A.3) that describe the
/// primary item, with ids that no item has. An empty block, and IPTC, is not written.
void addMetadata(OutputFile& file, const MetadataBlocks& blocks);

}  // namespace quellor::heif
