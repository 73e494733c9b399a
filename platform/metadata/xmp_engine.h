#pragma once
#include <optional>
#include <string>

#include "platform/bytes.h"

/// The seam between the program and the library that understands XMP packets: a loadable module, like the codecs.
namespace quellor {

/// What is to change in an XMP packet (ISO 16684-1). Properties are recognised by the URI of their namespace and
/// their local name, whatever prefix a packet uses, as elements and as attributes, at any depth.
struct XmpEdit {
  /// Every property of the Exif namespaces whose name begins with "GPS", their counterparts in other vocabularies
  /// for geographic positions, and each location (IPTC Extension) that holds one of them, with all that it holds.
  bool removeGps = false;
  bool removeMake = false;       // tiff:Make
  bool removeModel = false;      // tiff:Model
  bool removeMakerNote = false;  // exif:MakerNote
  /// 1 to 8, for a tiff:Orientation that is there and says something else; none is added.
  std::optional<int> orientation;
};

/// The functions that the XMP module exports. None throws, all are free of state.
struct XmpEngine {
  /// See xmpTextOf() in platform/metadata/xmp_packet.h.
  std::string (*textOf)(ByteView packet, const std::string& localName) noexcept;

  /// The packet with the edit made: the very bytes where it needs no change, else UTF-8 in which everything that
  /// stays is written as it was (wrapper, comments, white space and padding included). Absent when the packet is no
  /// well-formed XML, has a document type, is nested deeper or has more attributes on one element than any real one, or
  /// where memory runs out.
  std::optional<Bytes> (*edited)(ByteView packet, const XmpEdit& edit) noexcept;
};

/// Name of the function, with C linkage, by which the module hands out its XmpEngine: `const XmpEngine* ()`.
inline constexpr const char* kXmpEngineEntry = "quellorXmpEngine";

}  // namespace quellor
