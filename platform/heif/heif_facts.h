#pragma once
#include <optional>

#include "platform/values/image_facts.h"

namespace quellor::heif {

/// What a HEIF file says of its primary image. Absent when the container's structure is broken.
std::optional<ImageFacts> factsOf(ByteView file);

}  // namespace quellor::heif
