#pragma once
#include <string>

#include "platform/platform.h"
#include "protocol/records.h"

namespace quellor {

/// Observes the image file at `path`: its size, then everything about the image that `source` holds, or, when
/// `source` is null, that a source opened on `path` holds. The primary image is decoded, so that an observation also
/// says that it can be.
///
/// The observation has `path` only with `includePath`, and never `decodeValidated`. Raises HelperFailure
/// "image_source_create_failed" or "no_primary_image"; what else cannot be learned is absent.
ImageObservation observeFile(const Platform& platform, const std::string& path, const ImageSource* source,
                             bool includePath);

/// Observes a file that this run has written, with its path. With `validateDecode` the primary image is decoded once
/// more and `decodeValidated` is true. Raises like observeFile().
ImageObservation observeOutputFile(const Platform& platform, const std::string& path, bool validateDecode);

}  // namespace quellor
