#include "platform/codecs/file_format.h"

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

std::optional<FileFormat> formatOf(const std::string& head) { return recogniseFormat(bytesOf(head)); }

TEST(FileFormat, IsRecognisedByTheFirstBytes) {
  const struct {
    std::string head;
    FileFormat format;
  } cases[] = {{"\xff\xd8\xff\xe0", FileFormat::jpeg},
               {"\x89PNG\r\n\x1a\n", FileFormat::png},
               {"II*\0"s, FileFormat::tiff},
               {"MM\0*"s, FileFormat::tiff},
               {"II+\0"s, FileFormat::tiff},
               {"MM\0+"s, FileFormat::tiff},
               {"RIFF\x10\0\0\0WEBPVP8 "s, FileFormat::webp},
               {"GIF87a", FileFormat::gif},
               {"GIF89a", FileFormat::gif}};
  for (const auto& c : cases) EXPECT_EQ(formatOf(c.head), c.format) << c.head;
}

TEST(FileFormat, IsUnknownForNearMisses) {
  for (const std::string& head : {""s, "\xff\xd8"s, "\x89PNG\r\n\x1a"s, "II*"s, "II\0*"s, "MM*\0"s, "RIFF\0\0\0\0WAVE"s,
                                  "RIFF"s, "GIF88a"s, "BM"s, "%PDF"s, "{}"s, " \xff\xd8\xff"s}) {
    EXPECT_EQ(formatOf(head), std::nullopt) << head;
  }
}

TEST(FileFormat, OfAHeifFileIsToldByItsBrands) {
  const auto fileType = [](const std::string& major, const std::vector<std::string>& compatible) {
    FieldWriter writer;
    writer.text(major).u32(0);
    for (const std::string& brand : compatible) writer.text(brand);
    return box("ftyp", writer.bytes);
  };
  EXPECT_EQ(recogniseFormat(fileType("heic", {})), FileFormat::heif);
  EXPECT_EQ(recogniseFormat(fileType("avif", {"mif1"})), FileFormat::heif);
  EXPECT_EQ(recogniseFormat(fileType("abcd", {"isom", "mif1"})), FileFormat::heif);
  EXPECT_EQ(recogniseFormat(fileType("isom", {"mp42", "avc1"})), std::nullopt) << "a film";
  // The minor version is no brand, and what follows the box is none of its brands.
  EXPECT_EQ(recogniseFormat(box("ftyp", FieldWriter().text("isom").text("heic").bytes)), std::nullopt);
  EXPECT_EQ(recogniseFormat(FieldWriter().append(fileType("isom", {})).text("heic").bytes), std::nullopt);
}

}  // namespace
}  // namespace quellor
