#pragma once
#include <cstdint>
#include <optional>
#include <utility>

#include "platform/bytes.h"
#include "platform/image.h"

namespace quellor::jpeg {

class Session;

/// What the samples of a session's file mean, once its header has been read. Absent for codings that mean nothing
/// known, two components among them, and depths other than eight bits.
std::optional<SampleModel> sampleModelOf(Session& session);

/// Width and height as the frame header says them. Absent when the file's structure is broken before it.
std::optional<std::pair<std::uint32_t, std::uint32_t>> frameSizeOf(ByteView file);

/// The samples of a JPEG file: planes as they are coded where the sampling allows, else interleaved and upsampled.
/// Absent as platform/codecs/codec.h says. Throws std::bad_alloc only.
std::optional<Raster> decodeFile(ByteView file);

}  // namespace quellor::jpeg
