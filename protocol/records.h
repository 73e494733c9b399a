#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "protocol/failure.h"

/// The records of the protocol: one request in, one response out. Each maps field for field onto a JSON object whose
/// keys are the field names. An optional field that holds nothing is absent: not written, and on the way in the same
/// as a missing key or null.
namespace quellor {

/// The only version that requests may ask for, and the one that every response carries.
inline constexpr std::int64_t supportedProtocolVersion = 1;

/// What to keep and what to remove when a new file is written. Each flag has three states; absent is not false.
struct MetadataPolicy {
  std::optional<bool> preserveColorProfile;
  std::optional<bool> preserveOrientation;
  std::optional<bool> removeGPS;
  std::optional<bool> removeXMP;
  std::optional<bool> removeMakerMetadata;
  std::optional<bool> dropAuxiliaryImages;
};

/// A request as decoded: the types are right, nothing else has been checked.
struct HelperRequest {
  std::int64_t protocolVersion = 0;
  std::string operation;
  std::string inputPath;
  std::optional<std::string> outputPath;
  std::optional<double> quality;
  std::optional<MetadataPolicy> metadataPolicy;
};

/// Facts observed about one image file.
struct ImageObservation {
  std::optional<std::int64_t> bytes;       // size of the file
  std::optional<std::int64_t> imageCount;  // zero included
  std::optional<std::int64_t> width;       // pixels of the primary image as stored, before orientation
  std::optional<std::int64_t> height;
  std::optional<std::int64_t> bitDepth;     // bits per component
  std::optional<std::int64_t> orientation;  // 1 to 8 (Exif 2.32, tag 0x0112)
  std::optional<std::string> colorSpaceName;
  std::optional<std::int64_t> iccProfileBytes;  // present or absent together with the digest
  std::optional<std::string> iccProfileSHA256;  // 64 lowercase hexadecimal digits
  std::optional<std::vector<std::string>> metadataKeys;
  std::optional<std::vector<std::string>> auxiliaryTypes;
  std::optional<std::string> auxiliaryObservation;
  std::optional<std::string> path;
  std::optional<bool> decodeValidated;
};

/// Facts about an exported raw pixel file.
struct StorageExportInfo {
  std::string rawPath;
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::int64_t bytesPerPixel = 0;
  std::int64_t orientationApplied = 0;  // an integer on the wire, not a boolean
  std::string alphaInfo;
  std::optional<std::string> colorSpaceName;
  std::optional<std::string> iccProfileSHA256;
};

/// The failure inside a response.
struct ErrorBody {
  std::string code;
  std::string message;

  static ErrorBody of(const HelperFailure& failure) { return {failure.code, failure.message}; }
};

/// The response. A list that was never set has no key; an empty one is written as [].
struct HelperResponse {
  std::int64_t protocolVersion = supportedProtocolVersion;
  bool success = false;
  std::string operation;
  std::optional<double> quality;
  std::optional<ImageObservation> input;
  std::optional<ImageObservation> output;
  std::optional<StorageExportInfo> storageExport;
  std::optional<std::vector<std::string>> removedItems;
  std::optional<std::vector<std::string>> warnings;
  std::optional<ErrorBody> error;
  std::int64_t elapsedMilliseconds = 0;

  /// The response to a request that failed: these five fields and nothing else.
  static HelperResponse failed(std::string operation, ErrorBody error, std::int64_t elapsedMilliseconds);
};

inline HelperResponse HelperResponse::failed(std::string operation, ErrorBody error, std::int64_t elapsed) {
  HelperResponse response;
  response.success = false;
  response.operation = std::move(operation);
  response.error = std::move(error);
  response.elapsedMilliseconds = elapsed;
  return response;
}

}  // namespace quellor
