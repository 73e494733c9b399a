#pragma once
#include <cstdint>
#include <optional>
#include <utility>

#include "platform/values/bytes.h"
#include "platform/values/raster.h"

namespace quellor::jpeg {

class Session;

/// What the samples of a session's file mean, once its header has been read. Absent for codings that mean nothing
/// known, two components among them, and depths other than eight bits.
std::optional<SampleModel> sampleModelOf(Session& session);

/// Width and height as the frame header says them. Absent when the file's structure is broken before it.
std::optional<std::pair<std::uint32_t, std::uint32_t>> frameSizeOf(ByteView file);

}  // namespace quellor::jpeg
