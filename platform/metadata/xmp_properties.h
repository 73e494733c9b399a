#pragma once
#include "platform/metadata/metadata_removals.h"
#include "platform/metadata/xmp_editor.h"
#include "platform/metadata/xmp_namespaces.h"

/// Which properties of a packet a removal means, by their names alone.
namespace quellor::metadata {

bool isPosition(const XmlName& name);

/// LocationCreated and LocationShown (IPTC Photo Metadata 2019.1): they may hold a position.
bool isLocation(const XmlName& name);

/// A picture in the packet, which may have metadata of its own.
bool isEmbeddedImage(const XmlName& name);

/// What the property is, as the one member that is set; none for every other property.
PacketContents contentsOf(const XmlName& name);

/// Whether the property has to go.
bool isRemoved(const XmlName& name, const MetadataRemovals& removals);

}  // namespace quellor::metadata
