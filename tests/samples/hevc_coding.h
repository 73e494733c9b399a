#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/image.h"
#include "tests/support/hevc_fixture.h"

/// HEVC pictures as cameras and editors code them: with loss, and with the tools of an ordinary stream.
namespace quellor::samples {

struct HevcSettings {
  double rateFactor = 22;  // x265's: lower is better
  int treeUnit = 32;       // luma samples of a coding tree unit's side
  bool wavefronts = false;
  int slices = 1;  // x265 makes more than one with wavefronts only
  /// Names and values as x265's command line has them.
  std::vector<std::pair<const char*, std::string>> more = {};
};

/// Codes the components of a planar raster, grey or YCbCr. Raises std::runtime_error, also where the encoder makes
/// another number of slices than it was told to.
test_support::CodedPicture codeWithLoss(const Raster& raster, const HevcSettings& settings = {});

}  // namespace quellor::samples
