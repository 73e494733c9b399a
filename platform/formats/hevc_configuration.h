#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/heif/container.h"
#include "platform/hevc/hevc.h"

namespace quellor::formats {

/// What an `hvcC` property holds (HEVCDecoderConfigurationRecord, ISO/IEC 14496-15, 8.3.3.1).
struct HevcConfiguration {
  std::size_t lengthSize = 4;  // bytes of the length before each NAL unit of the item's data: 1, 2 or 4
  unsigned chromaFormat = 1;   // chroma_format_idc
  int bitDepthLuma = 8;
  int bitDepthChroma = 8;
  std::vector<ByteView> units;  // parameter sets and messages, headers included, in their order
};

/// `payload` is that of the property, and outlives the result. Absent when a field ends past it or a length could not
/// be one.
std::optional<HevcConfiguration> readHevcConfiguration(ByteView payload);

/// The first sequence parameter set among the units; absent when there is none that can be read.
std::optional<hevc::Sps> sequenceParameterSetOf(const HevcConfiguration& configuration);

/// The whole `hvcC` box for these parameter sets (video, sequence and picture, in any order), with lengths of four
/// bytes. Absent when a kind of them is missing or the sequence parameter set cannot be read.
std::optional<Bytes> hevcConfigurationBox(const std::vector<ByteView>& parameterSets);

}  // namespace quellor::formats
