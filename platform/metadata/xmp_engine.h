#pragma once
#include <optional>

#include "platform/bytes.h"
#include "platform/metadata/metadata_removals.h"

/// The seam between the program and the library that understands XMP packets: a loadable module, like the codecs.
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

/// The functions that the XMP module exports. None throws, all are free of state.
struct XmpEngine {
  /// See contentsOfXmp() in platform/metadata/xmp_editor.h. Nothing is found where memory runs out.
  PacketContents (*contentsOf)(ByteView packet) noexcept;

  /// See editedXmp() in platform/metadata/xmp_editor.h. Absent where memory runs out, too.
  std::optional<Bytes> (*edited)(ByteView packet, const XmpEdit& edit) noexcept;
};

/// Name of the function, with C linkage, by which the module hands out its XmpEngine: `const XmpEngine* ()`.
inline constexpr const char* kXmpEngineEntry = "quellorXmpEngine";

}  // namespace quellor
