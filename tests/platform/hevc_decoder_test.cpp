#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libheif/heif.h>
#include <libheif/heif_plugin.h>

#include "platform/bytes.h"

namespace quellor {
namespace {

constexpr const char* kOwnDecoder = "quellor-hevc";
constexpr const char* kReferenceDecoder = "libde265";

template <auto release>
struct Releaser {
  template <typename T>
  void operator()(T* handle) const {
    release(handle);
  }
};
using HeifImage = std::unique_ptr<heif_image, Releaser<heif_image_release>>;
using HeifContext = std::unique_ptr<heif_context, Releaser<heif_context_free>>;
using HeifHandle = std::unique_ptr<heif_image_handle, Releaser<heif_image_handle_release>>;
using HeifOptions = std::unique_ptr<heif_decoding_options, Releaser<heif_decoding_options_free>>;

/// The plugin in `file`, or null.
const heif_decoder_plugin* loadPlugin(const std::string& file) {
  const heif_plugin_info* info = nullptr;
  const bool loaded = heif_load_plugin(file.c_str(), &info).code == heif_error_Ok;
  return loaded && info != nullptr ? static_cast<const heif_decoder_plugin*>(info->plugin) : nullptr;
}

const heif_decoder_plugin* ownPlugin() {
  static const heif_decoder_plugin* const plugin = [] {
    heif_init(nullptr);  // loads the installed plugins
    return loadPlugin(std::string(QUELLOR_MODULES) + "/quellor-hevc.so");
  }();
  return plugin;
}

/// libde265's, or null where it is not installed as a plugin.
const heif_decoder_plugin* referencePlugin() {
  static const heif_decoder_plugin* const plugin = [] {
    ownPlugin();
    const char* const* directories = heif_get_plugin_directories();
    const std::string directory = directories[0] == nullptr ? "" : directories[0];
    heif_free_plugin_directories(directories);
    return loadPlugin(directory + "/libheif-libde265.so");
  }();
  return plugin;
}

bool hasDecoder(const std::string& id) {
  ownPlugin();
  std::array<const heif_decoder_descriptor*, 32> decoders{};
  const int count = heif_get_decoder_descriptors(heif_compression_HEVC, decoders.data(), decoders.size());
  return std::any_of(decoders.begin(), decoders.begin() + count,
                     [&](auto* decoder) { return id == heif_decoder_descriptor_get_id_name(decoder); });
}

/// What `plugin` makes of NAL units behind their lengths; null when it refuses them.
HeifImage decodeUnits(const heif_decoder_plugin& plugin, ByteView units, bool strict = true) {
  void* decoder = nullptr;
  EXPECT_EQ(plugin.new_decoder(&decoder).code, heif_error_Ok);
  const std::unique_ptr<void, void (*)(void*)> owner(decoder, plugin.free_decoder);
  if (plugin.set_strict_decoding != nullptr) {
    plugin.set_strict_decoding(decoder, strict ? 1 : 0);
  }
  heif_image* image = nullptr;
  const bool accepted = plugin.push_data(decoder, units.data(), units.size()).code == heif_error_Ok &&
                        plugin.decode_image(decoder, &image).code == heif_error_Ok;
  HeifImage result(image);
  EXPECT_EQ(accepted, result != nullptr);
  return result;
}

/// Where two images differ, or nothing.
std::string difference(const heif_image* a, const heif_image* b) {
  for (const heif_channel channel : {heif_channel_Y, heif_channel_Cb, heif_channel_Cr, heif_channel_R, heif_channel_G,
                                     heif_channel_B, heif_channel_Alpha, heif_channel_interleaved}) {
    if (heif_image_has_channel(a, channel) != heif_image_has_channel(b, channel)) {
      return "only one has channel " + std::to_string(channel);
    }
    if (heif_image_has_channel(a, channel) == 0) {
      continue;
    }
    const int width = heif_image_get_width(a, channel);
    const int height = heif_image_get_height(a, channel);
    if (width != heif_image_get_width(b, channel) || height != heif_image_get_height(b, channel) ||
        heif_image_get_bits_per_pixel_range(a, channel) != heif_image_get_bits_per_pixel_range(b, channel)) {
      return "shape of channel " + std::to_string(channel);
    }
    const int bytes = width * heif_image_get_bits_per_pixel(a, channel) / 8;
    int strideA = 0;
    int strideB = 0;
    const std::uint8_t* rowA = heif_image_get_plane_readonly(a, channel, &strideA);
    const std::uint8_t* rowB = heif_image_get_plane_readonly(b, channel, &strideB);
    for (int row = 0; row < height; ++row, rowA += strideA, rowB += strideB) {
      if (!std::equal(rowA, rowA + bytes, rowB)) {
        return "channel " + std::to_string(channel) + ", row " + std::to_string(row);
      }
    }
  }
  return {};
}

// --- A picture of 64 x 64 luma samples, 8-bit 4:2:0, in blocks of 16 x 16, two slices of two wavefront rows each.

const Bytes kVps = {0x40, 0x01, 0x0c, 0x01, 0xff, 0xff, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00,
                    0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x1e, 0x95, 0x98, 0x09};
const Bytes kSps = {0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03, 0x00,
                    0x00, 0x03, 0x00, 0x1e, 0xa0, 0x20, 0x81, 0x05, 0x96, 0x56, 0x6a, 0xbc, 0xae, 0x68,
                    0x08, 0x00, 0x00, 0x03, 0x00, 0x08, 0x00, 0x00, 0x03, 0x00, 0xc8, 0x40};
const Bytes kPps = {0x44, 0x01, 0xc1, 0x73, 0xd1, 0x09};
const Bytes kUpperSlice = {0x28, 0x01, 0xaf, 0x04, 0x48, 0xb8, 0x80, 0xf9, 0xa6, 0x94, 0x5a, 0x1c, 0x3b, 0x3d, 0xbe,
                           0xfd, 0x88, 0x36, 0xdc, 0x52, 0xbf, 0xd4, 0x42, 0xcc, 0xe3, 0xe3, 0x11, 0xcb, 0x86, 0xf8,
                           0xcd, 0x88, 0xdc, 0x95, 0x09, 0x48, 0x02, 0xf0, 0x78, 0xeb, 0xba, 0x38, 0x60, 0x07, 0x80};
const Bytes kLowerSlice = {0x28, 0x01, 0x30, 0xf0, 0x44, 0x8b, 0x28, 0xf9, 0xa7, 0xf4, 0x3b, 0xb9, 0x2a,
                           0x11, 0xad, 0xfe, 0xc0, 0xdb, 0xfc, 0x97, 0x3b, 0x45, 0xee, 0xdc, 0xf3, 0xa0,
                           0xde, 0x47, 0x3e, 0xad, 0x68, 0xa4, 0x2d, 0x73, 0x63, 0xe6, 0x8d, 0xdb, 0xf8};

Bytes behindLengths(const std::vector<Bytes>& units) {
  Bytes bytes;
  for (const Bytes& unit : units) {
    for (const int shift : {24, 16, 8, 0}) {
      bytes.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
    }
    bytes.insert(bytes.end(), unit.begin(), unit.end());
  }
  return bytes;
}

Bytes pictureOf(const Bytes& upperSlice, const Bytes& lowerSlice) {
  return behindLengths({kVps, kSps, kPps, upperSlice, lowerSlice});
}

class HevcDecoder : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(ownPlugin(), nullptr) << "the module is missing or cannot be loaded"; }

