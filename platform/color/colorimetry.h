#pragma once
#include <array>

namespace quellor {

/// A point of the CIE 1931 chromaticity diagram.
struct Chromaticity {
  double x = 0;
  double y = 0;
};

/// A CIE 1931 colour; Y is 1 for the white that it is relative to.
struct Xyz {
  double x = 0;
  double y = 0;
  double z = 0;
};

using Matrix3 = std::array<std::array<double, 3>, 3>;  // rows

/// What the components of an RGB space stand for, as its standard states it: relative to the space's own white.
struct Primaries {
  Chromaticity red;
  Chromaticity green;
  Chromaticity blue;
  Chromaticity white;
};

/// The same in the form of an ICC profile: the matrix columns, adapted to D50.
struct Colorants {
  Xyz red;
  Xyz green;
  Xyz blue;
};

/// From a component's value to linear light, both 0 to 1: (a·v + b)^gamma from `d` on, c·v below it
/// (ICC.1:2010, 10.16, function type 3). The defaults make a pure power law.
struct ToneCurve {
  double gamma = 1;
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 0;

  [[nodiscard]] double linearLight(double value) const;
};

/// The white of the profile connection space (ICC.1:2010, 7.2.16).
inline constexpr Xyz kD50{0.9642, 1.0, 0.8249};

/// Colours relative to `white` to colours relative to D50, by the linear Bradford transform (ICC.1:2010, annex E).
Matrix3 adaptationToD50(const Chromaticity& white);

/// The colorants of a space with these primaries. They must span a triangle that holds the white.
Colorants colorantsOf(const Primaries& primaries);

/// CIE 1976 lightness, 0 to 100, of linear light 0 to 1 (CIE 15:2004, 8.2.1).
double lightness(double linearLight);

}  // namespace quellor
