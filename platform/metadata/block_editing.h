#pragma once
#include "platform/metadata/xmp_engine.h"
#include "platform/properties.h"

namespace quellor {

/// The Exif block and the XMP packet that say what `properties` says, made from the blocks that it remembers: what is
/// no longer in the dictionary is removed from them, everything else stays byte for byte.
///
/// Exif: an entry goes when its dictionary or its key is gone; its bytes and those of its value are wiped unless
/// something that stays uses them, too; no other offset moves, and wiped bytes at the end are cut off. `{GPS}` gone
/// takes the GPS directory and its bytes; a {Maker…} dictionary gone, or MakerNote, the maker note; `{XMP}` absent,
/// the packet in the first directory. The thumbnail directory (IFD1) is dropped always. Entries that are not in a
/// dictionary because they cannot be read stay.
/// Orientation: the tag gets the value at the top level of `properties`, and is added (in the room of a removed entry,
/// in a rebuilt first directory at the end of the block, or in a new block) where there is one at the top level and
/// none in the block.
///
/// XMP: `{XMP}` absent takes the packet; `{GPS}` absent every exif:GPS* property and location element with
/// coordinates, as attribute and as element; Make, Model, MakerNote absent take tiff:Make, tiff:Model, exif:MakerNote;
/// a tiff:Orientation is made to agree with the top level. A packet that needs no change keeps its bytes. Here absent
/// is as good as gone, even where there never was more than the twin in the packet: the dictionary cannot tell the
/// two apart, and a removal must be complete.
/// IPTC has no home in the written file and is absent.
///
/// A block that cannot be read, so that nothing could be removed from it, is kept only when nothing that the blocks
/// gave is missing in the dictionary; otherwise it is left out. A packet counts as unreadable when `xmp`, the table of
/// the XMP module, is null. A dictionary without blocks gives blocks with the orientation alone, or none. So does
/// memory that cannot be had.
MetadataBlocks editedBlocks(const PropertyDictionary& properties, const XmpEngine* xmp);

}  // namespace quellor
