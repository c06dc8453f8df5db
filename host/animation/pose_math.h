// Vectors, quaternions and forward kinematics in double precision, for importers and reports. Quaternions are x, y, z, w and
// compose as mul(a, b) = b first, then a. Nothing here runs per frame in a game; plain and exact is preferred to fast.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "host/animation/clip.h"

namespace limbrex_host
{

struct Vec3d
{
    double x = 0.0, y = 0.0, z = 0.0;
};

struct Quatd
{
    double x = 0.0, y = 0.0, z = 0.0, w = 1.0;
};

struct RigidPose
{
    Vec3d position;
    Quatd rotation;
};

inline Vec3d operator+(Vec3d a, Vec3d b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }

inline Vec3d operator-(Vec3d a, Vec3d b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

inline Vec3d operator*(Vec3d a, double s) { return {a.x * s, a.y * s, a.z * s}; }

inline double dot(Vec3d a, Vec3d b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

inline Vec3d cross(Vec3d a, Vec3d b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }

inline double length(Vec3d a) { return std::sqrt(dot(a, a)); }

// The zero vector stays zero.
inline Vec3d normalized(Vec3d a)
{
    const double n = length(a);
    return n > 0.0 ? a * (1.0 / n) : Vec3d{};
}

inline double dot(const Quatd& a, const Quatd& b) { return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w; }

inline Quatd operator-(const Quatd& q) { return {-q.x, -q.y, -q.z, -q.w}; }

inline Quatd conjugate(const Quatd& q) { return {-q.x, -q.y, -q.z, q.w}; }

// A quaternion without length becomes the identity.
inline Quatd normalized(const Quatd& q)
{
    const double n = std::sqrt(dot(q, q));
    if (!(n > 0.0) || !std::isfinite(n)) { return {}; }
    return {q.x / n, q.y / n, q.z / n, q.w / n};
}

inline Quatd mul(const Quatd& a, const Quatd& b)
{
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y + a.y * b.w + a.z * b.x - a.x * b.z,
            a.w * b.z + a.z * b.w + a.x * b.y - a.y * b.x, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

inline Vec3d rotate(const Quatd& q, Vec3d v)
{
    const Vec3d axis{q.x, q.y, q.z};
    const Vec3d t = cross(axis, v) * 2.0;
    return v + t * q.w + cross(axis, t);
}

inline Quatd axis_angle(Vec3d unit_axis, double angle_rad)
{
    const double s = std::sin(angle_rad * 0.5);
    return {unit_axis.x * s, unit_axis.y * s, unit_axis.z * s, std::cos(angle_rad * 0.5)};
}

// Angle of the turn between two unit rotations, 0 to pi. The arc tangent keeps small turns exact.
inline double angle_between(const Quatd& a, const Quatd& b)
{
    const Quatd d = mul(conjugate(a), b);
    return 2.0 * std::atan2(std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z), std::fabs(d.w));
}

inline Quatd slerp(const Quatd& from, Quatd to, double alpha)
{
    double cosine = dot(from, to);
    if (cosine < 0.0)
    {
        to = -to;
        cosine = -cosine;
    }
    double a = 1.0 - alpha;
    double b = alpha;
    if (cosine < 0.9999)
    {
        const double angle = std::acos(cosine);
        a = std::sin(a * angle) / std::sin(angle);
        b = std::sin(b * angle) / std::sin(angle);
    }
    return normalized(Quatd{from.x * a + to.x * b, from.y * a + to.y * b, from.z * a + to.z * b, from.w * a + to.w * b});
}

inline RigidPose operator*(const RigidPose& parent, const RigidPose& local)
{
    return {parent.position + rotate(parent.rotation, local.position), mul(parent.rotation, local.rotation)};
}

inline RigidPose inverse(const RigidPose& pose)
{
    const Quatd back = conjugate(pose.rotation);
    return {rotate(back, pose.position) * -1.0, back};
}

inline Vec3d to_vec3d(const std::array<float, 3>& v)
{
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

inline Quatd to_quatd(const std::array<float, 4>& q)
{
    return {static_cast<double>(q[0]), static_cast<double>(q[1]), static_cast<double>(q[2]), static_cast<double>(q[3])};
}

inline std::array<float, 3> to_floats(Vec3d v) { return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)}; }

inline std::array<float, 4> to_floats(const Quatd& q)
{
    return {static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z), static_cast<float>(q.w)};
}

inline RigidPose to_rigid(const JointPose& pose) { return {to_vec3d(pose.translation), normalized(to_quatd(pose.rotation))}; }

// World poses of one frame of local poses (joint-count of them), scales left aside.
inline std::vector<RigidPose> world_poses(const Skeleton& skeleton, const JointPose* locals)
{
    std::vector<RigidPose> world(skeleton.joints.size());
    for (size_t j = 0; j < world.size(); ++j)
    {
        const int32_t parent = skeleton.joints[j].parent;
        const RigidPose local = to_rigid(locals[j]);
        world[j] = parent < 0 ? local : world[static_cast<size_t>(parent)] * local;
    }
    return world;
}

inline std::vector<RigidPose> world_poses_at_rest(const Skeleton& skeleton)
{
    std::vector<JointPose> rest;
    rest.reserve(skeleton.joints.size());
    for (const Joint& joint : skeleton.joints) { rest.push_back(joint.rest); }
    return world_poses(skeleton, rest.data());
}

}  // namespace limbrex_host
