#include "platform/color/colorimetry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace quellor {
namespace {

using Vector3 = std::array<double, 3>;

Vector3 xyzOf(const Chromaticity& point) { return {point.x / point.y, 1.0, (1.0 - point.x - point.y) / point.y}; }

Vector3 multiply(const Matrix3& m, const Vector3& v) {
  Vector3 result{};
  for (std::size_t row = 0; row < 3; ++row) result[row] = m[row][0] * v[0] + m[row][1] * v[1] + m[row][2] * v[2];
  return result;
}

Matrix3 multiply(const Matrix3& left, const Matrix3& right) {
  Matrix3 result{};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      for (std::size_t i = 0; i < 3; ++i) result[row][column] += left[row][i] * right[i][column];
    }
  }
  return result;
}

/// The inverse by cofactors; `m` must not be singular.
Matrix3 inverse(const Matrix3& m) {
  Matrix3 cofactors{};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      const std::size_t r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (column + 1) % 3, c2 = (column + 2) % 3;
      cofactors[row][column] = m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    }
  }
  const double determinant = m[0][0] * cofactors[0][0] + m[0][1] * cofactors[0][1] + m[0][2] * cofactors[0][2];
  Matrix3 result{};
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) result[row][column] = cofactors[column][row] / determinant;
  }
  return result;
}

/// XYZ to the cone responses of the Bradford transform (ICC.1:2010, annex E.3).
constexpr Matrix3 kBradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

}  // namespace

double ToneCurve::linearLight(double value) const {
  return value >= d ? std::pow(std::max(a * value + b, 0.0), gamma) : c * value;
}

Matrix3 adaptationToD50(const Chromaticity& white) {
  const Vector3 from = multiply(kBradford, xyzOf(white));
  const Vector3 to = multiply(kBradford, Vector3{kD50.x, kD50.y, kD50.z});
  Matrix3 gains{};
  for (std::size_t i = 0; i < 3; ++i) gains[i][i] = to[i] / from[i];
  return multiply(inverse(kBradford), multiply(gains, kBradford));
}

Colorants colorantsOf(const Primaries& primaries) {
  const Vector3 red = xyzOf(primaries.red), green = xyzOf(primaries.green), blue = xyzOf(primaries.blue);
  const Matrix3 unscaled{{{red[0], green[0], blue[0]}, {red[1], green[1], blue[1]}, {red[2], green[2], blue[2]}}};
  // Each primary is as strong as it takes for all three together to be the white.
  const Vector3 strength = multiply(inverse(unscaled), xyzOf(primaries.white));
  const Matrix3 adaptation = adaptationToD50(primaries.white);
  const auto colorant = [&](const Vector3& primary, double factor) {
    const Vector3 adapted =
        multiply(adaptation, Vector3{primary[0] * factor, primary[1] * factor, primary[2] * factor});
    return Xyz{adapted[0], adapted[1], adapted[2]};
  };
  return {colorant(red, strength[0]), colorant(green, strength[1]), colorant(blue, strength[2])};
}

double lightness(double linearLight) {
  constexpr double kThreshold = 216.0 / 24389.0;
  constexpr double kSlope = 24389.0 / 27.0;
  return linearLight > kThreshold ? 116.0 * std::cbrt(linearLight) - 16.0 : kSlope * linearLight;
}

}  // namespace quellor
