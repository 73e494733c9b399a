#pragma once
#include <pugixml.hpp>

#include "platform/values/bytes.h"

/// The form of an XMP packet (ISO 16684-1, 7): what an editor must know before it can say that it has seen everything.
namespace quellor::metadata {

/// A packet as a tree. Text and attribute values are as they were written, entities included.
struct PacketTree {
  pugi::xml_document document;
  /// Whether the tree is all that the bytes say, in UTF-8: no other encoding, nothing behind a NUL.
  bool saysAllInUtf8 = false;
};

/// Parses the packet, NULs behind it left out. False when it is no XML that can be parsed, is larger than
/// kMaximumPacketBytes, has a document type, more than one root element or text outside of it, or is nested deeper or
/// has more attributes on one element than any real packet.
bool parsePacket(ByteView packet, PacketTree& tree);

/// Whether the tree is an XMP packet and nothing else: a root element x:xmpmeta or rdf:RDF, descriptions in it, and
/// properties in these; all prefixes declared; no markup hidden in attribute values or CDATA sections. Of such a packet
/// every reader sees the same properties.
bool isStrictPacket(const pugi::xml_document& document);

/// Removes what is no part of a packet's data and could hold anything: comments, and processing instructions other than
/// the wrapper's in their usual form (ISO 16684-1, 7.3.2). Returns whether there was any.
bool removeCommentsAndInstructions(pugi::xml_document& document);

/// The largest packet seen has 2 MB; a tree takes up to 30 times the bytes.
inline constexpr std::size_t kMaximumPacketBytes = std::size_t{16} << 20;

}  // namespace quellor::metadata
