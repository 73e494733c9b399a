#pragma once
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "platform/color/colorimetry.h"
#include "platform/values/color.h"

/// The two tables of colour-space names: by colorimetry (for ICC profiles, read or built) and by CICP.
namespace quellor {

/// A colour space that has a name of its own and an ICC profile.
struct KnownSpace {
  std::string_view name;
  std::string_view description;  // what a profile built for it says of itself
  ColorModel model;              // grey or rgb
  Primaries primaries;           // of an rgb space
  ToneCurve curve;               // of each component
};

std::span<const KnownSpace> knownSpaces();

/// Null when no space of the table has that name.
const KnownSpace* findKnownSpace(std::string_view name);

/// Number of tone-curve samples that a space is recognised by: one for each value of an 8-bit component, so that
/// sample i is the linear light of i / 255.
inline constexpr std::size_t kCurveSamples = 256;
using CurveSamples = std::array<double, kCurveSamples>;

/// The space with these colorants and these tone curves of red, green and blue, or null.
///
/// Colorants may differ by 0.002 in X, Y and Z. Profiles of one space in circulation differ by up to 0.0006 (whites
/// with three to five digits, rounding, sums forced to D50), while the nearest spaces that are not meant to match
/// are ten times farther away than the tolerance (SMPTE-C and EBU Tech 3213 from sRGB: 0.02).
/// Curves may differ by half an 8-bit step of linear light (1/510) and, because that is much in the dark, by one
/// unit of lightness L*, which is hardly visible. So a table of 16 points still is the sRGB curve (0.0017, 0.64) and
/// gamma 1.8 still is the curve of ROMM RGB, which differs in a short linear piece near black only (0.0004, 0.38);
/// gamma 2.2 is not the sRGB curve (0.0085, 3.3), nor is gamma 2.25 gamma 2.2 (0.0083, 0.96).
const KnownSpace* findRgbSpace(const Colorants& colorants, const std::array<CurveSamples, 3>& curves);

/// The grey space with this tone curve, by the same tolerance, or null.
const KnownSpace* findGreySpace(const CurveSamples& curve);

/// The name of the RGB space that these code points stand for; sRGB for every combination without a name of its
/// own, the unspecified ones among them.
std::string_view rgbSpaceName(const Cicp& cicp);

/// The primaries and the transfer of the RGB space with that name, the other way round: unspecified for a name that
/// stands in no table of code points.
Cicp codePointsOf(std::string_view spaceName);

inline constexpr std::string_view kDefaultRgbSpace = "kCGColorSpaceSRGB";
inline constexpr std::string_view kDefaultGreySpace = "kCGColorSpaceGenericGrayGamma2_2";
inline constexpr std::string_view kDefaultCmykSpace = "kCGColorSpaceGenericCMYK";

}  // namespace quellor
