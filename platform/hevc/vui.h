#pragma once
#include <optional>

#include "platform/hevc/bit_reader.h"

namespace quellor::hevc {

/// What vui_parameters() (ITU-T H.265, E.2.1) says that anybody here asks for.
struct Vui {
  std::optional<unsigned> chromaLocation;  // chroma_sample_loc_type_top_field, of a frame that of both fields
};

/// Reads all of them, as what comes behind them matters to parsing. `subLayers` is sps_max_sub_layers_minus1.
Vui readVui(BitReader& reader, unsigned subLayers);

}  // namespace quellor::hevc
