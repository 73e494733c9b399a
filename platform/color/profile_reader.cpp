#include "platform/color/profile_reader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/color/known_spaces.h"
#include "platform/color/lcms_handles.h"
#include "platform/color/profile_text.h"

namespace quellor {
namespace {

constexpr std::size_t kHeaderBytes = 128;  // ICC.1:2010, 7.2

std::uint32_t read32(ByteView bytes, std::size_t offset) {
  return std::uint32_t{bytes[offset]} << 24 | std::uint32_t{bytes[offset + 1]} << 16 |
         std::uint32_t{bytes[offset + 2]} << 8 | std::uint32_t{bytes[offset + 3]};
}

/// The fields of the header that decide what a profile is good for. They are read here, because lcms2 hands them out
/// as enumerations, which cannot hold every value that a file may have.
struct Header {
  std::uint32_t size;
  std::uint32_t profileClass;
  std::uint32_t space;
  std::uint32_t connection;
};

Header readHeader(ByteView profile) {
  return {read32(profile, 0), read32(profile, 12), read32(profile, 16), read32(profile, 20)};
}

std::optional<ColorModel> modelOf(const Header& header) {
  switch (header.space) {
    case cmsSigGrayData:
      return ColorModel::grey;
    case cmsSigRgbData:
      return ColorModel::rgb;
    case cmsSigCmykData:
      return ColorModel::cmyk;
    default:
      return std::nullopt;
  }
}

/// Whether the profile leads from a device or a space to the connection space. Links, abstract and named-colour
/// profiles do not.
bool describesColors(const Header& header) {
  constexpr std::array<std::uint32_t, 4> kClasses{cmsSigInputClass, cmsSigDisplayClass, cmsSigOutputClass,
                                                  cmsSigColorSpaceClass};
  return std::ranges::find(kClasses, header.profileClass) != kClasses.end() &&
         (header.connection == cmsSigXYZData || header.connection == cmsSigLabData);
}

bool hasTable(cmsHPROFILE profile) {
  constexpr std::array kTables{cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag, cmsSigDToB0Tag,
                               cmsSigDToB1Tag, cmsSigDToB2Tag, cmsSigDToB3Tag};
  return std::ranges::any_of(kTables, [&](cmsTagSignature tag) { return cmsIsTag(profile, tag) != 0; });
}

std::optional<CurveSamples> readCurve(cmsHPROFILE profile, cmsTagSignature tag) {
  const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(profile, tag));
  if (curve == nullptr) return std::nullopt;
  CurveSamples samples{};
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<double>(cmsEvalToneCurveFloat(curve, static_cast<float>(i) / (kCurveSamples - 1)));
  }
  return samples;
}

std::optional<Xyz> readColorant(cmsHPROFILE profile, cmsTagSignature tag) {
  const auto* colorant = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, tag));
  if (colorant == nullptr) return std::nullopt;
  return Xyz{colorant->X, colorant->Y, colorant->Z};
}

/// What tone curves and colorants say, without any table.
struct Shaper {
  bool readable = false;
  const KnownSpace* space = nullptr;
};

Shaper readGreyShaper(cmsHPROFILE profile, bool towardsXyz) {
  const std::optional<CurveSamples> curve = readCurve(profile, cmsSigGrayTRCTag);
  if (!curve) return {};
  // Towards Lab the curve leads to lightness, not to linear light.
  return {true, towardsXyz ? findGreySpace(*curve) : nullptr};
}

Shaper readRgbShaper(cmsHPROFILE profile) {
  const auto red = readColorant(profile, cmsSigRedColorantTag);
  const auto green = readColorant(profile, cmsSigGreenColorantTag);
  const auto blue = readColorant(profile, cmsSigBlueColorantTag);
  const auto redCurve = readCurve(profile, cmsSigRedTRCTag);
  const auto greenCurve = readCurve(profile, cmsSigGreenTRCTag);
  const auto blueCurve = readCurve(profile, cmsSigBlueTRCTag);
  if (!red || !green || !blue || !redCurve || !greenCurve || !blueCurve) return {};
  return {true, findRgbSpace({*red, *green, *blue}, {*redCurve, *greenCurve, *blueCurve})};
}

Shaper readShaper(cmsHPROFILE profile, ColorModel model, bool towardsXyz) {
  switch (model) {
    case ColorModel::grey:
      return readGreyShaper(profile, towardsXyz);
    case ColorModel::rgb:
      return towardsXyz ? readRgbShaper(profile) : Shaper{};
    case ColorModel::cmyk:
      break;
  }
  return {};
}

std::optional<std::string> readText(cmsHPROFILE profile, cmsTagSignature tag) {
  if (cmsIsTag(profile, tag) == 0) return std::nullopt;
  // The library has dropped tags that reach beyond the profile, so this is no more than what was handed in.
  const cmsUInt32Number size = cmsReadRawTag(profile, tag, nullptr, 0);
  Bytes bytes(size);
  if (size == 0 || cmsReadRawTag(profile, tag, bytes.data(), size) != size) return std::nullopt;
  return profileText(bytes);
}

std::optional<std::string> readDescription(cmsHPROFILE profile) {
  std::optional<std::string> description = readText(profile, cmsSigProfileDescriptionTag);
  // Some version 2 profiles have their text only in this tag, which is not of the standard.
  return description ? description : readText(profile, cmsSigProfileDescriptionMLTag);
}

}  // namespace

std::optional<ProfileFacts> describeProfile(ByteView profile) {
  if (profile.size() < kHeaderBytes) return std::nullopt;
  const Header header = readHeader(profile);
  const std::optional<ColorModel> model = modelOf(header);
  if (header.size > profile.size() || !describesColors(header) || !model) return std::nullopt;
  const LcmsContext context(cmsCreateContext(nullptr, nullptr));
  if (!context) return std::nullopt;
  const LcmsProfile opened(cmsOpenProfileFromMemTHR(context.get(), profile.data(), header.size));
  if (!opened) return std::nullopt;
  const Shaper shaper = readShaper(opened.get(), *model, header.connection == cmsSigXYZData);
  if (!shaper.readable && !hasTable(opened.get())) return std::nullopt;
  ProfileFacts facts{*model, readDescription(opened.get()), std::nullopt};
  if (shaper.space != nullptr) facts.knownSpace = std::string(shaper.space->name);
  return facts;
}

}  // namespace quellor
