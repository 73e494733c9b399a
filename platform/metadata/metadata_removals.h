#pragma once
#include "platform/properties.h"

namespace quellor {

/// What must not be in a written file, in whichever block it stands and whether or not it was seen there.
struct MetadataRemovals {
  bool position = false;
  bool make = false;
  bool model = false;
  bool makerNote = false;
  bool packet = false;  // the XMP packet as a whole

  /// Whether something inside the blocks has to go that only their editors can find.
  [[nodiscard]] bool inside() const { return position || make || model || makerNote; }
};

/// The removals that the dictionary carries marks of: `{GPS}` is the position, Make and Model of `{TIFF}` and MakerNote
/// of `{Exif}` are what they are called, a maker dictionary is the maker note, `{XMP}` the packet. A dictionary that
/// was removed as a whole stands for all that it could hold.
MetadataRemovals removalsOf(const PropertyDictionary& properties);

}  // namespace quellor
