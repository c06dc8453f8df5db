#include "tests/support/t_stance_rig.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <utility>

namespace limbrex_test
{
namespace
{

using Point = std::array<float, 3>;

// Joint positions of the left side and the middle, metres. Knees and elbows bend a little: the knee lies in front of the line from hip to
// ankle, the elbow behind the one from shoulder to wrist.
constexpr Point kHips{0.0f, 0.95f, 0.0f};
constexpr Point kUpLeg{0.09f, 0.91f, 0.0f};
constexpr Point kLeg{0.095f, 0.49f, 0.015f};
constexpr Point kFoot{0.10f, 0.09f, -0.015f};
constexpr Point kToeBase{0.105f, 0.03f, 0.11f};
constexpr Point kSpine{0.0f, 1.03f, -0.005f};
constexpr Point kNeck{0.0f, 1.47f, -0.02f};
constexpr Point kHead{0.0f, 1.59f, 0.01f};
constexpr Point kShoulder{0.03f, 1.42f, 0.0f};
constexpr Point kShoulderExtra{0.10f, 1.42f, -0.01f};
constexpr Point kArm{0.18f, 1.42f, -0.02f};
constexpr Point kForeArm{0.46f, 1.42f, -0.035f};
constexpr Point kHand{0.71f, 1.42f, -0.02f};
constexpr Point kFingerBase{0.76f, 1.42f, -0.02f};
constexpr Point kThumbRoot{0.73f, 1.405f, 0.01f};

Point lerp(const Point& a, const Point& b, float alpha)
{
    return {a[0] + (b[0] - a[0]) * alpha, a[1] + (b[1] - a[1]) * alpha, a[2] + (b[2] - a[2]) * alpha};
}
Point mirrored(const Point& p) { return {-p[0], p[1], p[2]}; }

// Collects joints and their flags; everything on the left has a twin on the right.
struct RigPlan
{
    RigOptions options;
    Rig rig;

