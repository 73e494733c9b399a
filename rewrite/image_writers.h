#pragma once
#include <optional>
#include <string>
#include <vector>

#include "platform/image_services.h"
#include "protocol/records.h"

/// The writers of HEIC files. Each writes image 0 of the file at `inputPath`, and nothing else of it, into a new file
/// at `tempPath`, with the properties that `policy` leaves, and returns the warnings of doing so in their order.
///
/// All raise HelperFailure "image_source_create_failed", "no_primary_image" or "destination_create_failed". A failed
/// writer may leave a partial file at `tempPath` for its caller to remove.
namespace quellor {

using Warnings = std::vector<std::string>;

/// Copies the image as it is coded: nothing is decoded, any bit depth will do. A file that cannot be finished raises
/// "destination_add_from_source_failed".
Warnings rewriteFromSource(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                           const std::optional<MetadataPolicy>& policy);

/// Decodes the image and encodes it again, at the default quality. More than 8 bits per component raise
/// "unsupported_bit_depth", before there is a file; one that cannot be finished raises "destination_finalize_failed".
///
/// Unless `policy` says that orientation need not be preserved, an orientation that the filtered properties lack is
/// taken from the input.
Warnings rewriteDecodedImage(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                             const std::optional<MetadataPolicy>& policy);

/// Like rewriteDecodedImage(), at the given `quality`: 0.0 to 1.0, both included.
Warnings encodeCandidateHEIC(const ImageServices& images, const std::string& inputPath, const std::string& tempPath,
                             double quality, const std::optional<MetadataPolicy>& policy);

}  // namespace quellor
