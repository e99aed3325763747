#include "ktmath/ktmath.hpp"

#include <cmath>

namespace KT::Math {

Transform::Transform() : m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0} {}

Position3D::Position3D() : x(0), y(0), z(0) {}
Position3D::Position3D(float x, float y, float z) : x(x), y(y), z(z) {}

Position6D::Position6D(float x, float y, float z, float alpha, float beta, float gamma)
    : x(x), y(y), z(z), alpha(alpha), beta(beta), gamma(gamma) {}

Velocity6D::Velocity6D(float vx, float vy, float vz, float wx, float wy, float wz)
    : vx(vx), vy(vy), vz(vz), wx(wx), wy(wy), wz(wz) {}

Position6D position6DFromTransform(const Transform& t) {
  const auto R = [&t](int i, int j) -> double { return t.m[4 * i + j]; };
  // Undo gamma first and read the other two angles from what is left: near beta = +-90 degrees,
  // where gamma is mere rounding noise, alpha then makes up for it and R is still rebuilt.
  const double gamma = std::atan2(R(1, 0), R(0, 0));
  const double c = std::cos(gamma), s = std::sin(gamma);
  const double beta = std::atan2(-R(2, 0), c * R(0, 0) + s * R(1, 0));
  const double alpha = std::atan2(s * R(0, 2) - c * R(1, 2), c * R(1, 1) - s * R(0, 1));
  return {t.m[3],
          t.m[7],
          t.m[11],
          static_cast<float>(alpha),
          static_cast<float>(beta),
          static_cast<float>(gamma)};
}

Transform transformFromPosition6D(const Position6D& p) {
  const double ca = std::cos(double{p.alpha}), sa = std::sin(double{p.alpha});
  const double cb = std::cos(double{p.beta}), sb = std::sin(double{p.beta});
  const double cg = std::cos(double{p.gamma}), sg = std::sin(double{p.gamma});
  const double R[3][3] = {{cg * cb, cg * sb * sa - sg * ca, cg * sb * ca + sg * sa},
                          {sg * cb, sg * sb * sa + cg * ca, sg * sb * ca - cg * sa},
                          {-sb, cb * sa, cb * ca}};
  const float origin[3] = {p.x, p.y, p.z};
  Transform t;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) t.m[4 * i + j] = static_cast<float>(R[i][j]);
    t.m[4 * i + 3] = origin[i];
  }
  return t;
}

Position3D operator*(const Transform& t, const Position3D& x) {
  const auto row = [&](int i) {
    const float* r = t.m + 4 * i;
    return r[0] * x.x + r[1] * x.y + r[2] * x.z + r[3];
  };
  return {row(0), row(1), row(2)};
}

}  // namespace KT::Math
