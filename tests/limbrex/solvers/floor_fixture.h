// A character with soles and palms above floors of any height and tilt, and its contact points worked out here from the pose.
#pragma once

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/solver_fixture.h"

namespace solver_test
{

inline constexpr uint32_t kFloorClampStage = 1u << 1;
inline constexpr uint32_t kFingerStage = 1u << 4;
inline constexpr uint32_t kFloorStage = 1u << 6;

enum Extremity : int
{
    kLeftHand = 0,
    kRightHand = 1,
    kLeftFoot = 2,
    kRightFoot = 3
};

// Properties of a pair of extremities.
struct ContactNames
{
    int enable, type, stiffness, automatic, pivot;
    int bottom, back, middle, front, in, out;
    int fingerContact, fingerMode, rollStiffness;
};
inline constexpr ContactNames kHandNames = {LBXPropertyHandFloorContact,
                                            LBXPropertyHandContactType,
                                            LBXPropertyParamHandContactStiffness,
                                            LBXPropertyAutomaticFingers,
                                            LBXPropertyHandFloorPivot,
                                            LBXPropertyHandBottomToWrist,
                                            LBXPropertyHandBackToWrist,
                                            LBXPropertyHandMiddleToWrist,
                                            LBXPropertyHandFrontToMiddle,
                                            LBXPropertyHandInToWrist,
                                            LBXPropertyHandOutToWrist,
                                            LBXPropertyHandFingerContact,
                                            LBXPropertyHandFingerContactMode,
                                            LBXPropertyParamHandFingerContactRollStiffness};
inline constexpr ContactNames kFootNames = {LBXPropertyFloorContact,
                                            LBXPropertyFootContactType,
                                            LBXPropertyParamFootContactStiffness,
                                            LBXPropertyAutomaticToes,
                                            LBXPropertyFloorPivot,
                                            LBXPropertyFootBottomToAnkle,
                                            LBXPropertyFootBackToAnkle,
                                            LBXPropertyFootMiddleToAnkle,
                                            LBXPropertyFootFrontToMiddle,
                                            LBXPropertyFootInToAnkle,
                                            LBXPropertyFootOutToAnkle,
                                            LBXPropertyFootFingerContact,
                                            LBXPropertyFootFingerContactMode,
                                            LBXPropertyParamFootFingerContactRollStiffness};
inline const ContactNames& names_of(int extremity) { return extremity < 2 ? kHandNames : kFootNames; }
inline constexpr int kLimbOfExtremity[4] = {2, 3, 0, 1};
inline const Limb& limb_of(int extremity) { return kLimbs[kLimbOfExtremity[extremity]]; }

struct Sizes
{
    double bottom, back, middle, front, in, out;
};
// Of the grown-up human: the sole lies on y = 0 in the stance.
inline constexpr Sizes kFootSizes = {0.09, 0.06, 0.125, 0.08, 0.04, 0.05};
inline constexpr Sizes kHandSizes = {0.02, 0.01, 0.06, 0.12, 0.035, 0.045};

struct Plane
{
    Vec3 t{0, 0, 0};
    Quat q{0, 0, 0, 1};
    Vec3 up() const { return rotated(q, {0, 1, 0}); }
    double height(const Vec3& p) const { return dot(p - t, up()); }
};

struct FloorScene : Scene
{
    explicit FloorScene(const RigOptions& options = {}) : Scene(options)
    {
        for (int extremity = 0; extremity < 4; ++extremity) sizes(extremity, extremity < 2 ? kHandSizes : kFootSizes);
    }
    void mode(int property, int m) { LBXPropertySetMode(properties.get(), property, m); }
    void sizes(int extremity, const Sizes& s)
    {
        const ContactNames& n = names_of(extremity);
        value(n.bottom, s.bottom);
        value(n.back, s.back);
        value(n.middle, s.middle);
        value(n.front, s.front);
        value(n.in, s.in);
        value(n.out, s.out);
    }
    void enable(int extremity, int m = 1) { mode(names_of(extremity).enable, m); }
    void enable_all()
    {
        enable(kLeftHand);
        enable(kLeftFoot);
    }
    void floor(int extremity, const Plane& plane)
    {
        float t[3], q[4];
        for (size_t i = 0; i < 3; ++i) t[i] = static_cast<float>(plane.t[i]);
        for (size_t i = 0; i < 4; ++i) q[i] = static_cast<float>(plane.q[i]);
        LBXSetEffectorFloorContactTQfv(set.get(), extremity, t, q);
    }
    void floors_away()
    {
        for (int extremity = 0; extremity < 4; ++extremity) floor(extremity, {{0, -1000, 0}, identity()});
    }
    void contact() { stages(kPrepare | kFloorStage); }
    // Option of the tables that no setter reaches; saved sets carry it. Pairs of a mode and a value in the order of the table.
    void contact_behaviour(float v)
    {
        constexpr size_t kContactBehaviour = 198;
        std::memcpy(reinterpret_cast<char*>(properties.get()) + 8 * kContactBehaviour + 4, &v, sizeof v);
    }
    std::vector<Vec3> points(int extremity) const
    {
        float raw[24] = {};
        LBXDebugGetContactPoints(character(), state.get(), properties.get(), extremity, raw);
        std::vector<Vec3> all;
        for (size_t i = 0; i < 6; ++i) all.push_back({raw[4 * i], raw[4 * i + 1], raw[4 * i + 2]});
        return all;
    }
    size_t counting(int extremity) const
    {
        float raw[24] = {};
        return static_cast<size_t>(LBXDebugGetContactPoints(character(), state.get(), properties.get(), extremity, raw));
    }
    double lowest(int extremity, const Plane& plane) const
    {
        const std::vector<Vec3> all = points(extremity);
        double low = 1e9;
        for (size_t i = 0; i < counting(extremity); ++i) low = std::min(low, plane.height(all[i]));
        return low;
    }
};

inline Plane tilted_plane(Random& random, double tilt)
{
    const double heading = random.number(0, 2 * kPi);
    return {{0, 0, 0}, mul(about({std::cos(heading), 0, std::sin(heading)}, tilt), about({0, 1, 0}, random.number(-3, 3)))};
}
// Moved along its up axis until the lowest point of the extremity lies `depth` below it.
inline Plane sunk(const FloorScene& scene, int extremity, Plane plane, double depth)
{
    plane.t = plane.t + plane.up() * (scene.lowest(extremity, plane) + depth);
    return plane;
}

}  // namespace solver_test
