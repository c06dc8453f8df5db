// Every node's frame and bounds against the rules written down a second time, by name.

#include <gtest/gtest.h>

#include <cmath>

#include "tests/limbrex/model/stick_figure.h"

namespace
{

using double_math::Mat3;
using double_math::Quat;
using double_math::Random;
using double_math::Vec3;
using limbrex_test::CharacterOwner;
using limbrex_test::frame_of;
using limbrex_test::joined;
using limbrex_test::NodeFrame;
using stick_figure::build;
using stick_figure::expect_vec;
using stick_figure::Figure;
using stick_figure::kRadians;

constexpr uint32_t kAllBounds = 0x7E;

struct Expected
{
    bool framed = false;
    Vec3 bone{}, axis{};
    bool hasEuler = false;
    Vec3 euler{};
    double twist = 0.0;
    bool bounded = false;
    Vec3 minimum{}, maximum{};
    int order = 0;
};

struct MainJoint
{
    const char* name;
    Vec3 axis, euler, minimum, maximum;
    int order;
};
const MainJoint kMainJoints[] = {
    {"Hips", {1, 0, 0}, {90, 0, 90}, {-180, -150, -150}, {180, 150, 150}, 12},
    {"LeftUpLeg", {0, 0, 1}, {0, -60, -90}, {-90, -90, -45}, {90, 120, 90}, 12},
    {"RightUpLeg", {0, 0, -1}, {180, -60, -90}, {-90, -120, -45}, {90, 90, 90}, 12},
    {"LeftLeg", {1, 0, 0}, {-90, 60, -90}, {-55, 0, -60}, {55, 0, 100}, 0},
    {"RightLeg", {1, 0, 0}, {-90, 60, -90}, {-55, 0, -60}, {55, 0, 100}, 0},
    {"LeftToeBase", {1, 0, 0}, {-90, -90, -90}, {0, 0, -60}, {0, 0, 60}, 0},
    {"RightToeBase", {1, 0, 0}, {-90, -90, -90}, {0, 0, -60}, {0, 0, 60}, 0},
    {"LeftArm", {0, 0, 1}, {-20, -30, -30}, {-90, -120, -120}, {90, 120, 120}, 12},
    {"RightArm", {0, 0, -1}, {-160, -30, -150}, {-90, -120, -120}, {90, 120, 120}, 12},
    {"LeftForeArm", {0, 1, 0}, {-90, -100, 0}, {-90, 0, -60}, {90, 0, 100}, 0},
    {"RightForeArm", {0, -1, 0}, {-90, -100, 180}, {-90, 0, -60}, {90, 0, 100}, 0},
    {"LeftHand", {0, 0, 1}, {0, 0, 0}, {0, -45, -85}, {0, 45, 85}, 12},
    {"RightHand", {0, 0, -1}, {180, 0, 180}, {0, -45, -85}, {0, 45, 85}, 12},
    {"Head", {1, 0, 0}, {90, -15, 90}, {-120, -120, -120}, {120, 120, 120}, 12},
};

struct Oracle
{
    Figure at;  // every used node

    bool has(const std::string& name) const { return at.count(name) != 0; }
    Vec3 from_to(const std::string& from, const std::string& to) const { return has(from) && has(to) ? at.at(to) - at.at(from) : Vec3{}; }
    static void bound(Expected& e, const Vec3& minimum, const Vec3& maximum, int order, double twist)
    {
        e.bounded = true;
        e.minimum = minimum;
        e.maximum = maximum;
        e.order = order;
        e.twist = twist;
    }

