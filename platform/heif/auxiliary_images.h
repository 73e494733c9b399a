#pragma once
#include <vector>

#include "platform/heif/container.h"
#include "platform/values/image_facts.h"

namespace quellor::heif {

/// The auxiliary images of `image` of the kinds that are reported, in item order; alpha is none of them.
std::vector<AuxiliaryImage> auxiliaryImagesOf(const Container& container, const Item& image);

}  // namespace quellor::heif
