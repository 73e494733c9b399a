#pragma once
#include <optional>
#include <vector>

#include "platform/heif/container.h"

namespace quellor::heif {

/// Whether the item is an image: coded (hvc1, av01, …) or derived (grid, iovl, iden), but not a tone-mapped
/// rendition of another one (tmap).
bool isImage(const Item& item);

/// Whether the item is derived from other images by `dimg` references.
bool isDerivedImage(const Item& item);

/// The images that a viewer would list: the primary item first, then the others in item order. Thumbnails, tiles of
/// a grid, auxiliary and hidden images are none of them.
std::vector<const Item*> topLevelImages(const Container& container);

/// The item, the images that it is derived from and the alpha images of all of them: what decoding needs. Absent
/// when a reference leads nowhere or the items refer to each other in a circle.
std::optional<std::vector<const Item*>> itemsNeededFor(const Container& container, const Item& image);

}  // namespace quellor::heif
