// Joint frames and bend axes: by hand on a symmetric figure, and for every node against rules written down a second time, by name.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>

#include "tests/support/rig_queries.h"
#include "tests/support/t_stance_rig.h"

namespace
{

using double_math::Mat3;
using double_math::Quat;
using double_math::Random;
using double_math::Vec3;
using limbrex_test::bend_axis_of;
using limbrex_test::CharacterOwner;
using limbrex_test::create;
using limbrex_test::frame_of;
using limbrex_test::joined;
using limbrex_test::NodeFrame;
using limbrex_test::set_stance;

constexpr uint32_t kAllBounds = 0x7E;
constexpr double kRadians = double_math::kPi / 180.0;

// A stick figure with nothing bent; right is left mirrored.
using Figure = std::map<std::string, Vec3>;
Figure straight_figure()
{
    Figure figure = {{"Hips", {0, 1, 0}}, {"Spine", {0, 1.1, 0}}, {"Spine1", {0, 1.3, 0}}, {"Neck", {0, 1.5, 0}}, {"Head", {0, 1.6, 0}}};
    const Figure left = {{"UpLeg", {0.1, 0.9, 0}},     {"Leg", {0.1, 0.5, 0}},           {"Foot", {0.1, 0.1, 0}},
                         {"Shoulder", {0.05, 1.4, 0}}, {"Arm", {0.2, 1.4, 0}},           {"ForeArm", {0.5, 1.4, 0}},
                         {"Hand", {0.8, 1.4, 0}},      {"HandIndex1", {0.9, 1.4, 0.02}}, {"HandIndex2", {0.93, 1.4, 0.02}}};
    for (const auto& [name, p] : left)
    {
        figure["Left" + name] = p;
        figure["Right" + name] = {-p[0], p[1], p[2]};
    }
    return figure;
}
CharacterOwner build(const Figure& figure, const std::vector<std::string>& limited = {})
{
    LBXCharacterDefinition definition{};
    for (const auto& [name, p] : figure) definition.nodeFlags[LBXGetNodeIdFromName(name.c_str())] |= LBXNodeUsed;
    for (const auto& name : limited) definition.nodeFlags[LBXGetNodeIdFromName(name.c_str())] |= LBXNodeHasLimits;
    CharacterOwner character = create(definition);
    for (const auto& [name, p] : figure) set_stance(character.get(), LBXGetNodeIdFromName(name.c_str()), p);
    return character;
}

void expect_vec(const Vec3& v, const Vec3& expected, double tolerance, const std::string& what)
{
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(v[i], expected[i], tolerance) << what << ", component " << i;
}
void expect_axes(const LBXCharacter* character, const char* name, const Vec3& x, const Vec3& y, const Vec3& z)
{
    const NodeFrame frame = frame_of(character, LBXGetNodeIdFromName(name));
    EXPECT_LT(double_math::largest_difference(frame.axes(), double_math::from_columns(x, y, z)), 1e-6) << name;
}
Vec3 stance_angles_deg(const LBXCharacter* character, const char* name)
{
    const float stance[4] = {0, 0, 0, 1};
    float angles[4];
    LBXDebugAnglesFromRotation(character, LBXGetNodeIdFromName(name), stance, angles);
    return {angles[0] / kRadians, angles[1] / kRadians, angles[2] / kRadians};
}

}  // namespace