    void add(int node, Point p)
    {
        rig.definition.nodeFlags[node] |= LBXNodeUsed;
        RigJoint& joint = rig.stance[static_cast<size_t>(node)];
        for (size_t i = 0; i < 3; ++i) joint.t[i] = p[i] * options.scale;
    }
    void add_pair(int left, int right, Point p)
    {
        add(left, p);
        add(right, mirrored(p));
    }
    void add_trunk()
    {
        add(LBXNodeReference, {0.0f, 0.0f, 0.0f});
        if (options.hipsTranslation) add(LBXNodeHipsTranslation, kHips);
        add(LBXNodeHips, kHips);
        for (int n = 0; n < options.spineNodes; ++n)
        {
            const float alpha = static_cast<float>(n) / static_cast<float>(options.spineNodes);
            add(n == 0 ? LBXNodeSpine : LBXNodeSpine1 + n - 1, lerp(kSpine, kNeck, alpha));
        }
        for (int n = 0; n < options.neckNodes; ++n)
        {
            const float alpha = static_cast<float>(n) / static_cast<float>(options.neckNodes);
            add(n == 0 ? LBXNodeNeck : LBXNodeNeck1 + n - 1, lerp(kNeck, kHead, alpha));
        }
        add(LBXNodeHead, kHead);
    }
    void add_legs()
    {
        add_pair(LBXNodeLeftUpLeg, LBXNodeRightUpLeg, kUpLeg);
        add_pair(LBXNodeLeftLeg, LBXNodeRightLeg, options.straightLimbs ? lerp(kUpLeg, kFoot, 0.512f) : kLeg);
        add_pair(LBXNodeLeftFoot, LBXNodeRightFoot, kFoot);
        if (options.toeBases) add_pair(LBXNodeLeftToeBase, LBXNodeRightToeBase, kToeBase);
        for (int toe = 0; options.toes && toe < 5; ++toe)
        {
            const Point root = {0.08f + 0.012f * static_cast<float>(toe), 0.02f, 0.14f - 0.008f * static_cast<float>(toe)};
            for (int joint = 1; joint <= 2; ++joint)
            {
                add_pair(LBX_NODE_FINGER(2, toe, joint), LBX_NODE_FINGER(3, toe, joint),
                         {root[0], root[1], root[2] + 0.025f * static_cast<float>(joint - 1)});
            }
        }
    }
    void add_arms()
    {
        if (options.shoulders) add_pair(LBXNodeLeftShoulder, LBXNodeRightShoulder, kShoulder);
        if (options.shoulderExtras) add_pair(LBXNodeLeftShoulderExtra, LBXNodeRightShoulderExtra, kShoulderExtra);
        add_pair(LBXNodeLeftArm, LBXNodeRightArm, kArm);
        add_pair(LBXNodeLeftForeArm, LBXNodeRightForeArm, options.straightLimbs ? lerp(kArm, kHand, 0.53f) : kForeArm);
        if (!options.hands) return;
        add_pair(LBXNodeLeftHand, LBXNodeRightHand, kHand);
        if (options.fingerBases) add_pair(LBXNodeLeftFingerBase, LBXNodeRightFingerBase, kFingerBase);
        for (int finger = 0; finger < 5; ++finger) add_finger(finger);
    }
    void add_finger(int finger)
    {
        const float spread = 0.03f - 0.02f * static_cast<float>(finger - 1);  // index in front, pinky behind
        const Point root = finger == 0 ? kThumbRoot : Point{0.80f - 0.004f * static_cast<float>(finger), 1.42f, -0.02f + spread};
        const Point step = finger == 0 ? Point{0.025f, -0.005f, 0.025f} : Point{0.033f, -0.002f, 0.0f};
        const Point inside = finger == 0 ? Point{0.72f, 1.41f, -0.005f} : Point{0.77f, 1.42f, -0.02f + 0.7f * spread};
        if (options.inHands) add_pair(LBX_NODE_IN_EXTREMITY(0, finger), LBX_NODE_IN_EXTREMITY(1, finger), inside);
        const int joints = options.fingers ? (options.fingerTips ? 4 : 3) : 0;
        for (int joint = 1; joint <= joints; ++joint)
        {
            const auto k = static_cast<float>(joint - 1);
            add_pair(LBX_NODE_FINGER(0, finger, joint), LBX_NODE_FINGER(1, finger, joint),
                     {root[0] + k * step[0], root[1] + k * step[1], root[2] + k * step[2]});
        }
    }
    // Twist joints spread along each bone.
    void add_rolls()
    {
        constexpr int ends[8][2] = {{LBXNodeLeftUpLeg, LBXNodeLeftLeg},     {LBXNodeLeftLeg, LBXNodeLeftFoot},
                                    {LBXNodeRightUpLeg, LBXNodeRightLeg},   {LBXNodeRightLeg, LBXNodeRightFoot},
                                    {LBXNodeLeftArm, LBXNodeLeftForeArm},   {LBXNodeLeftForeArm, LBXNodeLeftHand},
                                    {LBXNodeRightArm, LBXNodeRightForeArm}, {LBXNodeRightForeArm, LBXNodeRightHand}};
        for (int segment = 0; segment < 8; ++segment)
        {
            if (!rig.uses(ends[segment][1])) continue;
            const auto at = [&](float alpha)
            {
                const auto& a = rig.stance[static_cast<size_t>(ends[segment][0])].t;
                const auto& b = rig.stance[static_cast<size_t>(ends[segment][1])].t;
                const float unscale = 1.0f / options.scale;
                const Point p = lerp({a[0], a[1], a[2]}, {b[0], b[1], b[2]}, alpha);
                return Point{p[0] * unscale, p[1] * unscale, p[2] * unscale};
            };
            if (segment < 4 ? options.legRolls : options.armRolls) add(LBX_NODE_ROLL(segment), at(0.5f));
            for (int n = 1; n <= options.leafRolls; ++n)
            {
                add(LBX_NODE_LEAF_ROLL(segment, n), at(static_cast<float>(n) / static_cast<float>(options.leafRolls + 1)));
            }
        }
    }
};

std::array<float, 4> random_rotation(std::mt19937& random)
{
    // mt19937 is the same everywhere, the library's distributions are not.
    const auto signed_unit = [&random] { return static_cast<float>(random() >> 8) * (2.0f / 16777216.0f) - 1.0f; };
    for (;;)
    {
        std::array<float, 4> q{signed_unit(), signed_unit(), signed_unit(), signed_unit()};
        const float square = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
        if (square < 0.1f || square > 1.0f) continue;
        for (float& component : q) component /= std::sqrt(square);
        return q;
    }
}

}  // namespace

RigOptions sixty_nodes()
{
    RigOptions options;
    options.armRolls = true;
    return options;
}

Rig::Rig(Rig&& other) noexcept { *this = std::move(other); }
Rig& Rig::operator=(Rig&& other) noexcept
{
    std::swap(character, other.character);
    definition = other.definition;
    nodes.swap(other.nodes);
    stance = other.stance;
    return *this;
}
Rig::~Rig() { LBXCharacterDestroy(character, std::free); }

Rig make_rig(const RigOptions& options)
{
    RigPlan plan{options, {}};
    plan.add_trunk();
    plan.add_legs();
    plan.add_arms();
    plan.add_rolls();
    Rig rig = std::move(plan.rig);
    for (const int node : options.limitedNodes) rig.definition.nodeFlags[node] |= LBXNodeHasLimits;

    rig.character = LBXCharacterCreate(&rig.definition, std::malloc);
    if (!rig.character) std::abort();
    std::mt19937 random(options.seed);
    for (int node = 0; node < LBXLastNodeId; ++node)
    {
        if (!rig.uses(node)) continue;
        rig.nodes.push_back(node);
        RigJoint& joint = rig.stance[static_cast<size_t>(node)];
        if (options.awkwardRotations && node != LBXNodeReference) joint.q = random_rotation(random);
        LBXSetCharacterizeNodeStateTQSfv(rig.character, node, joint.t.data(), joint.q.data(), joint.s.data());
        if (options.parentOffsets && node != LBXNodeReference)
        {
            const auto q = random_rotation(random);
            const float t[3] = {0.1f * options.scale * q[0], 0.1f * options.scale * q[1], 0.1f * options.scale * q[2]};
            LBXSetParentOffsetTQSfv(rig.character, node, t, q.data(), joint.s.data());
        }
    }
    if (options.beforeCharacterize) options.beforeCharacterize(rig.character);
    LBXCharacterize(rig.character);
    return rig;
}

}  // namespace limbrex_test
