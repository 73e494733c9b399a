#pragma once
#include "platform/metadata/xmp_engine.h"
#include "platform/properties.h"

namespace quellor {

/// Adds what only the XMP packet says where the Exif block could have said it: an (empty) {GPS} for a packet with a
/// position, Make and Model in {TIFF}, MakerNote in {Exif}. So a dictionary tells whether an image has these at all,
/// and one from which they were removed differs from one that never had them.
void addPacketTwins(ByteView packet, const XmpEngine& engine, PropertyDictionary& properties);

}  // namespace quellor
