#pragma once
#include <optional>

#include "platform/metadata/metadata_removals.h"
#include "platform/values/bytes.h"

namespace quellor {

/// What a packet (ISO 16684-1) holds of the things that can be removed from it.
struct PacketContents {
  bool position = false;
  bool make = false;
  bool model = false;
  bool makerNote = false;
};

/// What is to change in a packet. `removals.packet` is of no meaning here.
struct XmpEdit {
  MetadataRemovals removals;
  /// 1 to 8, for a tiff:Orientation that is there and says something else; none is added.
  std::optional<int> orientation;
};

/// What is found in the packet; nothing where it is no XML that can be parsed. Raises std::bad_alloc.
///
/// Properties count as elements and as attributes, at any depth. A position is every property whose local name begins
/// with "GPS" or speaks of latitude, longitude or altitude, in any namespace, and every one of the vocabularies for
/// positions; Make and Model are those of the TIFF namespace, by its URI or its customary prefix; a maker note is every
/// property whose local name ends with "MakerNote", in any case.
PacketContents contentsOfXmp(ByteView packet);

/// The packet with the edit made: the very bytes where it needs no change, else UTF-8 in which everything that stays is
/// written as it was (wrapper, white space and padding included). A location (IPTC Extension) that holds a position
/// goes with all that it holds. Raises std::bad_alloc.
///
/// When something is to be removed, the packet must be one of which nothing can have been missed: an XMP packet in the
/// strict sense (platform/metadata/xmp_form.h), which is turned into UTF-8 if it is in another encoding; comments,
/// processing instructions other than the packet's wrapper and embedded images go from it. Absent where it is not.
/// When nothing is to be removed, absent only where the packet cannot be parsed.
std::optional<Bytes> editedXmp(ByteView packet, const XmpEdit& edit);

}  // namespace quellor
