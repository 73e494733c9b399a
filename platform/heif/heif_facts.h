#pragma once
#include "platform/values/image_facts.h"
#include "platform/values/outcome.h"

namespace quellor::heif {

/// What a HEIF file says of its primary image. Absent when the container's structure is broken.
Outcome<ImageFacts> factsOf(ByteView file);

}  // namespace quellor::heif