  static HeifImage decode(const Bytes& units, bool strict = true) { return decodeUnits(*ownPlugin(), units, strict); }
};

TEST_F(HevcDecoder, IsChosenForHevcAndNothingElse) {
  EXPECT_STREQ(ownPlugin()->id_name, kOwnDecoder);
  EXPECT_GT(ownPlugin()->does_support_format(heif_compression_HEVC), 100);
  EXPECT_EQ(ownPlugin()->does_support_format(heif_compression_AV1), 0);
}

TEST_F(HevcDecoder, DecodesWhatLibde265Decodes) {
  const Bytes units = pictureOf(kUpperSlice, kLowerSlice);
  const HeifImage image = decode(units);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(heif_image_get_width(image.get(), heif_channel_Y), 64);
  EXPECT_EQ(heif_image_get_width(image.get(), heif_channel_Cb), 32);
  if (referencePlugin() == nullptr) {
    GTEST_SKIP() << "libde265 is not installed";
  }
  const HeifImage reference = decodeUnits(*referencePlugin(), units, false);
  ASSERT_NE(reference, nullptr);
  EXPECT_EQ(difference(image.get(), reference.get()), "");
}

TEST_F(HevcDecoder, TakesTheUnitsInSeveralPieces) {
  void* decoder = nullptr;
  ASSERT_EQ(ownPlugin()->new_decoder(&decoder).code, heif_error_Ok);
  const std::unique_ptr<void, void (*)(void*)> owner(decoder, ownPlugin()->free_decoder);
  for (const Bytes& unit : {kVps, kSps, kPps, kUpperSlice, kLowerSlice}) {
    const Bytes piece = behindLengths({unit});
    ASSERT_EQ(ownPlugin()->push_data(decoder, piece.data(), piece.size()).code, heif_error_Ok);
  }
  heif_image* image = nullptr;
  EXPECT_EQ(ownPlugin()->decode_image(decoder, &image).code, heif_error_Ok);
  const HeifImage imageOwner(image);
  EXPECT_EQ(difference(image, decode(pictureOf(kUpperSlice, kLowerSlice)).get()), "");
}

