#pragma once
#include <cstdint>
#include <optional>

#include "platform/heif/byte_reader.h"

/// Boxes, the building blocks of the container (ISO/IEC 14496-12, 4.2).
namespace quellor::heif {

/// A box: its type, and the reader of what follows its header (14496-12, 4.2).
struct Box {
  FourCC type = 0;
  ByteView payload;
};

/// Version and flags, with which a full box begins.
struct FullBoxHeader {
  std::uint8_t version = 0;
  std::uint32_t flags = 0;
};

/// Raises MalformedContainer when there are less than four bytes.
inline FullBoxHeader readFullBoxHeader(ByteReader& reader) {
  const std::uint32_t word = reader.u32();
  return {static_cast<std::uint8_t>(word >> 24), word & 0xffffff};
}

/// Raises MalformedContainer for a version that nobody here has heard of.
inline void requireVersion(const FullBoxHeader& header, std::uint8_t newest) {
  if (header.version > newest) throw MalformedContainer("unknown version of a box");
}

/// What the header of a box says, before its extent is checked.
struct BoxHeader {
  FourCC type = 0;
  std::optional<std::uint64_t> payloadSize;  // absent: up to the end of what encloses the box
};

/// Reads up to the payload. Raises MalformedContainer.
inline BoxHeader readBoxHeader(ByteReader& reader) {
  const std::size_t start = reader.position();
  BoxHeader header;
  std::uint64_t size = reader.u32();
  header.type = reader.u32();
  const bool toTheEnd = size == 0;
  if (size == 1) size = reader.u64();
  if (header.type == fourCC("uuid")) reader.bytes(16);
  if (toTheEnd) return header;
  const std::size_t headerSize = reader.position() - start;
  if (size < headerSize) throw MalformedContainer("a box smaller than its header");
  header.payloadSize = size - headerSize;
  return header;
}

/// Reads a whole box. Raises MalformedContainer when it ends past what `reader` has.
inline Box readBox(ByteReader& reader) {
  const BoxHeader header = readBoxHeader(reader);
  if (!header.payloadSize) return {header.type, reader.rest()};
  if (*header.payloadSize > reader.remaining()) throw MalformedContainer("a box ends past its parent");
  return {header.type, reader.bytes(static_cast<std::size_t>(*header.payloadSize))};
}

}  // namespace quellor::heif
