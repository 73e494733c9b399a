#include "platform/color/profile_builder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include <lcms2_plugin.h>

#include "platform/color/known_spaces.h"
#include "platform/color/lcms_handles.h"

namespace quellor {
namespace {

constexpr double kVersion = 4.3;  // ICC.1:2010
constexpr const char* kCopyright = "No copyright, use freely";

bool writeText(cmsContext context, cmsHPROFILE profile, cmsTagSignature tag, std::string_view text) {
  const LcmsText translations(cmsMLUalloc(context, 1));
  return translations && cmsMLUsetASCII(translations.get(), "en", "US", std::string(text).c_str()) != 0 &&
         cmsWriteTag(profile, tag, translations.get()) != 0;
}

bool writeXyz(cmsHPROFILE profile, cmsTagSignature tag, const Xyz& value) {
  const cmsCIEXYZ xyz{value.x, value.y, value.z};
  return cmsWriteTag(profile, tag, &xyz) != 0;
}

bool writeCurve(cmsContext context, cmsHPROFILE profile, cmsTagSignature tag, const ToneCurve& curve) {
  const bool pure = curve.a == 1 && curve.b == 0 && curve.d == 0;
  const std::array<cmsFloat64Number, 5> parameters{curve.gamma, curve.a, curve.b, curve.c, curve.d};
  // lcms2 counts the function types of the standard from 1.
  const LcmsCurve built(cmsBuildParametricToneCurve(context, pure ? 1 : 4, parameters.data()));
  return built && cmsWriteTag(profile, tag, built.get()) != 0;
}

bool writeAdaptation(cmsHPROFILE profile, const Chromaticity& white) {
  std::array<cmsFloat64Number, 9> rows{};
  auto next = rows.begin();
  for (const auto& row : adaptationToD50(white)) next = std::ranges::copy(row, next).out;
  return cmsWriteTag(profile, cmsSigChromaticAdaptationTag, rows.data()) != 0;
}

/// The tags of a three-component matrix profile (ICC.1:2010, 8.4.3).
bool writeRgbTags(cmsContext context, cmsHPROFILE profile, const KnownSpace& space) {
  const Colorants colorants = colorantsOf(space.primaries);
  return writeAdaptation(profile, space.primaries.white) && writeXyz(profile, cmsSigRedColorantTag, colorants.red) &&
         writeXyz(profile, cmsSigGreenColorantTag, colorants.green) &&
         writeXyz(profile, cmsSigBlueColorantTag, colorants.blue) &&
         writeCurve(context, profile, cmsSigRedTRCTag, space.curve) &&
         cmsLinkTag(profile, cmsSigGreenTRCTag, cmsSigRedTRCTag) != 0 &&
         cmsLinkTag(profile, cmsSigBlueTRCTag, cmsSigRedTRCTag) != 0;
}

bool writeTags(cmsContext context, cmsHPROFILE profile, const KnownSpace& space) {
  return writeText(context, profile, cmsSigProfileDescriptionTag, space.description) &&
         writeText(context, profile, cmsSigCopyrightTag, kCopyright) &&
         writeXyz(profile, cmsSigMediaWhitePointTag, kD50) &&
         (space.model == ColorModel::grey ? writeCurve(context, profile, cmsSigGrayTRCTag, space.curve)
                                          : writeRgbTags(context, profile, space));
}

std::optional<Bytes> serialise(cmsHPROFILE profile) {
  cmsUInt32Number size = 0;
  if (cmsSaveProfileToMem(profile, nullptr, &size) == 0) return std::nullopt;
  Bytes bytes(size);
  if (cmsSaveProfileToMem(profile, bytes.data(), &size) == 0) return std::nullopt;
  return bytes;
}

/// Makes the header say the same on every run and with every version of the library. Offsets: ICC.1:2010, 7.2.
void fixHeader(Bytes& profile) {
  const auto clear = [&](std::size_t offset, std::size_t length) {
    std::fill_n(profile.begin() + static_cast<std::ptrdiff_t>(offset), length, std::uint8_t{0});
  };
  // Creation: 2020-01-01 00:00:00, six 16-bit numbers.
  constexpr std::array<std::uint8_t, 12> kDate{2020 >> 8, 2020 & 0xFF, 0, 1, 0, 1};
  std::ranges::copy(kDate, profile.begin() + 24);
  clear(4, 4);    // preferred CMM
  clear(40, 24);  // platform, flags, manufacturer, model, attributes
  clear(80, 20);  // creator, profile ID
}

/// The MD5 digest of the profile with flags, rendering intent and ID zero (ICC.1:2010, 7.2.18): they are, so far.
bool setProfileId(cmsContext context, Bytes& profile) {
  const cmsHANDLE digest = cmsMD5alloc(context);
  if (digest == nullptr) return false;
  cmsMD5add(digest, profile.data(), static_cast<cmsUInt32Number>(profile.size()));
  cmsProfileID id{};
  cmsMD5finish(&id, digest);  // releases `digest` too
  std::ranges::copy(id.ID8, profile.begin() + 84);
  return true;
}

}  // namespace

std::optional<Bytes> buildProfile(std::string_view spaceName) {
  const KnownSpace* space = findKnownSpace(spaceName);
  const LcmsContext context(cmsCreateContext(nullptr, nullptr));
  if (space == nullptr || !context) return std::nullopt;
  const LcmsProfile profile(cmsCreateProfilePlaceholder(context.get()));
  if (!profile) return std::nullopt;
  cmsSetProfileVersion(profile.get(), kVersion);
  cmsSetDeviceClass(profile.get(), cmsSigDisplayClass);
  cmsSetColorSpace(profile.get(), space->model == ColorModel::grey ? cmsSigGrayData : cmsSigRgbData);
  cmsSetPCS(profile.get(), cmsSigXYZData);
  cmsSetHeaderRenderingIntent(profile.get(), INTENT_PERCEPTUAL);  // 0
  if (!writeTags(context.get(), profile.get(), *space)) return std::nullopt;
  std::optional<Bytes> bytes = serialise(profile.get());
  if (!bytes) return std::nullopt;
  fixHeader(*bytes);
  if (!setProfileId(context.get(), *bytes)) return std::nullopt;
  return bytes;
}

}  // namespace quellor
