#include "bench/bench_body.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace limbrex_bench
{

using namespace limbrex_test;

namespace
{

constexpr float kTau = 6.2831853f;

struct Swing
{
    int node;
    float axis[3];
    float middle, amplitude;  // radians
};

// Arms down, elbows and knees bent, everything moving a little.
constexpr Swing kSwings[] = {
    {LBXNodeHips, {0, 1, 0}, 0.0f, 0.1f},         {LBXNodeSpine, {1, 0, 0}, 0.1f, 0.05f},     {LBXNodeSpine1, {0, 1, 0}, 0.0f, 0.08f},
    {LBXNodeLeftArm, {0, 0, 1}, -1.1f, 0.2f},     {LBXNodeRightArm, {0, 0, 1}, 1.1f, 0.2f},   {LBXNodeLeftForeArm, {0, 1, 0}, -0.7f, 0.3f},
    {LBXNodeRightForeArm, {0, 1, 0}, 0.7f, 0.3f}, {LBXNodeLeftUpLeg, {1, 0, 0}, -0.3f, 0.3f}, {LBXNodeRightUpLeg, {1, 0, 0}, -0.3f, -0.3f},
    {LBXNodeLeftLeg, {1, 0, 0}, 0.5f, 0.25f},     {LBXNodeRightLeg, {1, 0, 0}, 0.5f, -0.25f}, {LBXNodeLeftFoot, {1, 0, 0}, -0.2f, 0.1f},
    {LBXNodeRightFoot, {1, 0, 0}, -0.2f, -0.1f},  {LBXNodeNeck, {1, 0, 0}, 0.1f, 0.1f},       {LBXNodeHead, {0, 1, 0}, 0.0f, 0.2f},
};

void turn(NodeRecord& record, const Swing& swing, float phase)
{
    const float half = 0.5f * (swing.middle + swing.amplitude * std::sin(phase));
    const float s = std::sin(half);
    const __m128 by = _mm_set_ps(std::cos(half), swing.axis[2] * s, swing.axis[1] * s, swing.axis[0] * s);
    _mm_storeu_ps(record.q, multiply(_mm_loadu_ps(record.q), by));
}

struct GoalMotion
{
    int effector;
    float offset[3], amplitude[3];  // metres from the animated place
};

constexpr GoalMotion kGoals[] = {
    {LBXEffectorLeftWrist, {0.1f, 0.15f, 0.25f}, {0.1f, 0.2f, 0.2f}},
    {LBXEffectorRightWrist, {-0.1f, 0.1f, 0.25f}, {0.1f, 0.2f, 0.2f}},
    {LBXEffectorLeftAnkle, {0.05f, 0.02f, 0.0f}, {0.03f, 0.02f, 0.05f}},
    {LBXEffectorRightAnkle, {-0.05f, 0.02f, 0.0f}, {0.03f, 0.02f, 0.05f}},
    {LBXEffectorHead, {0.0f, -0.03f, 0.03f}, {0.04f, 0.02f, 0.04f}},
};

void fill_skeleton(Body& body)
{
    const LBXCharacter* character = body.rig.character;
    std::vector<int> order{LBXNodeReference};
    body.skeleton.parents.push_back(0);
    for (size_t done = 0; done < order.size(); ++done)  // breadth first: parents before children
    {
        for (const int node : body.rig.nodes)
        {
            if (node == LBXNodeReference || LBXGetParentNodeId(character, node) != order[done]) { continue; }
            order.push_back(node);
            body.skeleton.parents.push_back(static_cast<int32_t>(done));
        }
    }
    body.skeleton.locals.resize(order.size());
    body.skeleton.globals.resize(order.size());
    for (size_t i = 0; i < order.size(); ++i)
    {
        const RigJoint& joint = body.rig.stance[static_cast<size_t>(order[i])];
        const RigJoint& parent = body.rig.stance[static_cast<size_t>(order[static_cast<size_t>(body.skeleton.parents[i])])];
        const float angle = 0.01f * static_cast<float>(i);
        body.skeleton.locals[i] = {{joint.t[0] - parent.t[0], joint.t[1] - parent.t[1], joint.t[2] - parent.t[2], 0.0f},
                                   {std::sin(angle), 0.0f, 0.0f, std::cos(angle)}};
    }
}

}  // namespace

LBXDataDescription Body::description() const
{
    return {1, offsetof(NodeRecord, t), offsetof(NodeRecord, q), offsetof(NodeRecord, s), sizeof(NodeRecord), nodeIds.data()};
}

Body make_body(const RigOptions& options)
{
    Body body;
    body.rig = make_rig(options);
    body.properties = make_property_set();
    LBXPropertySetValue(body.properties.get(), LBXPropertyShoulderCorrection, 0.5f);  // what the engine plugin sets
    body.nodeIds.assign(body.rig.nodes.begin(), body.rig.nodes.end());
    body.nodeIds.push_back(-2);
    const LBXDataDescription description = body.description();
    std::vector<NodeRecord> stance(body.node_count());
    StateOwner state = make_state(body.rig.character);
    LBXGetCharacterStateTransformTQS(body.rig.character, state.get(), &description, stance.data());
    for (size_t moment = 0; moment < kMoments; ++moment)
    {
        std::vector<NodeRecord> locals = stance;
        const float phase = kTau * static_cast<float>(moment) / static_cast<float>(kMoments);
        for (const Swing& swing : kSwings)
        {
            const auto found = std::find(body.rig.nodes.begin(), body.rig.nodes.end(), swing.node);
            if (found != body.rig.nodes.end()) { turn(locals[static_cast<size_t>(found - body.rig.nodes.begin())], swing, phase); }
        }
        body.animated.push_back(make_state(body.rig.character));
        LBXSetCharacterStateTransformTQS(body.rig.character, body.animated.back().get(), &description, locals.data());
        body.locals.push_back(std::move(locals));
    }
    fill_skeleton(body);
    return body;
}

RigOptions small_rig()
{
    RigOptions options;
    options.spineNodes = 2;
    options.neckNodes = 1;
    options.fingerBases = false;
    options.fingers = false;
    return options;
}

RigOptions large_rig()
{
    RigOptions options;
    options.spineNodes = 8;
    options.neckNodes = 8;
    options.shoulderExtras = true;
    options.fingerTips = true;
    options.inHands = true;
    options.toes = true;
    options.hipsTranslation = true;
    options.leafRolls = 5;
    return options;
}

void place_goals(const Body& body, size_t moment, size_t goal_count, LBXEffectorSet* set)
{
    LBXEffectorSetInit(set);
    LBXEffectorSetFromState(body.rig.character, set, body.animated[moment].get(), body.properties.get());
    LBXSetEffectorSetSolvingStep(set, LBXSolvingStepAllButStretch);
    const float phase = kTau * static_cast<float>(moment) / static_cast<float>(kMoments);
    for (size_t g = 0; g < goal_count; ++g)
    {
        const GoalMotion& goal = kGoals[g];
        float t[4], q[4];
        const float s[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        LBXGetEffectorStateTQfv(set, goal.effector, t, q);
        for (size_t axis = 0; axis < 3; ++axis)
        {
            t[axis] += goal.offset[axis] + goal.amplitude[axis] * std::sin(phase + static_cast<float>(g + axis));
        }
        LBXSetEffectorStateTQSfv(set, goal.effector, t, q, s);
        LBXSetEffectorReachT(set, goal.effector, 1.0f);
        LBXSetEffectorPull(set, goal.effector, 1.0f);
    }
}

}  // namespace limbrex_bench
