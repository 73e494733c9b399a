#pragma once
#include "platform/hevc/bit_reader.h"

namespace quellor::hevc {

/// Reads past vui_parameters() (ITU-T H.265, E.2.1): nothing in it matters to parsing but what comes behind it.
/// `subLayers` is sps_max_sub_layers_minus1.
void skipVui(BitReader& reader, unsigned subLayers);

}  // namespace quellor::hevc
