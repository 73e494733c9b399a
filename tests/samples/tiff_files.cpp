#include "tests/samples/profiles.h"
#include "tests/samples/sample.h"
#include "tests/support/tiff_fixture.h"

namespace quellor::samples {
namespace {

using test_support::TiffForm;
using test_support::TiffPage;
using test_support::TiffPicture;
using test_support::TiffType;

constexpr std::uint16_t kMinIsWhite = 0, kMinIsBlack = 1, kRgb = 2, kPalette = 3, kSeparated = 5, kYcbcr = 6;
constexpr std::uint16_t kLzw = 5, kJpeg = 7, kDeflate = 8, kPackBits = 32773;

TiffPicture pictureOf(std::uint16_t photometric, std::uint16_t samples, std::uint16_t bits = 8) {
  TiffPicture picture;
  picture.width = kScene.width;
  picture.height = kScene.height;
  picture.bits = bits;
  picture.samples = samples;
  picture.photometric = photometric;
  picture.rowsPerStrip = 16;
  const bool grey = photometric == kMinIsBlack || photometric == kMinIsWhite;
  for (std::uint32_t i = 0; i < kScene.width * kScene.height * samples; ++i) {
    const std::uint32_t x = i / samples % kScene.width, y = i / samples / kScene.width, c = i % samples;
    picture.values.push_back(grey ? greySample(x, y, c, bits) : sceneSample(x, y, c, bits));
  }
  return picture;
}

/// As much ink as light is missing, and no black.
TiffPicture inkPicture() {
  TiffPicture picture = pictureOf(kRgb, 4);
  picture.photometric = kSeparated;
  for (std::size_t i = 0; i < picture.values.size(); ++i) {
    picture.values[i] = i % 4 == 3 ? 0 : 255 - picture.values[i];
  }
  return picture;
}

TiffPage palettePage() {
  TiffPicture picture = pictureOf(kRgb, 1);
  picture.photometric = kPalette;
  std::vector<std::uint32_t> map(768);
  for (std::uint32_t i = 0; i < 256; ++i) {
    map[i] = i * 257;
    map[256 + i] = (255 - i) * 257;
    map[512 + i] = 128 * 257;
  }
  return test_support::tiffPage(picture).set({320, TiffType::shortInteger, map});
}

class Files {
 public:
  explicit Files(Samples& samples) : samples_(samples) {}

  void add(const char* name, const std::vector<TiffPage>& pages, Facts facts = {}, TiffForm form = {}) {
    samples_.push_back({std::string("tiff-") + name + ".tiff", test_support::tiffFile(pages, form), std::move(facts)});
  }

 private:
  Samples& samples_;
};

Facts factsOf(const char* space, int bits = 8) {
  Facts facts;
  facts.bits = bits;
  facts.color = space;
  return facts;
}

void addLayouts(Files& files) {
  TiffPicture picture = pictureOf(kRgb, 3);
  files.add("strips", {test_support::tiffPage(picture)});
  const TiffForm bigEndian{true};
  files.add("big-endian", {test_support::tiffPage(picture, bigEndian)}, {}, bigEndian);
  picture.tileSize = 64;
  files.add("tiles", {test_support::tiffPage(picture)});
  picture.tileSize = 80;
  files.add("clipped-tiles", {test_support::tiffPage(picture)});
  picture.tileSize = 0;
  picture.separate = true;
  files.add("planes", {test_support::tiffPage(picture)});
  files.add("16-bit", {test_support::tiffPage(pictureOf(kRgb, 3, 16))}, factsOf("kCGColorSpaceSRGB", 16));
  files.add("two-pages", {test_support::tiffPage(pictureOf(kRgb, 3)), test_support::tiffPage(pictureOf(kRgb, 3))},
            Facts{kScene, 8, std::nullopt, 2});
}

void addCompressions(Files& files) {
  const TiffPicture picture = pictureOf(kRgb, 3);
  files.add("lzw", {test_support::compressedTiffPage(picture, kLzw)});
  files.add("deflate", {test_support::compressedTiffPage(picture, kDeflate)});
  files.add("packbits", {test_support::compressedTiffPage(picture, kPackBits)});
  files.add("jpeg-rgb", {test_support::compressedTiffPage(picture, kJpeg)});
  TiffPicture differences = picture;
  differences.photometric = kYcbcr;
  files.add("jpeg-ycbcr", {test_support::compressedTiffPage(differences, kJpeg)});
}

void addColors(Files& files) {
  files.add("grey", {test_support::tiffPage(pictureOf(kMinIsBlack, 1))}, factsOf(kGreySpace));
  files.add("grey-16-bit", {test_support::tiffPage(pictureOf(kMinIsBlack, 1, 16))}, factsOf(kGreySpace, 16));
  files.add("min-is-white-1-bit", {test_support::tiffPage(pictureOf(kMinIsWhite, 1, 1))}, factsOf(kGreySpace));
  files.add("palette", {palettePage()});
  files.add("cmyk", {test_support::tiffPage(inkPicture())}, factsOf("kCGColorSpaceGenericCMYK"));
  TiffPicture alpha = pictureOf(kRgb, 4);
  alpha.extraSamples = {2};
  files.add("straight-alpha", {test_support::tiffPage(alpha)});
  alpha.extraSamples = {1};
  for (std::size_t i = 0; i < alpha.values.size(); ++i) {
    if (i % 4 != 3) alpha.values[i] = alpha.values[i] * alpha.values[i - i % 4 + 3] / 255;
  }
  files.add("multiplied-alpha", {test_support::tiffPage(alpha)});
}

void addDescriptive(Files& files) {
  const Bytes profile = adobeRgb();
  TiffPage page = test_support::tiffPage(pictureOf(kRgb, 3));
  page.set({34675, TiffType::undefined, {profile.begin(), profile.end()}});
  Facts facts;
  facts.color = "kCGColorSpaceAdobeRGB1998";
  facts.profile = profile;
  files.add("adobe-rgb", {page}, facts);
  for (const int orientation : {1, 3, 6, 7}) {
    TiffPage turned = test_support::tiffPage(pictureOf(kRgb, 3));
    turned.set({274, TiffType::shortInteger, {static_cast<std::uint32_t>(orientation)}});
    Facts turnedFacts;
    turnedFacts.orientation = orientation;
    files.add(("orientation-" + std::to_string(orientation)).c_str(), {turned}, turnedFacts);
  }
}

}  // namespace

void addTiffFiles(Samples& samples) {
  Files files(samples);
  addLayouts(files);
  addCompressions(files);
  addColors(files);
  addDescriptive(files);
}

}  // namespace quellor::samples