    Expected of(const std::string& name) const
    {
        Expected e;
        e.framed = main_joint(e, name) || other_joint(e, name);
        return e;
    }
    bool main_joint(Expected& e, const std::string& name) const
    {
        for (const MainJoint& joint : kMainJoints)
        {
            if (name != joint.name) continue;
            e.axis = joint.axis;
            e.hasEuler = true;
            e.euler = joint.euler;
            bound(e, joint.minimum, joint.maximum, joint.order, 0);
            e.bone = main_bone(name);
            return true;
        }
        return false;
    }
    Vec3 main_bone(const std::string& name) const
    {
        if (name == "Hips" || name == "Head") return {0, 1, 0};
        if (name == "LeftToeBase" || name == "RightToeBase") return {0, 0, 1};
        const std::string side = name[0] == 'L' ? "Left" : "Right";
        if (name == side + "UpLeg") return from_to(name, side + "Leg");
        if (name == side + "Leg") return from_to(name, side + "Foot");
        if (name == side + "Arm") return from_to(name, side + "ForeArm");
        if (name == side + "ForeArm") return from_to(name, side + "Hand");
        return has(side + "FingerBase") ? from_to(name, side + "FingerBase") : Vec3{side == "Left" ? 1.0 : -1.0, 0, 0};
    }
    bool other_joint(Expected& e, const std::string& name) const
    {
        if (chain_joint(e, name, "Spine", has("Neck") ? "Neck" : "Head") || chain_joint(e, name, "Neck", "Head")) return true;
        if (name[0] != 'L' && name[0] != 'R') return false;
        if (name == "Reference") return false;
        const std::string side = name.find("Right") != std::string::npos ? "Right" : "Left";
        const double out = side == "Left" ? 1.0 : -1.0;
        if (name.find("Roll") != std::string::npos) return roll_joint(e, name, side, out);
        if (name == side + "Foot")
        {
            e.bone = has(side + "ToeBase") ? from_to(name, side + "ToeBase") : Vec3{0, 0, 1};
            e.axis = {1, 0, 0};
            bound(e, {-30, -15, -45}, {30, 15, 45}, 12, 30);
            return true;
        }
        if (name == side + "Shoulder" || name == side + "ShoulderExtra")
        {
            e.bone = from_to(name, name == side + "Shoulder" ? side + "Arm" : side + "Shoulder");
            e.axis = {0, 0, 1};
            e.order = 12;
            return true;
        }
        if (name == side + "FingerBase")
        {
            e.bone = {out, 0, 0};
            e.axis = {0, 0, 1};
            return true;
        }
        return finger_joint(e, name, side, out);
    }
    bool chain_joint(Expected& e, const std::string& name, const std::string& stem, const std::string& after) const
    {
        for (int n = 0; n <= 9; ++n)
        {
            const std::string node = n == 0 ? stem : stem + std::to_string(n);
            if (!has(node)) return false;
            if (name != node) continue;
            const std::string next = stem + std::to_string(n + 1);
            e.bone = from_to(node, n < 9 && has(next) ? next : after);
            e.axis = {1, 0, 0};
            bound(e, {-30, -30, -30}, {30, 30, 30}, 12, 0);
            return true;
        }
        return false;
    }
    bool roll_joint(Expected& e, const std::string& name, const std::string& side, double out) const
    {
        const std::pair<std::string, std::string> bones[4] = {{"UpLeg", "Leg"}, {"Leg", "Foot"}, {"ForeArm", "Hand"}, {"Arm", "ForeArm"}};
        for (const auto& [upper, next] : bones)
        {
            if (name.find(side + upper + "Roll") == std::string::npos) continue;
            e.bone = from_to(name, side + next);
            e.axis = upper == "Arm" ? Vec3{0, out, 0} : (upper == "ForeArm" ? Vec3{0, -out, 0} : Vec3{1, 0, 0});
            bound(e, {-90, 0, 0}, {90, 0, 0}, 0, 0);
            return true;
        }
        return false;
    }
    bool finger_joint(Expected& e, const std::string& name, const std::string& side, double out) const
    {
        for (const std::string kind : {"Hand", "Foot"})
            for (const std::string finger : {"Thumb", "Index", "Middle", "Ring", "Pinky", "ExtraFinger"})
            {
                const bool thumb = finger == "Thumb";
                const bool hand = kind == "Hand";
                const std::string stem = joined({side, kind, finger});
                if (name == joined({side, "In", kind, finger}))
                {
                    const std::string base = side + (hand ? "FingerBase" : "ToeBase");
                    const std::string root = !thumb && has(base) ? base : side + kind;
                    e.bone = has(stem + "1") ? from_to(name, stem + "1") : from_to(root, name);
                    e.axis = hand ? (thumb ? Vec3{0, 1, 0} : Vec3{0, 0, -out}) : Vec3{1, 0, 0};
                    bound(e, {0, -5, -5}, {0, 5, 5}, 12, 0);
                    return true;
                }
                for (int joint = 1; joint <= 4; ++joint)
                {
                    if (name != stem + std::to_string(joint)) continue;
                    const std::string next = stem + std::to_string(joint + 1);
                    const Vec3 alone = hand ? Vec3{out, 0, 0} : Vec3{0, 0, 1};
                    e.bone = has(next) ? from_to(name, next) : (joint > 1 ? from_to(stem + std::to_string(joint - 1), name) : alone);
                    e.axis = thumb ? Vec3{0, out, 0} : (hand ? Vec3{0, 0, -out} : Vec3{1, 0, 0});
                    if (joint == 1 && thumb)
                        bound(e, {-25, -25, -25}, {25, 25, 25}, 12, -25);
                    else if (joint == 1)
                        bound(e, {-25, -25, -45}, {25, 25, 45}, 12, 45);
                    else if (joint < 4)
                        bound(e, {0, 0, -45}, {0, 0, 45}, 0, 45);
                    else
                        bound(e, {0, 0, 0}, {0, 0, 0}, 0, 0);
                    return true;
                }
            }
        return false;
    }
};

Mat3 axes_along(const Vec3& bone, const Vec3& axis)
{
    const Mat3 identity = double_math::turn(0, 0.0);
    if (double_math::length(bone) == 0.0) return identity;
    const Vec3 x = double_math::unit(bone);
    const Vec3 y = double_math::cross(axis, x);
    if (double_math::length(y) == 0.0) return identity;
    return double_math::from_columns(x, double_math::unit(y), double_math::cross(x, double_math::unit(y)));
}

void expect_node(const LBXCharacter* character, const Oracle& oracle, const std::string& name)
{
    const Expected e = oracle.of(name);
    const NodeFrame frame = frame_of(character, LBXGetNodeIdFromName(name.c_str()));
    const Mat3 axes = e.framed ? axes_along(e.bone, e.axis) : double_math::turn(0, 0.0);
    Mat3 pre = axes;
    if (e.hasEuler)
    {
        pre = double_math::turn(2, e.euler[2] * kRadians) *
              (double_math::turn(1, e.euler[1] * kRadians) * double_math::turn(0, e.euler[0] * kRadians));
    }
    else if (e.twist != 0.0)
    {
        pre = axes * double_math::turn(2, e.twist * kRadians);  // about the frame's own z
    }
    EXPECT_NEAR(double_math::length(frame.post), 1.0, 1e-6) << name;
    EXPECT_NEAR(double_math::length(frame.pre), 1.0, 1e-6) << name;
    EXPECT_LT(double_math::largest_difference(frame.axes(), axes), 2e-5) << name;
    EXPECT_LT(double_math::largest_difference(double_math::matrix_of(frame.pre), pre), 2e-5) << name;
    EXPECT_EQ(frame.order, e.order) << name;
    EXPECT_EQ(frame.flags & kAllBounds, e.bounded ? kAllBounds : 0u) << name;
    expect_vec(frame.minimum, e.minimum * kRadians, 1e-6, name + " minimum");
    expect_vec(frame.maximum, e.maximum * kRadians, 1e-6, name + " maximum");
    const auto turned = [](const Quat& q) { return q[0] != 0.0 || q[1] != 0.0 || q[2] != 0.0; };
    EXPECT_EQ((frame.flags & 128u) != 0, turned(frame.pre)) << name;
    EXPECT_EQ((frame.flags & 256u) != 0, turned(frame.post)) << name;
}

}  // namespace

TEST(CharacterizationRows, EveryNodeFollowsItsRowWhateverTheRigLeavesOut)
{
    Random random(201);
    for (int i = 0; i < 60; ++i)
    {
        Oracle oracle;
        const double density = i == 0 ? 2.0 : random.number(0.3, 1.0);
        for (int node = 0; node < LBXLastNodeId; ++node)
        {
            if (random.number(0.0, 1.0) > density) continue;
            const std::string name = LBXGetNodeNameFromId(node);
            oracle.at[name] = random.vector(1.0);
        }
        const CharacterOwner character = build(oracle.at);
        LBXCharacterize(character.get());
        for (const auto& [name, p] : oracle.at) expect_node(character.get(), oracle, name);
    }
}
