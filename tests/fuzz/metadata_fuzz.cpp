// Properties: an Exif block that cannot be trusted gives dictionaries of the documented kinds; without a removal, an
// edit keeps every entry that can be read.

#include <algorithm>
#include <string_view>

#include "platform/metadata/exif_editor.h"
#include "platform/metadata/metadata_properties.h"
#include "platform/metadata/tiff_metadata_block.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/exif_reading.h"

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
  const ByteView block = tiffPart({data, size});
  PropertyDictionary properties;
  const ExifSummary summary = addExifProperties(block, properties);
  FUZZ_REQUIRE(!summary.orientation || (*summary.orientation >= 1 && *summary.orientation <= 8));
  FUZZ_REQUIRE(summary.contributed || properties.empty());
  addIptcProperties(block, properties);
  for (const auto& [key, value] : properties.entries()) {
    FUZZ_REQUIRE(key.starts_with('{') && key.ends_with('}'));
    FUZZ_REQUIRE(value.as<PropertyDictionary>() != nullptr);
  }

  if (const auto directories = metadata::readExifDirectories(block)) {
    const auto edited = metadata::editedExif(*directories, {});
    FUZZ_REQUIRE(!edited || test_support::entriesOf(*edited) == test_support::entriesOf(block));
  }

  const auto rebuilt = exifBlockFromTiff(block);
  PropertyDictionary again;
  FUZZ_REQUIRE(!rebuilt || addExifProperties(*rebuilt, again).orientation == summary.orientation);
  return 0;
}
