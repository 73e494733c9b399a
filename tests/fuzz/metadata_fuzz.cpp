// Properties: an Exif block that cannot be trusted is summed up within the documented ranges; without a removal, an
// edit keeps every entry that can be read.

#include <algorithm>
#include <string_view>

#include "platform/metadata/exif_editor.h"
#include "platform/metadata/metadata_summary.h"
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
  const MetadataSummary summary = summaryOf({Bytes(block.begin(), block.end()), std::nullopt, std::nullopt});
  FUZZ_REQUIRE(!summary.orientation || (*summary.orientation >= 1 && *summary.orientation <= 8));
  FUZZ_REQUIRE(!summary.dpiWidth || *summary.dpiWidth > 0);
  FUZZ_REQUIRE(summary.exifReadable == (summary.tiff || summary.exif || summary.position));
  for (const std::string_view key : summary.makers) FUZZ_REQUIRE(key.starts_with("{Maker") && key.ends_with('}'));

  if (const auto directories = metadata::readExifDirectories(block)) {
    const auto edited = metadata::editedExif(*directories, {});
    FUZZ_REQUIRE(!edited || test_support::entriesOf(*edited) == test_support::entriesOf(block));
  }

  const auto rebuilt = exifBlockFromTiff(block);
  FUZZ_REQUIRE(!rebuilt || summaryOf({rebuilt, std::nullopt, std::nullopt}).orientation == summary.orientation);
  return 0;
}
