// Properties: an Exif block that cannot be trusted gives properties of the documented kinds.

#include <algorithm>
#include <string_view>

#include "platform/metadata/metadata_properties.h"
#include "platform/metadata/tiff_metadata_block.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

/// From the first byte-order mark on, so that whole image files can serve as seeds.
quellor::ByteView tiffPart(quellor::ByteView file) {
  const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
  const std::size_t at = std::min(text.find(std::string_view("II*\0", 4)), text.find(std::string_view("MM\0*", 4)));
  return at == std::string_view::npos ? file : file.subspan(at);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quellor;
  const ByteView part = tiffPart({data, size});
  const Bytes bytes(part.begin(), part.end());
  const auto orientation = exifOrientation(bytes);
  FUZZ_REQUIRE(!orientation || (*orientation >= 1 && *orientation <= 8));

  MetadataBlocks blocks;
  blocks.exif = bytes;
  blocks.iptc = bytes;
  PropertyDictionary properties;
  addMetadataProperties(blocks, properties);
  for (const auto& [key, value] : properties.entries()) {
    FUZZ_REQUIRE(key.starts_with('{') && key.ends_with('}'));
    FUZZ_REQUIRE(value.as<PropertyDictionary>() != nullptr);
  }

  const auto rebuilt = exifBlockFromTiff(bytes);
  FUZZ_REQUIRE(!rebuilt || exifOrientation(*rebuilt) == orientation);
  return 0;
}
