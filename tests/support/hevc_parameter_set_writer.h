#pragma once
#include <vector>

#include "tests/support/hevc_picture_writer.h"

namespace quellor::test_support {

[[nodiscard]] inline bool hasHevcTiles(const HevcPlan& plan) { return plan.tileColumns * plan.tileRows > 1; }

/// The video, sequence and picture parameter set of a picture: NAL units, headers included.
[[nodiscard]] std::vector<Bytes> writeHevcParameterSets(const HevcPlan& plan);

}  // namespace quellor::test_support
