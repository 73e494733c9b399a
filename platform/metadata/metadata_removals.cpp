#include "platform/metadata/metadata_removals.h"

namespace quellor {

MetadataRemovals removalsOf(const PropertyDictionary& properties) {
  using namespace property_key;
  MetadataRemovals removals;
  removals.position = properties.wasRemoved(kGps);
  removals.make = properties.wasRemoved(kTiff, kTiffMake);
  removals.model = properties.wasRemoved(kTiff, kTiffModel);
  removals.makerNote = properties.wasRemoved(kExif, kExifMakerNote) || properties.wasAnyRemoved(kMakerPrefix);
  removals.packet = properties.wasRemoved(kXmp);
  return removals;
}

}  // namespace quellor
