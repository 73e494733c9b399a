#pragma once
#include <array>
#include <string_view>

#include "tests/platform/color/icc_bytes.h"

/// Profiles by the numbers of their colour spaces, adapted to D50.
namespace quellor::samples {

struct Colorants {
  std::array<double, 3> red, green, blue;
};

inline Bytes rgbProfile(std::string_view description, const Colorants& colorants, const Bytes& curve) {
  const auto column = [](const std::array<double, 3>& xyz) { return icc::xyz(xyz[0], xyz[1], xyz[2]); };
  return icc::profile({}, {{"desc", icc::asciiDescription(description)},
                           {"wtpt", icc::xyz(0.9642, 1, 0.8249)},
                           {"rXYZ", column(colorants.red)},
                           {"gXYZ", column(colorants.green)},
                           {"bXYZ", column(colorants.blue)},
                           {"rTRC", curve},
                           {"gTRC", curve},
                           {"bTRC", curve}});
}

/// IEC 61966-2-1.
inline Bytes srgbCurve() { return icc::parametric(3, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}); }

inline Bytes displayP3() {
  return rgbProfile("Display P3",
                    {{0.51512, 0.24120, -0.00105}, {0.29198, 0.69225, 0.04189}, {0.15710, 0.06657, 0.78407}},
                    srgbCurve());
}

inline Bytes adobeRgb() {
  return rgbProfile("Adobe RGB (1998)",
                    {{0.60974, 0.31111, 0.01947}, {0.20528, 0.62567, 0.06087}, {0.14919, 0.06322, 0.74457}},
                    icc::gamma(2.19921875));
}

/// A space that has no name but that of its description.
inline constexpr std::string_view kCameraSpace = "Camera RGB of this roll";
inline Bytes cameraRgb() {
  return rgbProfile(kCameraSpace,
                    {{0.60974, 0.31111, 0.01947}, {0.20528, 0.62567, 0.06087}, {0.14919, 0.06322, 0.74457}},
                    srgbCurve());
}

inline Bytes greyGamma22() {
  return icc::profile({"GRAY"}, {{"desc", icc::asciiDescription("Gray gamma 2.2")},
                                 {"wtpt", icc::xyz(0.9642, 1, 0.8249)},
                                 {"kTRC", icc::gamma(2.2)}});
}

}  // namespace quellor::samples