TEST_F(HevcDecoder, LeavesOutUnitsOfOtherLayers) {
  Bytes otherLayer = kLowerSlice;
  otherLayer[1] = 0x09;  // nuh_layer_id 1
  const Bytes units = behindLengths({kVps, kSps, kPps, kUpperSlice, kLowerSlice, otherLayer});
  const HeifImage image = decode(units);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(difference(image.get(), decode(pictureOf(kUpperSlice, kLowerSlice)).get()), "");
}

TEST_F(HevcDecoder, BearsZeroBytesBehindAParameterSet) {
  Bytes padded = kPps;
  padded.insert(padded.end(), 3, 0);
  EXPECT_NE(decode(behindLengths({kVps, kSps, padded, kUpperSlice, kLowerSlice})), nullptr);
}

TEST_F(HevcDecoder, RefusesUnitsThatBreakTheFormat) {
  Bytes cut = pictureOf(kUpperSlice, kLowerSlice);
  cut.pop_back();
  Bytes halfLength = pictureOf(kUpperSlice, kLowerSlice);
  halfLength.insert(halfLength.end(), {0, 0, 0});
  Bytes forbiddenBit = kLowerSlice;
  forbiddenBit[0] |= 0x80U;
  Bytes noTemporalId = kLowerSlice;
  noTemporalId[1] = 0;
  Bytes startCode = kLowerSlice;
  std::copy_n(Bytes{0, 0, 1}.begin(), 3, startCode.begin() + 20);
  Bytes wrongPrevention = kLowerSlice;
  std::copy_n(Bytes{0, 0, 3, 4}.begin(), 4, wrongPrevention.begin() + 20);
  Bytes zeroAtEnd = kLowerSlice;
  zeroAtEnd.push_back(0);
  const std::vector<std::pair<std::string, Bytes>> cases = {
      {"nothing", {}},
      {"a unit that is cut short", cut},
      {"an incomplete length", halfLength},
      {"an empty unit", behindLengths({kVps, {}, kSps, kPps, kUpperSlice, kLowerSlice})},
      {"half a header", behindLengths({kVps, {0x42}, kSps, kPps, kUpperSlice, kLowerSlice})},
      {"a length beyond everything", {0xff, 0xff, 0xff, 0xff, 0x40, 0x01}},
      {"the forbidden bit", pictureOf(kUpperSlice, forbiddenBit)},
      {"no temporal id", pictureOf(kUpperSlice, noTemporalId)},
      {"a start code inside a unit", pictureOf(kUpperSlice, startCode)},
      {"emulation prevention of nothing", pictureOf(kUpperSlice, wrongPrevention)},
      {"a zero byte behind a slice", pictureOf(kUpperSlice, zeroAtEnd)},
      {"no parameter sets", behindLengths({kUpperSlice, kLowerSlice})},
      {"no slices", behindLengths({kVps, kSps, kPps})},
  };
  for (const auto& [what, units] : cases) {
    EXPECT_EQ(decode(units, true), nullptr) << what;
    EXPECT_EQ(decode(units, false), nullptr) << what;
  }
}

