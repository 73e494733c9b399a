#pragma once
#include <optional>
#include <string>

#include "platform/heif/container.h"

namespace quellor::heif {

/// The two parts of an auxiliary type property (ISO/IEC 23008-12, 6.5.8).
struct AuxiliaryType {
  std::string urn;
  ByteView subtype;
};

/// Absent when the item is no auxiliary image, or does not say of which type.
std::optional<AuxiliaryType> auxiliaryTypeOf(const Container& container, const Item& item);

/// The alpha image of `image`, or null.
const Item* alphaImageOf(const Container& container, ItemId image);

}  // namespace quellor::heif
