// What a policy removes is nowhere in the written file, whatever carries it and however it is damaged.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/output_editing.h"
#include "platform/heif/primary_copy.h"
#include "platform/image_services.h"
#include "protocol/failure.h"
#include "rewrite/image_writers.h"
#include "tests/support/byte_texts.h"
#include "tests/support/gif_fixture.h"
#include "tests/support/heif_output.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/planted_metadata.h"
#include "tests/support/png_fixture.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/webp_fixture.h"

namespace quellor {
namespace {

namespace fs = std::filesystem;

using namespace std::string_view_literals;
using test_support::bytesOf;
using test_support::holdsText;
using test_support::Planted;

using Texts = std::vector<std::string_view>;
const Texts kPosition = {test_support::kPlantedPosition};
const Texts kCamera = {test_support::kPlantedMake, test_support::kPlantedModel, test_support::kPlantedNote};
const Texts kPacket = {test_support::kPlantedDescription};

Texts joined(const Texts& a, const Texts& b) {
  Texts all = a;
  all.insert(all.end(), b.begin(), b.end());
  return all;
}

struct Removal {
  const char* flags;
  MetadataPolicy policy;
  Texts gone;
};

MetadataPolicy policy(bool gps, bool xmp, bool maker) {
  MetadataPolicy flags;
  flags.removeGPS = gps;
  flags.removeXMP = xmp;
  flags.removeMakerMetadata = maker;
  return flags;
}

const Removal kRemovals[] = {
    {"GPS", policy(true, false, false), kPosition},
    {"maker", policy(false, false, true), kCamera},
    {"XMP", policy(false, true, false), kPacket},
    {"GPS and maker", policy(true, false, true), joined(kPosition, kCamera)},
    {"GPS and XMP", policy(true, true, false), joined(kPosition, kPacket)},
    {"XMP and maker", policy(false, true, true), joined(kCamera, kPacket)},
    {"all", policy(true, true, true), joined(joined(kPosition, kCamera), kPacket)},
};

Bytes contentsOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

enum class Block : std::uint8_t { exif, xmp };

Bytes behind(std::string_view prefix, const Bytes& block) {
  Bytes all = bytesOf(prefix);
  all.insert(all.end(), block.begin(), block.end());
  return all;
}

Bytes heicWith(Block kind, const Bytes& block) {
  static const Bytes photo = contentsOf(fs::path(QUELLOR_EXAMPLES) / "photo.heic");
  const auto container = heif::readContainer(photo);
  auto file = heif::copyOfPrimaryImage(*container);
  MetadataBlocks blocks;
  (kind == Block::exif ? blocks.exif : blocks.xmp) = block;
  heif::addMetadata(*file, blocks);
  return test_support::written(*file);
}

Bytes jpegWith(Block kind, const Bytes& block) {
  test_support::JpegSpec spec;
  const auto prefix = kind == Block::exif ? "Exif\0\0"sv : "http://ns.adobe.com/xap/1.0/\0"sv;
  spec.segments.push_back({0xE1, behind(prefix, block)});
  return encodeJpeg(spec);
}

Bytes pngWith(Block kind, const Bytes& block) {
  auto spec = test_support::plainPng();
  if (kind == Block::exif) {
    spec.chunksBeforeData.push_back({"eXIf", block});
  } else {
    spec.chunksBeforeData.push_back({"iTXt", behind("XML:com.adobe.xmp\0\0\0\0\0"sv, block)});
  }
  return encodePng(spec);
}

Bytes webpWith(Block kind, const Bytes& block) {
  const Bytes plain = test_support::losslessWebp({2, 2, {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255}});
  auto chunks = test_support::webpChunks(plain);
  chunks.insert(chunks.begin(), test_support::webpHeader(kind == Block::exif ? 0x08 : 0x04, 2, 2));
  chunks.push_back({kind == Block::exif ? "EXIF" : "XMP ", block});
  return test_support::webpFile(chunks);
}

Bytes gifWith(Block, const Bytes& packet) {
  test_support::GifRecipe recipe;
  recipe.globalMap = {0, 0, 0, 255, 255, 255};
  test_support::GifFrameRecipe frame;
  frame.indexes = {1};
  frame.codeSize = 2;
  recipe.frames.push_back(frame);
  recipe.xmp = std::string(packet.begin(), packet.end());
  recipe.xmpInSubBlocks = true;
  return test_support::gifFile(recipe);
}

struct Carrier {
  const char* name;
  Bytes (*with)(Block kind, const Bytes& block);
};

constexpr Carrier kExifCarriers[] = {{"HEIC", heicWith}, {"JPEG", jpegWith}, {"PNG", pngWith}, {"WebP", webpWith}};
constexpr Carrier kPacketCarriers[] = {
    {"HEIC", heicWith}, {"JPEG", jpegWith}, {"PNG", pngWith}, {"WebP", webpWith}, {"GIF", gifWith}};

class RemovalTest : public testing::Test {
 protected:
  /// The file that rewriteFromSource() makes of `input`; absent where `input` is no image.
  std::optional<Bytes> rewritten(const Bytes& input, const std::optional<MetadataPolicy>& flags) {
    const fs::path in = folder_.path() / "in", out = folder_.path() / "out";
    std::ofstream(in, std::ios::binary)
        .write(reinterpret_cast<const char*>(input.data()), static_cast<std::streamsize>(input.size()));
    fs::remove(out);
    try {
      rewriteFromSource(images_, in.string(), out.string(), flags);
    } catch (const HelperFailure&) {
      return std::nullopt;
    }
    return contentsOf(out);
  }