TEST_F(HevcDecoder, RefusesAPictureThatLacksASlice) {
  for (const bool strict : {true, false}) {
    EXPECT_EQ(decode(behindLengths({kVps, kSps, kPps, kUpperSlice}), strict), nullptr);
    EXPECT_EQ(decode(behindLengths({kVps, kSps, kPps, kLowerSlice}), strict), nullptr);
  }
}

TEST_F(HevcDecoder, RefusesSlicesThatComeTwiceOrInDisorder) {
  EXPECT_EQ(decode(behindLengths({kVps, kSps, kPps, kLowerSlice, kUpperSlice})), nullptr);
  EXPECT_EQ(decode(behindLengths({kVps, kSps, kPps, kUpperSlice, kLowerSlice, kLowerSlice})), nullptr);
}

TEST_F(HevcDecoder, RefusesMoreThanOnePicture) {
  const Bytes units = behindLengths({kVps, kSps, kPps, kUpperSlice, kLowerSlice, kUpperSlice, kLowerSlice});
  EXPECT_EQ(decode(units, true), nullptr);
  EXPECT_EQ(decode(units, false), nullptr);
}

TEST_F(HevcDecoder, RefusesASliceThatIsCutAnywhere) {
  for (std::size_t kept = 2; kept < kUpperSlice.size(); ++kept) {
    const Bytes cut(kUpperSlice.begin(), kUpperSlice.begin() + static_cast<std::ptrdiff_t>(kept));
    EXPECT_EQ(decode(pictureOf(cut, kLowerSlice)), nullptr) << kept;
  }
  for (std::size_t kept = 2; kept < kLowerSlice.size(); ++kept) {
    const Bytes cut(kLowerSlice.begin(), kLowerSlice.begin() + static_cast<std::ptrdiff_t>(kept));
    EXPECT_EQ(decode(pictureOf(kUpperSlice, cut)), nullptr) << kept;
  }
}

// Some bits only choose among valid pictures (the slice's quantiser, signs of coefficients), so that a few errors
// of one bit cannot be found by anybody; most errors put the arithmetic decoder out of step for good.
TEST_F(HevcDecoder, FindsMostErrorsOfOneBit) {
  constexpr std::size_t kFirstDataByte = 7;
  int errors = 0;
  int found = 0;
  for (std::size_t byte = kFirstDataByte; byte < kUpperSlice.size(); ++byte) {
    for (unsigned bit = 0; bit < 8; ++bit, ++errors) {
      Bytes damaged = kUpperSlice;
      damaged[byte] = static_cast<std::uint8_t>(damaged[byte] ^ (1U << bit));
      found += decode(pictureOf(damaged, kLowerSlice)) == nullptr ? 1 : 0;
    }
  }
  EXPECT_GE(found, errors * 9 / 10) << errors;
}

// --- Sample files

struct Sample {
  std::filesystem::path path;
  Bytes bytes;
};

std::vector<Sample> samplesIn(const std::vector<std::string>& folders) {
  std::vector<Sample> samples;
  for (const std::string& folder : folders) {
    const std::filesystem::path path = std::filesystem::path(QUELLOR_SAMPLES) / folder;
    if (!std::filesystem::is_directory(path)) {
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      std::ifstream file(entry.path(), std::ios::binary);
      samples.push_back({entry.path(), Bytes(std::istreambuf_iterator<char>(file), {})});
    }
  }
  return samples;
}

HeifContext open(ByteView file) {
  HeifContext context(heif_context_alloc());
  const heif_error error = heif_context_read_from_memory_without_copy(context.get(), file.data(), file.size(), nullptr);
  return error.code == heif_error_Ok ? std::move(context) : nullptr;
}

