#include "platform/formats/image_format.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/byte_texts.h"
#include "tests/support/heif_builder.h"

namespace quellor {
namespace {

using test_support::box;
using test_support::bytesOf;
using test_support::FieldWriter;
using namespace std::string_literals;

/// The format's name, "none" for a head of no format.
std::string formatOf(const Bytes& head) {
  const ImageFormat* const format = quellor::formatOf(head);
  return format == nullptr ? "none" : format->name;
}

TEST(ImageFormat, IsRecognisedByTheFirstBytes) {
  const struct {
    std::string head;
    const char* format;
  } cases[] = {{"\xff\xd8\xff\xe0", "JPEG"},
               {"\x89PNG\r\n\x1a\n", "PNG"},
               {"II*\0"s, "TIFF"},
               {"MM\0*"s, "TIFF"},
               {"RIFF\x10\0\0\0WEBPVP8 "s, "WebP"},
               {"GIF87a", "GIF"},
               {"GIF89a", "GIF"}};
  for (const auto& c : cases) EXPECT_EQ(formatOf(bytesOf(c.head)), c.format) << c.head;
}

TEST(ImageFormat, IsUnknownForNearMisses) {
  for (const std::string& head : {""s, "\xff\xd8"s, "\x89PNG\r\n\x1a"s, "II*"s, "II\0*"s, "MM*\0"s, "RIFF\0\0\0\0WAVE"s,
                                  "RIFF"s, "GIF88a"s, "BM"s, "%PDF"s, "{}"s, " \xff\xd8\xff"s}) {
    EXPECT_EQ(formatOf(bytesOf(head)), "none") << head;
  }
}

TEST(ImageFormat, IsUnknownForBigTiffAndRawFilesWithHeadersOfTheirOwn) {
  const struct {
    const char* what;
    std::string head;
  } cases[] = {{"BigTIFF", "II+\0\x08\0\0\0"s},
               {"BigTIFF, big endian", "MM\0+\0\x08\0\0"s},
               {"Olympus", "IIRO\x08\0\0\0"s},
               {"Olympus, older", "IIRS\x08\0\0\0"s},
               {"Olympus, big endian", "MMOR\0\0\0\x08"s},
               {"Panasonic and Leica", "IIU\0\x18\0\0\0"s},
               {"Canon, before TIFF", "II\x1a\0\0\0HEAPCCDR"s},
               {"Canon, after TIFF",
                "\0\0\0\x18"
                "ftypcrx \0\0\0\x01"
                "crx isom"s},
               {"Minolta", "\0MRM"s},
               {"Fujifilm", "FUJIFILMCCD-RAW "s},
               {"Sigma", "FOVb\x02\0\x02\0"s},
               {"Phase One, without TIFF", "IIIITwaR"s},
               {"a camera profile", "IIRC\x08\0\0\0"s},
               {"JPEG XR", "II\xbc\x01\x08\0\0\0"s}};
  for (const auto& c : cases) EXPECT_EQ(formatOf(bytesOf(c.head)), "none") << c.what;
}

TEST(ImageFormat, OfAHeifFileIsToldByItsBrands) {
  const auto fileType = [](const std::string& major, const std::vector<std::string>& compatible) {
    FieldWriter writer;
    writer.text(major).u32(0);
    for (const std::string& brand : compatible) writer.text(brand);
    return box("ftyp", writer.bytes);
  };
  EXPECT_EQ(formatOf(fileType("heic", {})), "HEIF");
  EXPECT_EQ(formatOf(fileType("avif", {"mif1"})), "HEIF");
  EXPECT_EQ(formatOf(fileType("abcd", {"isom", "mif1"})), "HEIF");
  EXPECT_EQ(formatOf(fileType("isom", {"mp42", "avc1"})), "none") << "a film";
  // The minor version is no brand, and what follows the box is none of its brands.
  EXPECT_EQ(formatOf(box("ftyp", FieldWriter().text("isom").text("heic").bytes)), "none");
  EXPECT_EQ(formatOf(FieldWriter().append(fileType("isom", {})).text("heic").bytes), "none");
}

}  // namespace
}  // namespace quellor
