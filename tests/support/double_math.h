// Vectors, quaternions and matrices in double precision, written plainly: what the library's four-lane operations are held against.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <random>

namespace double_math
{

struct Vec3 : std::array<double, 3>
{};
struct Quat : std::array<double, 4>  // x, y, z, w
{};
struct Mat3 : std::array<Vec3, 3>  // m[row][column]; columns are where the axes go
{};

inline constexpr double kPi = 3.14159265358979323846;

inline Vec3 operator+(const Vec3& a, const Vec3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vec3 operator-(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vec3 operator*(const Vec3& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
inline double dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline double length(const Vec3& a) { return std::sqrt(dot(a, a)); }
inline Vec3 unit(const Vec3& a) { return a * (1.0 / length(a)); }
inline Vec3 cross(const Vec3& a, const Vec3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline Vec3 operator*(const Mat3& m, const Vec3& v) { return {dot(m[0], v), dot(m[1], v), dot(m[2], v)}; }
inline Mat3 operator*(const Mat3& a, const Mat3& b)
{
    Mat3 m{};
    for (size_t i = 0; i < 3; ++i)
        for (size_t j = 0; j < 3; ++j)
            for (size_t k = 0; k < 3; ++k) m[i][j] += a[i][k] * b[k][j];
    return m;
}
inline Mat3 transposed(const Mat3& m)
{
    Mat3 t{};
    for (size_t i = 0; i < 3; ++i)
        for (size_t j = 0; j < 3; ++j) t[i][j] = m[j][i];
    return t;
}
inline Mat3 from_columns(const Vec3& x, const Vec3& y, const Vec3& z)
{
    return {Vec3{x[0], y[0], z[0]}, Vec3{x[1], y[1], z[1]}, Vec3{x[2], y[2], z[2]}};
}
inline Vec3 column(const Mat3& m, size_t j) { return {m[0][j], m[1][j], m[2][j]}; }
inline double determinant(const Mat3& m) { return dot(column(m, 0), cross(column(m, 1), column(m, 2))); }
inline double largest_difference(const Mat3& a, const Mat3& b)
{
    double worst = 0.0;
    for (size_t i = 0; i < 3; ++i)
        for (size_t j = 0; j < 3; ++j) worst = std::fmax(worst, std::fabs(a[i][j] - b[i][j]));
    return worst;
}

// A turn about one of the axes 0, 1, 2.
inline Mat3 turn(size_t axis, double angle)
{
    const size_t j = (axis + 1) % 3;
    const size_t k = (axis + 2) % 3;
    Mat3 m{};
    m[axis][axis] = 1.0;
    m[j][j] = m[k][k] = std::cos(angle);
    m[k][j] = std::sin(angle);
    m[j][k] = -std::sin(angle);
    return m;
}
// Any length but none: the quaternion is taken for the rotation it stands for.
inline Mat3 matrix_of(const Quat& q)
{
    const double n = 2.0 / (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    return {Vec3{1 - n * (y * y + z * z), n * (x * y - w * z), n * (x * z + w * y)},
            Vec3{n * (x * y + w * z), 1 - n * (x * x + z * z), n * (y * z - w * x)},
            Vec3{n * (x * z - w * y), n * (y * z + w * x), 1 - n * (x * x + y * y)}};
}
// Angle between two rotations, radians.
inline double angle_between(const Mat3& a, const Mat3& b)
{
    const Mat3 d = transposed(a) * b;
    const Vec3 axis = {d[2][1] - d[1][2], d[0][2] - d[2][0], d[1][0] - d[0][1]};
    return std::atan2(0.5 * length(axis), 0.5 * (d[0][0] + d[1][1] + d[2][2] - 1.0));
}
inline double length(const Quat& q) { return std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]); }

struct Random
{
    std::mt19937 engine;
    explicit Random(uint32_t seed) : engine(seed) {}
    double number(double low, double high) { return low + (high - low) * (static_cast<double>(engine()) / 4294967296.0); }
    int index(int count) { return static_cast<int>(engine() % static_cast<uint32_t>(count)); }
    bool coin() { return (engine() & 1u) != 0; }
    Vec3 vector(double size) { return {number(-size, size), number(-size, size), number(-size, size)}; }
    Vec3 direction()
    {
        for (;;)
        {
            const Vec3 v = vector(1.0);
            if (dot(v, v) > 0.05 && dot(v, v) <= 1.0) return unit(v);
        }
    }
    Quat rotation()
    {
        for (;;)
        {
            const Quat q = {number(-1, 1), number(-1, 1), number(-1, 1), number(-1, 1)};
            const double n = length(q);
            if (n > 0.2 && n <= 1.0) return {q[0] / n, q[1] / n, q[2] / n, q[3] / n};
        }
    }
};

}  // namespace double_math
