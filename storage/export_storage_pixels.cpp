#include "storage/export_storage_pixels.h"

#include <utility>

#include "observe/observation.h"
#include "protocol/driver_response.h"
#include "storage/raw_pixel_file.h"

namespace quellor {
namespace {

const std::string& checkedOutputPath(const FileManager& files, const HelperRequest& request) {
  if (!request.outputPath || request.outputPath->empty()) {
    throw HelperFailure("invalid_request", "outputPath (raw file) is required");
  }
  if (!files.fileExists(request.inputPath)) throw HelperFailure("input_not_found", "input file not found");
  if (files.fileExists(*request.outputPath)) throw HelperFailure("invalid_request", "raw output path already exists");
  return *request.outputPath;
}

StorageExportInfo exportInfo(const std::string& rawPath, StoragePixelExportMeta meta) {
  StorageExportInfo info;
  info.rawPath = rawPath;
  info.width = meta.width;
  info.height = meta.height;
  info.bytesPerPixel = storageBytesPerPixel;
  info.orientationApplied = rawFileOrientationApplied;
  info.alphaInfo = std::move(meta.alphaInfo);
  info.colorSpaceName = std::move(meta.colorSpaceName);
  info.iccProfileSHA256 = std::move(meta.iccSHA256);
  return info;
}

}  // namespace

StoragePixelExportMeta exportStoragePixels(const Platform& platform, const std::string& heicPath,
                                           const std::string& rawOutPath) {
  const Image image = loadStorageCGImage(platform.images, heicPath);
  auto [pixels, meta] = normalizeToRGBA8StoragePixels(platform.images, image);
  writeStorageRawFile(platform.files, rawOutPath, std::as_const(pixels).bytes(), meta.width, meta.height);
  return std::move(meta);
}

HelperResponse runExportStoragePixels(const Platform& platform, const HelperRequest& request, WallClockSeconds start) {
  return respond(request, start, [&] {
    const std::string& outputPath = checkedOutputPath(platform.files, request);
    HelperResponse response;
    response.input = observeFile(platform, request.inputPath, nullptr, false);
    response.storageExport = exportInfo(outputPath, exportStoragePixels(platform, request.inputPath, outputPath));
    response.warnings = {"storage_pixel_no_orientation_transform"};
    return response;
  });
}

}  // namespace quellor
