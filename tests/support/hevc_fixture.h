#pragma once
#include <string>
#include <utility>
#include <vector>

#include "platform/image.h"
#include "platform/values/bytes.h"

namespace quellor::test_support {

/// A picture as a HEIF item holds it.
struct CodedPicture {
  Bytes configuration;  // a whole `hvcC` box
  Bytes data;           // NAL units behind lengths of four bytes
};

/// Options by the names that x265's command line has for them.
using X265Options = std::vector<std::pair<std::string, std::string>>;

/// Codes the components of a planar raster, grey or YCbCr of any of HEVC's chroma formats in 8, 10 or 12 bits. Sides
/// are no less than that of a coding tree block. Raises std::runtime_error, for an unknown option, too.
CodedPicture codeWithX265(const Raster& raster, const std::string& preset, const X265Options& options);

/// Codes the components of a planar raster, grey or YCbCr of any of HEVC's chroma formats in 8, 10 or 12 bits, so that
/// the decoded samples are the raster's own. Sides are 16 or more, and whole where colour differences are halved. The
/// stream signals the raster's range and matrix. Raises std::runtime_error.
CodedPicture codeLosslessly(const Raster& raster);

}  // namespace quellor::test_support
