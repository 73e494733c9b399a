#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/values/bit_reader.h"
#include "platform/values/color.h"

/// The syntax of parameter sets and slice headers: its descriptors, and the structures that several of them hold.
namespace quellor::hevc {

/// Reads profile_tier_level( 1, subLayers ) (7.3.3) and returns general_profile_idc. `subLayers` is
/// sps_max_sub_layers_minus1 here and below.
unsigned readProfileTierLevel(BitReader& reader, unsigned subLayers);

/// Reads past scaling_list_data() (7.3.4).
void skipScalingLists(BitReader& reader);

/// Reads past st_ref_pic_set( index ) (7.3.7). False when it is predicted from another set, which is not followed here.
[[nodiscard]] bool skipShortTermSet(BitReader& reader, unsigned index);

/// What of vui_parameters() (E.2.1) is of use.
struct VideoUsability {
  Cicp coding;
  std::optional<unsigned> chromaLocation;  // chroma_sample_loc_type_top_field: of a frame, that of both fields
};

/// Reads vui_parameters() to its end, as what comes behind it matters to parsing.
VideoUsability readVideoUsability(BitReader& reader, unsigned subLayers);

}  // namespace quellor::hevc
