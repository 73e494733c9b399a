#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/values/bit_reader.h"

/// The syntax of parameter sets and slice headers: its descriptors, and the structures that several of them hold.
namespace quellor::hevc {

/// Reads past profile_tier_level( 1, subLayers ) (7.3.3). `subLayers` is sps_max_sub_layers_minus1 here and below.
void skipProfileTierLevel(BitReader& reader, unsigned subLayers);

/// Reads past scaling_list_data() (7.3.4).
void skipScalingLists(BitReader& reader);

/// Reads past st_ref_pic_set( index ) (7.3.7). False when it is predicted from another set, which is not followed here.
[[nodiscard]] bool skipShortTermSet(BitReader& reader, unsigned index);

/// Reads vui_parameters() (E.2.1) to its end, as what comes behind it matters to parsing. The result is
/// chroma_sample_loc_type_top_field where it is signalled: of a frame, that of both fields.
std::optional<unsigned> readChromaLocation(BitReader& reader, unsigned subLayers);

}  // namespace quellor::hevc
