#pragma once
#include <string>

#include "platform/platform.h"
#include "protocol/elapsed_time.h"
#include "protocol/records.h"
#include "storage/storage_decode.h"

namespace quellor {

/// Decodes the primary image of the file at `heicPath` as stored and writes it as a raw file at `rawOutPath`. Raises
/// StorageError or FileError, with nothing written.
StoragePixelExportMeta exportStoragePixels(const Platform& platform, const std::string& heicPath,
                                           const std::string& rawOutPath);

/// The operation "export-storage-pixels": writes the input's primary image as a raw pixel file at the request's
/// `outputPath`, where nothing may exist. Reads no other field of the request but `operation` and `inputPath`. Never
/// raises: every failure is in the response, and leaves no file. `start` is when dispatch began.
HelperResponse runExportStoragePixels(const Platform& platform, const HelperRequest& request, WallClockSeconds start);

}  // namespace quellor
