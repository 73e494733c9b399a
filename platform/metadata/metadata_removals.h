#pragma once

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

}  // namespace quellor
