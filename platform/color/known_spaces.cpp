#include "platform/color/known_spaces.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace quellor {
namespace {

constexpr Chromaticity kD65{0.3127, 0.3290};

// ITU-R BT.709-6, items 1.3 and 1.4; also IEC 61966-2-1, 4.1.
constexpr Primaries kBt709{{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}, kD65};
// ITU-R BT.2020-2, table 3.
constexpr Primaries kBt2020{{0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}, kD65};
// SMPTE EG 432-1, as in ITU-T H.273, 8.1, value 12.
constexpr Primaries kDisplayP3{{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, kD65};
// SMPTE RP 431-2, as in ITU-T H.273, 8.1, value 11.
constexpr Primaries kDciP3{{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.314, 0.351}};
// Adobe RGB (1998) Color Image Encoding, version 2005-05, 4.3.
constexpr Primaries kAdobeRgb{{0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}, kD65};
// ISO 22028-2, primaries and white of the reference medium metric encoding.
constexpr Primaries kRomm{{0.7347, 0.2653}, {0.1596, 0.8404}, {0.0366, 0.0001}, {0.3457, 0.3585}};
constexpr Primaries kNone{};

/// The inverse of the camera curve alpha·L^0.45 − (alpha − 1), 4.5·L below `beta`.
constexpr ToneCurve inverseCameraCurve(double alpha, double beta) {
  return {1 / 0.45, 1 / alpha, (alpha - 1) / alpha, 1 / 4.5, 4.5 * beta};
}

// IEC 61966-2-1, 5.2.
constexpr ToneCurve kSrgbCurve{2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
// ITU-R BT.709-6, item 1.2.
constexpr ToneCurve kBt709Curve = inverseCameraCurve(1.099, 0.018);
// ITU-R BT.2020-2, table 4: the exact solution of the two equations given there.
constexpr ToneCurve kBt2020Curve = inverseCameraCurve(1.09929682680944, 0.018053968510807);
// ISO 22028-2, nonlinear encoding: linear up to 16 · Et, Et = 16^(1.8 / (1 - 1.8)) = 1 / 512.
constexpr ToneCurve kRommCurve{1.8, 1, 0, 1 / 16.0, 16 / 512.0};
// Adobe RGB (1998) Color Image Encoding, version 2005-05, 4.3: 2 + 51 / 256.
constexpr ToneCurve kAdobeCurve{2 + 51 / 256.0};
// SMPTE RP 431-2 and ST 428-1, as in ITU-T H.273, 8.2, value 17; relative to the brightest white.
constexpr ToneCurve kDciCurve{2.6};
constexpr ToneCurve kGamma22{2.2};
constexpr ToneCurve kLinear{1};

constexpr std::array kKnownSpaces{
    KnownSpace{"kCGColorSpaceSRGB", "sRGB", ColorModel::rgb, kBt709, kSrgbCurve},
    KnownSpace{"kCGColorSpaceDisplayP3", "Display P3", ColorModel::rgb, kDisplayP3, kSrgbCurve},
    KnownSpace{"kCGColorSpaceAdobeRGB1998", "Adobe RGB (1998)", ColorModel::rgb, kAdobeRgb, kAdobeCurve},
    KnownSpace{"kCGColorSpaceDCIP3", "DCI-P3", ColorModel::rgb, kDciP3, kDciCurve},
    KnownSpace{"kCGColorSpaceITUR_709", "ITU-R BT.709", ColorModel::rgb, kBt709, kBt709Curve},
    KnownSpace{"kCGColorSpaceITUR_2020", "ITU-R BT.2020", ColorModel::rgb, kBt2020, kBt2020Curve},
    KnownSpace{"kCGColorSpaceROMMRGB", "ROMM RGB", ColorModel::rgb, kRomm, kRommCurve},
    KnownSpace{"kCGColorSpaceLinearSRGB", "Linear sRGB", ColorModel::rgb, kBt709, kLinear},
    KnownSpace{"kCGColorSpaceGenericGrayGamma2_2", "Generic Gray Gamma 2.2", ColorModel::grey, kNone, kGamma22},
    KnownSpace{"kCGColorSpaceLinearGray", "Linear Gray", ColorModel::grey, kNone, kLinear},
};

/// ITU-T H.273, 8.1 and 8.2. The matrix and the range do not change what RGB means.
struct CicpName {
  std::uint16_t primaries;
  std::uint16_t transfer;
  std::string_view name;
};

constexpr std::array kCicpNames{
    CicpName{1, 13, "kCGColorSpaceSRGB"},            //
    CicpName{12, 13, "kCGColorSpaceDisplayP3"},      //
    CicpName{1, 1, "kCGColorSpaceITUR_709"},         //
    CicpName{9, 1, "kCGColorSpaceITUR_2020"},        //
    CicpName{9, 14, "kCGColorSpaceITUR_2020"},       //
    CicpName{9, 15, "kCGColorSpaceITUR_2020"},       //
    CicpName{9, 16, "kCGColorSpaceITUR_2100_PQ"},    //
    CicpName{9, 18, "kCGColorSpaceITUR_2100_HLG"},   //
    CicpName{12, 16, "kCGColorSpaceDisplayP3_PQ"},   //
    CicpName{12, 18, "kCGColorSpaceDisplayP3_HLG"},  //
    CicpName{11, 17, "kCGColorSpaceDCIP3"},          //
};

constexpr double kColorantTolerance = 0.002;
constexpr double kCurveTolerance = 0.5 / 255;
constexpr double kLightnessTolerance = 1.0;

// The comparisons are written so that a value that is not a number is never near anything.

bool isNear(const Xyz& a, const Xyz& b) {
  return std::abs(a.x - b.x) <= kColorantTolerance && std::abs(a.y - b.y) <= kColorantTolerance &&
         std::abs(a.z - b.z) <= kColorantTolerance;
}

bool isNear(const Colorants& a, const Colorants& b) {
  return isNear(a.red, b.red) && isNear(a.green, b.green) && isNear(a.blue, b.blue);
}

bool isNear(const CurveSamples& samples, const ToneCurve& curve) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double expected = curve.linearLight(static_cast<double>(i) / (kCurveSamples - 1));
    const bool near = std::abs(samples[i] - expected) <= kCurveTolerance &&
                      std::abs(lightness(samples[i]) - lightness(expected)) <= kLightnessTolerance;
    if (!near) return false;
  }
  return true;
}

template <typename Predicate>
const KnownSpace* findSpace(Predicate matches) {
  const auto found = std::ranges::find_if(kKnownSpaces, matches);
  return found == kKnownSpaces.end() ? nullptr : &*found;
}

}  // namespace

