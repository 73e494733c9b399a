#pragma once
#include <optional>

#include "platform/heif/output_file.h"
#include "platform/values/color.h"
#include "platform/values/metadata_blocks.h"

namespace quellor::heif {

/// Makes the primary item and its alpha image read as `orientation`, 1 to 8 with the meaning of the Exif tag. An item
/// that does already is left as it is. Any other gets irot and imir of its own in place of those that it had, 1 as a
/// rotation by 0 degrees, and its transformative properties come last, as MIAF wants them: clap, irot, imir
/// (ISO/IEC 23000-22, 7.3.6.7). Another value of `orientation` changes nothing.
void setOrientation(OutputFile& file, int orientation);

/// Gives the primary item the ICC profile, if there is one and it is not empty, and the code points, in place of all
/// the colour information that it had (ISO/IEC 23008-12, 6.5.5). Meant for coded primary images: of a derived one, the
/// inputs keep theirs.
void setColor(OutputFile& file, const std::optional<Bytes>& icc, const Cicp& cicp);

/// Says that the file is a MIAF one: for images that were encoded here, which obey ISO/IEC 23000-22, 7.2 and 7.3 (one
/// coded image and its alpha, sizes, channel depths and colour stated, a clean aperture of whole samples that begins
/// at the first). A copy says what its source said.
void declareMiaf(OutputFile& file);

/// Adds hidden items for the Exif block and the XMP packet (ISO/IEC 23008-12, annex A.2 and A.3) that describe the
/// primary item, with ids that no item has. An empty block, and IPTC, is not written.
void addMetadata(OutputFile& file, const MetadataBlocks& blocks);

}  // namespace quellor::heif