/// The top-level images of a file, each with its thumbnails and auxiliary images.
std::vector<HeifHandle> imagesOf(heif_context* context) {
  std::vector<heif_item_id> ids(static_cast<std::size_t>(heif_context_get_number_of_top_level_images(context)));
  heif_context_get_list_of_top_level_image_IDs(context, ids.data(), static_cast<int>(ids.size()));
  std::vector<HeifHandle> images;
  for (const heif_item_id id : ids) {
    heif_image_handle* top = nullptr;
    if (heif_context_get_image_handle(context, id, &top).code != heif_error_Ok) {
      continue;
    }
    images.emplace_back(top);
    std::array<heif_item_id, 16> others{};
    const int thumbnails = heif_image_handle_get_list_of_thumbnail_IDs(top, others.data(), others.size());
    for (int i = 0; i < thumbnails; ++i) {
      heif_image_handle* other = nullptr;
      if (heif_image_handle_get_thumbnail(top, others[static_cast<std::size_t>(i)], &other).code == heif_error_Ok) {
        images.emplace_back(other);
      }
    }
    const int auxiliaries = heif_image_handle_get_list_of_auxiliary_image_IDs(top, 0, others.data(), others.size());
    for (int i = 0; i < auxiliaries; ++i) {
      heif_image_handle* other = nullptr;
      const auto auxiliary = others[static_cast<std::size_t>(i)];
      if (heif_image_handle_get_auxiliary_image_handle(top, auxiliary, &other).code == heif_error_Ok) {
        images.emplace_back(other);
      }
    }
  }
  return images;
}

HeifImage decodeImage(const heif_image_handle* handle, const char* decoder) {
  const HeifOptions options(heif_decoding_options_alloc());
  options->decoder_id = decoder;
  options->strict_decoding = decoder == std::string(kOwnDecoder) ? 1 : 0;
  options->ignore_transformations = 1;
  heif_image* image = nullptr;
  heif_decode_image(handle, &image, heif_colorspace_undefined, heif_chroma_undefined, options.get());
  return HeifImage(image);
}

TEST(HevcDecoderSamples, DecodeToWhatLibde265Decodes) {
  const auto samples = samplesIn({"photos", "special", "conformance"});
  if (samples.empty() || !hasDecoder(kReferenceDecoder)) {
    GTEST_SKIP() << "no samples or no libde265";
  }
  ASSERT_TRUE(hasDecoder(kOwnDecoder));
  int compared = 0;
  for (const Sample& sample : samples) {
    const HeifContext context = open(sample.bytes);
    if (!context) {
      continue;
    }
    for (const HeifHandle& handle : imagesOf(context.get())) {
      const HeifImage reference = decodeImage(handle.get(), kReferenceDecoder);
      const HeifImage image = decodeImage(handle.get(), kOwnDecoder);
      ASSERT_EQ(image == nullptr, reference == nullptr) << sample.path;
      if (image) {
        EXPECT_EQ(difference(image.get(), reference.get()), "") << sample.path;
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 50);
}

/// Decodes the primary image of a file; null when it is refused.
HeifImage decodePrimary(ByteView file) {
  const HeifContext context = open(file);
  heif_image_handle* handle = nullptr;
  if (!context || heif_context_get_primary_image_handle(context.get(), &handle).code != heif_error_Ok) {
    return nullptr;
  }
  const HeifHandle owner(handle);
  return decodeImage(handle, kOwnDecoder);
}

// The primary image's data take up nearly all of the file, in one slice.
TEST(HevcDecoderSamples, AreRefusedOnceAnythingIsOverwritten) {
  const std::filesystem::path path = std::filesystem::path(QUELLOR_SAMPLES) / "special" / "single.heic";
  std::ifstream stream(path, std::ios::binary);
  const Bytes file(std::istreambuf_iterator<char>(stream), {});
  if (file.empty()) {
    GTEST_SKIP() << "no samples";
  }
  ASSERT_TRUE(hasDecoder(kOwnDecoder));
  ASSERT_NE(decodePrimary(file), nullptr);
  std::mt19937 random(1);
  for (const std::size_t size : {1U, 20U, 2000U}) {
    for (std::size_t part = 1; part <= 8; ++part) {
      Bytes zeroed = file;
      Bytes scrambled = file;
      const std::size_t begin = file.size() * part / 10;
      for (std::size_t i = begin; i < begin + size; ++i) {
        zeroed[i] = 0;
        scrambled[i] = static_cast<std::uint8_t>(scrambled[i] ^ (1 + random() % 255));
      }
      EXPECT_EQ(decodePrimary(scrambled), nullptr) << size << " bytes at " << begin;
      if (zeroed != file) {
        EXPECT_EQ(decodePrimary(zeroed), nullptr) << size << " zero bytes at " << begin;
      }
    }
  }
}

}  // namespace
}  // namespace quellor
