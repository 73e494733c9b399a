#pragma once
#include <optional>

#include "platform/heif/output_file.h"

namespace quellor::heif {

/// The primary image as it is coded, bit for bit: its item, the images that it is derived from and their alpha images,
/// with their ids, types, names and data, every property with its essential flag and in its order, and the references
/// among these items. What the image is derived from is hidden: the copy is a file of one image. Nothing else of the
/// file: no thumbnails, auxiliary images other than alpha, other
/// images, entity groups or metadata. The data stays where it is, in the container's file.
///
/// The major brand is `heic` where the image and all that it is derived from are Main profile, 8 bits, 4:2:0, else
/// `heix` (ISO/IEC 23008-12, annex B.4); alpha images do not count. `mif1` is always a compatible brand, `miaf` where
/// the container has it.
///
/// Absent when anything that is needed is coded other than as hvc1, has no decoder configuration, is not whole in the
/// file or is encrypted, when the references are broken (see itemsNeededFor), when the items overlap so much that the
/// copy would be larger than the file, or when memory runs out. The image can then only be decoded and encoded.
std::optional<OutputFile> copyOfPrimaryImage(const Container& container);

}  // namespace quellor::heif