std::span<const KnownSpace> knownSpaces() { return kKnownSpaces; }

const KnownSpace* findKnownSpace(std::string_view name) {
  return findSpace([&](const KnownSpace& space) { return space.name == name; });
}

const KnownSpace* findRgbSpace(const Colorants& colorants, const std::array<CurveSamples, 3>& curves) {
  return findSpace([&](const KnownSpace& space) {
    return space.model == ColorModel::rgb && isNear(colorants, colorantsOf(space.primaries)) &&
           std::ranges::all_of(curves, [&](const CurveSamples& curve) { return isNear(curve, space.curve); });
  });
}

const KnownSpace* findGreySpace(const CurveSamples& curve) {
  return findSpace(
      [&](const KnownSpace& space) { return space.model == ColorModel::grey && isNear(curve, space.curve); });
}

std::string_view rgbSpaceName(const Cicp& cicp) {
  const auto found = std::ranges::find_if(kCicpNames, [&](const CicpName& entry) {
    return entry.primaries == cicp.colorPrimaries && entry.transfer == cicp.transferCharacteristics;
  });
  return found == kCicpNames.end() ? kDefaultRgbSpace : found->name;
}

Cicp codePointsOf(std::string_view spaceName) {
  const auto found = std::ranges::find_if(kCicpNames, [&](const CicpName& entry) { return entry.name == spaceName; });
  if (found == kCicpNames.end()) return {};
  return {found->primaries, found->transfer, 2, false};
}

}  // namespace quellor
