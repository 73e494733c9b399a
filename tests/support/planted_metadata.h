#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "platform/values/bytes.h"

/// Exif blocks and XMP packets that hold texts which stand nowhere else, in order and damaged in every way that a
/// reader may forgive, for tests that look for those texts in what is written afterwards.
namespace quellor::test_support {

inline constexpr std::string_view kPlantedPosition = "PLANTED-52N31-13E24";
inline constexpr std::string_view kPlantedMake = "PLANTED-MAKER-INC";
inline constexpr std::string_view kPlantedModel = "PLANTED-MODEL-ONE";
inline constexpr std::string_view kPlantedNote = "PLANTED-NOTE-OF-THE-MAKER";
inline constexpr std::string_view kPlantedDescription = "PLANTED-IN-THE-PACKET";

/// Something that holds all of the texts that it can, and how.
struct Planted {
  std::string form;
  Bytes bytes;
};

/// Exif blocks with a position, a make, a model and a maker note. The first one is in order.
std::vector<Planted> plantedExifBlocks();

/// TIFF files of one pixel with the same in their tags, damaged where a file can be and still be read.
std::vector<Planted> plantedTiffFiles();

/// XMP packets with a position, a make, a model, a maker note and a description. The first one is in order.
std::vector<Planted> plantedPackets();

/// The text in UTF-8, and in UTF-16 of both byte orders.
std::vector<Bytes> spellingsOf(std::string_view text);

/// Whether one of the spellings stands in the bytes.
bool holdsText(ByteView bytes, std::string_view text);

}  // namespace quellor::test_support