TEST(Characterization, FramesOfTheStraightFigureAreThoseDrawnByHand)
{
    const CharacterOwner character = build(straight_figure());
    ASSERT_TRUE(LBXCharacterize(character.get()));
    const LBXCharacter* c = character.get();
    expect_axes(c, "Hips", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "Spine", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "Spine1", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "Head", {0, 1, 0}, {0, 0, 1}, {1, 0, 0});
    expect_axes(c, "LeftUpLeg", {0, -1, 0}, {1, 0, 0}, {0, 0, 1});
    expect_axes(c, "RightUpLeg", {0, -1, 0}, {-1, 0, 0}, {0, 0, -1});
    expect_axes(c, "LeftLeg", {0, -1, 0}, {0, 0, -1}, {1, 0, 0});
    expect_axes(c, "RightLeg", {0, -1, 0}, {0, 0, -1}, {1, 0, 0});
    expect_axes(c, "LeftFoot", {0, 0, 1}, {0, -1, 0}, {1, 0, 0});
    expect_axes(c, "LeftShoulder", {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expect_axes(c, "RightShoulder", {-1, 0, 0}, {0, -1, 0}, {0, 0, 1});
    expect_axes(c, "LeftArm", {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expect_axes(c, "RightArm", {-1, 0, 0}, {0, 1, 0}, {0, 0, -1});
    expect_axes(c, "LeftForeArm", {1, 0, 0}, {0, 0, -1}, {0, 1, 0});
    expect_axes(c, "RightForeArm", {-1, 0, 0}, {0, 0, -1}, {0, -1, 0});
    expect_axes(c, "LeftHand", {1, 0, 0}, {0, 1, 0}, {0, 0, 1});
    expect_axes(c, "LeftHandIndex1", {1, 0, 0}, {0, -1, 0}, {0, 0, -1});
    expect_axes(c, "LeftHandIndex2", {1, 0, 0}, {0, -1, 0}, {0, 0, -1});
    expect_axes(c, "RightHandIndex2", {-1, 0, 0}, {0, -1, 0}, {0, 0, 1});

    // A straight knee stands at its lower bound, a straight elbow at its upper one, on either side.
    for (const char* knee : {"LeftLeg", "RightLeg"}) expect_vec(stance_angles_deg(c, knee), {0, 0, -60}, 0.02, knee);
    for (const char* elbow : {"LeftForeArm", "RightForeArm"}) expect_vec(stance_angles_deg(c, elbow), {0, 0, 100}, 0.02, elbow);
    expect_vec(stance_angles_deg(c, "LeftHand"), {0, 0, 0}, 0.02, "hand");
}

TEST(Characterization, KneesBendBackwardsAndElbowsForwardsOnBothSides)
{
    const CharacterOwner character = build(straight_figure());
    LBXCharacterize(character.get());
    expect_vec(bend_axis_of(character.get(), 0), {1, 0, 0}, 1e-6, "left knee");
    expect_vec(bend_axis_of(character.get(), 1), {1, 0, 0}, 1e-6, "right knee");
    expect_vec(bend_axis_of(character.get(), 2), {0, -1, 0}, 1e-6, "left elbow");
    expect_vec(bend_axis_of(character.get(), 3), {0, 1, 0}, 1e-6, "right elbow");
    // Turning the lower bone about the axis moves ankles back and wrists forward.
    const Vec3 bones[4] = {{0, -1, 0}, {0, -1, 0}, {1, 0, 0}, {-1, 0, 0}};
    for (int limb = 0; limb < 4; ++limb)
    {
        const double forward = double_math::cross(bend_axis_of(character.get(), limb), bones[limb])[2];
        EXPECT_NEAR(forward, limb < 2 ? -1.0 : 1.0, 1e-6);
    }
    // Of any stance of this kind the sign holds.
    Random random(200);
    for (int i = 0; i < 200; ++i)
    {
        Figure figure = straight_figure();
        for (auto& [name, p] : figure) p = p + random.vector(0.05);
        const CharacterOwner shaken = build(figure);
        LBXCharacterize(shaken.get());
        EXPECT_GT(bend_axis_of(shaken.get(), 0)[0], 0.0);
        EXPECT_GT(bend_axis_of(shaken.get(), 1)[0], 0.0);
        EXPECT_LT(bend_axis_of(shaken.get(), 2)[1], 0.0);
        EXPECT_GT(bend_axis_of(shaken.get(), 3)[1], 0.0);
    }
}

TEST(Characterization, TheBodyOfTheFixtureIsBentTheWayItsAxesSay)
{
    limbrex_test::RigOptions everything;
    everything.spineNodes = everything.neckNodes = 10;
    everything.shoulderExtras = everything.fingerTips = everything.inHands = everything.toes = true;
    everything.hipsTranslation = everything.armRolls = everything.legRolls = true;
    everything.awkwardRotations = everything.parentOffsets = true;
    everything.leafRolls = 5;
    everything.scale = 100.0f;
    for (const auto& options : {limbrex_test::RigOptions{}, limbrex_test::sixty_nodes(), everything})
    {
        const limbrex_test::Rig rig = limbrex_test::make_rig(options);
        const int joints[4][3] = {{LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot},
                                  {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot},
                                  {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand},
                                  {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand}};
        const auto at = [&rig](int node) -> Vec3
        {
            const auto& t = rig.stance[static_cast<size_t>(node)].t;
            return {t[0], t[1], t[2]};
        };
        for (int limb = 0; limb < 4; ++limb)
        {
            const Vec3 upper = double_math::unit(at(joints[limb][1]) - at(joints[limb][0]));
            const Vec3 lower = double_math::unit(at(joints[limb][2]) - at(joints[limb][1]));
            EXPECT_GT(double_math::dot(double_math::cross(bend_axis_of(rig.character, limb), upper), lower), 0.05) << limb;
        }
    }
    EXPECT_EQ(limbrex_test::make_rig(limbrex_test::sixty_nodes()).nodes.size(), 60u);
}

TEST(Characterization, ArmsThatHangLikeForeLegsBendInTheirOwnPlane)
{
    for (const std::string side : {"Left", "Right"})
    {
        const int limb = side == "Left" ? 2 : 3;
        const double x = side == "Left" ? 0.2 : -0.2;
        Figure figure = straight_figure();
        figure[side + "Arm"] = {x, 1.0, 0};
        figure[side + "ForeArm"] = {x, 0.6, 0};
        figure[side + "Hand"] = {x, 0.2, 0};
        CharacterOwner character = build(figure);
        LBXCharacterize(character.get());
        expect_vec(bend_axis_of(character.get(), limb), {-1, 0, 0}, 1e-6, side + ", straight: the elbow goes back, the hand forward");
        figure[side + "Hand"] = {x, 0.2, 0.1};
        character = build(figure);
        LBXCharacterize(character.get());
        expect_vec(bend_axis_of(character.get(), limb), {-1, 0, 0}, 1e-6, side + ", bent forwards");
        figure[side + "Hand"] = {x, 0.2, -0.1};
        character = build(figure);
        LBXCharacterize(character.get());
        expect_vec(bend_axis_of(character.get(), limb), {1, 0, 0}, 1e-6, side + ", bent backwards");
        LBXSetLimbInverted(character.get(), limb, true);
        expect_vec(bend_axis_of(character.get(), limb), {-1, 0, 0}, 1e-6, side + ", turned round");
    }
}

namespace
{

// ---- the tables once more, by name ------------------------------------------------------------------------------------------------

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

TEST(Characterization, EveryNodeFollowsItsRowWhateverTheRigLeavesOut)
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

TEST(Characterization, CoincidentJointsAndNonFiniteStancesGiveSafeFrames)
{
    LBXCharacterDefinition definition{};
    for (uint32_t& flags : definition.nodeFlags) flags = LBXNodeUsed | LBXNodeHasLimits;
    for (const double v : {0.0, 5.0, 1e30, static_cast<double>(NAN), static_cast<double>(INFINITY)})
    {
        const CharacterOwner character = create(definition);
        for (int node = 0; node < LBXLastNodeId; ++node)
            set_stance(character.get(), node, {v, -v, v}, {0, 0, 0, std::isfinite(v) ? 1.0 : v});
        EXPECT_TRUE(LBXCharacterize(character.get()));
        for (int node = 0; node < LBXLastNodeId; ++node)
        {
            const NodeFrame frame = frame_of(character.get(), node);
            EXPECT_NEAR(double_math::length(frame.pre), 1.0, 1e-6);
            EXPECT_NEAR(double_math::length(frame.post), 1.0, 1e-6);
        }
        for (int limb = 0; limb < 4; ++limb) EXPECT_NEAR(double_math::length(bend_axis_of(character.get(), limb)), 1.0, 1e-5) << v;
    }
    // Twist and template rotations stay where the bone gives no direction.
    const CharacterOwner heap = create(definition);
    LBXCharacterize(heap.get());
    EXPECT_LT(double_math::largest_difference(frame_of(heap.get(), LBXNodeLeftLeg).axes(), double_math::turn(0, 0.0)), 1e-6);
    EXPECT_LT(double_math::largest_difference(frame_of(heap.get(), LBXNodeSpine).axes(), double_math::turn(0, 0.0)), 1e-6);
    EXPECT_FALSE(LBXCharacterize(nullptr));
}

TEST(Characterization, StanceIsStoredAsGivenWithItsFourthComponents)
{
    const CharacterOwner character = build(straight_figure());
    const float t[3] = {1, 2, 3}, q[4] = {0.5f, -0.5f, 0.5f, -0.5f}, s[3] = {2, 2, -0.0f};
    LBXSetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHead, t, q, s);
    float t4[4], q4[4], s4[4];
    LBXGetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHead, t4, q4, s4);
    EXPECT_EQ(t4[3], 0.0f);
    EXPECT_EQ(t4[2], 3.0f);
    EXPECT_EQ(q4[3], -0.5f);
    EXPECT_EQ(s4[0], 2.0f);
    EXPECT_EQ(s4[3], 1.0f);
    EXPECT_FALSE(std::signbit(s4[2])) << "a scale of -0 is stored as +0";
    double td[4], qd[4], sd[4];
    LBXGetCharacterizeNodeStateTQSdv(character.get(), LBXNodeHead, td, qd, sd);
    EXPECT_EQ(td[1], 2.0);
    EXPECT_EQ(sd[3], 1.0);
    // Unused and unknown nodes share one place that no used node has.
    LBXSetCharacterizeNodeStateTQSfv(character.get(), LBXNodeSpine9, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(character.get(), -77, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(character.get(), 100000, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(nullptr, 1, t, q, s);
    LBXSetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHips, nullptr, q, s);
    LBXGetCharacterizeNodeStateTQSfv(character.get(), LBXNodeHips, t4, nullptr, nullptr);
    EXPECT_EQ(t4[1], 1.0f) << "untouched";
}

TEST(LimbInversion, TurnsTheBendRoundAndTogglingTwiceRestoresEveryBit)
{
    limbrex_test::RigOptions options;
    options.awkwardRotations = true;
    options.limitedNodes = {LBXNodeLeftLeg, LBXNodeRightForeArm};
    options.beforeCharacterize = [](LBXCharacter* character)
    {
        const float minimum[3] = {-1, -1, -1}, maximum[3] = {1, 1, 1}, q[4] = {0.5f, 0.5f, 0.5f, 0.5f}, none[4] = {0, 0, 0, 1};
        LBXSetNodeLimitsfv(character, LBXNodeLeftLeg, minimum, maximum, q, none, 63);
    };
    const limbrex_test::Rig rig = limbrex_test::make_rig(options);
    LBXCharacter* character = rig.character;
    const std::vector<char> before(reinterpret_cast<const char*>(character),
                                   reinterpret_cast<const char*>(character) + LBXCharacterGetSize(character));
    const int joints[4][2] = {{LBXNodeLeftUpLeg, LBXNodeLeftLeg},
                              {LBXNodeRightUpLeg, LBXNodeRightLeg},
                              {LBXNodeLeftArm, LBXNodeLeftForeArm},
                              {LBXNodeRightArm, LBXNodeRightForeArm}};
    for (int limb = 0; limb < 4; ++limb)
    {
        const Vec3 plain = bend_axis_of(character, limb);
        const NodeFrame upper = frame_of(character, joints[limb][0]);
        const NodeFrame middle = frame_of(character, joints[limb][1]);
        EXPECT_FALSE(LBXGetLimbInverted(character, limb));
        LBXSetLimbInverted(character, limb, true);
        LBXSetLimbInverted(character, limb, true);
        EXPECT_TRUE(LBXGetLimbInverted(character, limb));
        expect_vec(bend_axis_of(character, limb), plain * -1.0, 0.0, "bend axis");

        // The bone direction of the frame is mirrored front to back; what remains is a rotation.
        const auto mirror = [](Vec3 v) { return Vec3{v[0], v[1], -v[2]}; };
        const Mat3 middle_now = double_math::matrix_of(frame_of(character, joints[limb][1]).pre);
        const Mat3 upper_now = double_math::matrix_of(frame_of(character, joints[limb][0]).pre);
        EXPECT_NEAR(double_math::length(frame_of(character, joints[limb][1]).pre), 1.0, 1e-6);
        expect_vec(double_math::column(middle_now, 0), mirror(double_math::column(double_math::matrix_of(middle.pre), 0)), 1e-5, "middle");
        expect_vec(double_math::column(middle_now, 2), double_math::column(double_math::matrix_of(middle.pre), 2), 1e-5,
                   "middle, bend axis of the frame");
        const Vec3 upper_bone = double_math::column(double_math::matrix_of(upper.pre), 0);
        expect_vec(double_math::column(upper_now, 0), limb < 2 ? mirror(upper_bone) : upper_bone, 1e-5, "upper");
        LBXSetLimbInverted(character, limb, false);
        EXPECT_EQ(frame_of(character, joints[limb][0]).pre, upper.pre);
        EXPECT_EQ(frame_of(character, joints[limb][1]).pre, middle.pre);
    }
    EXPECT_EQ(std::memcmp(before.data(), character, before.size()), 0);
}

TEST(LimbInversion, MayBeAskedForBeforeCharacterizingAndIgnoresOtherNumbers)
{
    const CharacterOwner early = build(straight_figure());
    const CharacterOwner late = build(straight_figure());
    LBXSetLimbInverted(early.get(), 0, true);
    LBXCharacterize(early.get());
    LBXCharacterize(late.get());
    LBXSetLimbInverted(late.get(), 0, true);
    expect_vec(bend_axis_of(early.get(), 0), {-1, 0, 0}, 1e-6, "asked for early");
    EXPECT_EQ(bend_axis_of(early.get(), 0), bend_axis_of(late.get(), 0));
    EXPECT_EQ(frame_of(early.get(), LBXNodeLeftLeg).pre, frame_of(late.get(), LBXNodeLeftLeg).pre);
    EXPECT_EQ(frame_of(early.get(), LBXNodeLeftUpLeg).pre, frame_of(late.get(), LBXNodeLeftUpLeg).pre);
    for (const int limb : {-1, 4, 1 << 30})
    {
        LBXSetLimbInverted(late.get(), limb, true);
        EXPECT_FALSE(LBXGetLimbInverted(late.get(), limb));
    }
    LBXSetLimbInverted(nullptr, 0, true);
    EXPECT_FALSE(LBXGetLimbInverted(nullptr, 0));
    const CharacterOwner bodiless = build({{"Hips", {0, 0, 0}}});
    LBXCharacterize(bodiless.get());
    LBXSetLimbInverted(bodiless.get(), 2, true);
    EXPECT_TRUE(LBXGetLimbInverted(bodiless.get(), 2));
}