  /// Rewrites `input` under every policy and looks for what that removes. Returns whether it is an image.
  bool expectRemoved(const Bytes& input, const std::string& what) {
    for (const Removal& removal : kRemovals) {
      const auto output = rewritten(input, removal.policy);
      if (!output) return false;
      ++written_;
      for (const std::string_view text : removal.gone) {
        EXPECT_FALSE(holdsText(*output, text)) << what << ", " << removal.flags << ": " << text;
      }
    }
    return true;
  }

  SystemImageServices images_;
  test_support::TemporaryDirectory folder_;
  std::size_t written_ = 0;
};

class CarriedExif : public RemovalTest, public testing::WithParamInterface<Carrier> {};
class CarriedPacket : public RemovalTest, public testing::WithParamInterface<Carrier> {};

const auto kNameOfCarrier = [](const auto& carrier) { return std::string(carrier.param.name); };
INSTANTIATE_TEST_SUITE_P(Removal, CarriedExif, testing::ValuesIn(kExifCarriers), kNameOfCarrier);
INSTANTIATE_TEST_SUITE_P(Removal, CarriedPacket, testing::ValuesIn(kPacketCarriers), kNameOfCarrier);

TEST_P(CarriedExif, LosesWhatIsRemovedInEveryFormOfDamage) {
  for (const Planted& each : test_support::plantedExifBlocks()) {
    EXPECT_TRUE(expectRemoved(GetParam().with(Block::exif, each.bytes), each.form)) << each.form;
  }
  RecordProperty("written", static_cast<int>(written_));
}

TEST_P(CarriedExif, IsKeptWhereNothingIsRemoved) {
  const auto output = rewritten(GetParam().with(Block::exif, test_support::plantedExifBlocks().front().bytes), {});
  ASSERT_TRUE(output);
  for (const std::string_view text : joined(kPosition, kCamera)) EXPECT_TRUE(holdsText(*output, text)) << text;
}

TEST_P(CarriedPacket, LosesWhatIsRemovedInEveryFormOfDamage) {
  for (const Planted& each : test_support::plantedPackets()) {
    EXPECT_TRUE(expectRemoved(GetParam().with(Block::xmp, each.bytes), each.form)) << each.form;
  }
  RecordProperty("written", static_cast<int>(written_));
}

TEST_P(CarriedPacket, IsCarriedByteForByteWhereNothingIsRemoved) {
  for (const Planted& each : test_support::plantedPackets()) {
    // A text chunk of a PNG file ends at its first NUL.
    if (GetParam().with == pngWith && std::ranges::count(each.bytes, std::uint8_t{0}) != 0) continue;
    const auto output = rewritten(GetParam().with(Block::xmp, each.bytes), {});
    ASSERT_TRUE(output) << each.form;
    EXPECT_NE(std::search(output->begin(), output->end(), each.bytes.begin(), each.bytes.end()), output->end())
        << each.form;
  }
}

using RemovalFromTiff = RemovalTest;

TEST_F(RemovalFromTiff, LosesWhatIsRemovedInEveryFormOfDamage) {
  std::size_t images = 0;
  for (const Planted& each : test_support::plantedTiffFiles()) {
    if (expectRemoved(each.bytes, each.form)) ++images;
  }
  EXPECT_GE(images, 30U) << "damage to the tags does not keep a file from being an image";
  RecordProperty("written", static_cast<int>(written_));
}

TEST_F(RemovalTest, LosesAPositionBehindAnExifItemsWrongDistance) {
  const Bytes usual = {0, 0, 0, 6, 'E', 'x', 'i', 'f', 0, 0};
  const Bytes file = heicWith(Block::exif, test_support::plantedExifBlocks().front().bytes);
  const auto prefix = std::search(file.begin(), file.end(), usual.begin(), usual.end());
  ASSERT_NE(prefix, file.end());
  for (const std::uint32_t distance : {0U, 2U, 4U, 5U, 7U, 10U, 14U, 40U, 0xFFFFFFFFU}) {
    Bytes changed = file;
    const auto at = changed.begin() + (prefix - file.begin());
    for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(distance >> (24 - 8 * i));
    EXPECT_TRUE(expectRemoved(changed, "distance " + std::to_string(distance))) << distance;
  }
}

}  // namespace
}  // namespace quellor
