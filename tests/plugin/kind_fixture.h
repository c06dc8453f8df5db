// One character's solve objects without an engine around them, so that a test runs a constraint by itself and reads goals, weights, options
// and the stage mask that it leaves. The solver frame lies at an odd place in the world.
#pragma once

#include <cstdlib>

#include "constraints/effector_goal.h"
#include "contexts/solver_frame.h"
#include "resources/host_services.h"
#include "resources/plugin_allocator.h"
#include "tests/plugin/plugin_services.h"
#include "tests/plugin/test_rig.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test_engine
{

class KindTest : public ::testing::Test
{
protected:
    explicit KindTest(const TestRig& rig = biped())
    {
        acquire_host_services(plugin_test::PluginServices::get_api);
        EXPECT_TRUE(open_plugin_allocator());
        LBXCharacterDefinition definition = {};
        for (const Mapped& mapped : rig.mapping) definition.nodeFlags[mapped.nodeId] = LBXNodeUsed;
        context.character = LBXCharacterCreate(&definition, std::malloc);
        for (const Mapped& mapped : rig.mapping)
        {
            LBXSetCharacterizeNodeStateTQSfv(context.character, mapped.nodeId, mapped.stance.data(), &kIdentityRotation.x, &kOne4.x);
        }
        EXPECT_TRUE(LBXCharacterize(context.character));
        context.state = LBXCharacterStateCreate(context.character, std::malloc);
        context.effectorSet = LBXEffectorSetCreate(std::malloc);
        context.propertySet = LBXPropertySetCreate(std::malloc);
        context.rootPosition = {3.5f, -20.0f, 1.25f, 0.0f};
        context.rootRotation = normalize({0.3f, -0.5f, 0.7f, 0.4f});
        context.inverseRootRotation = conjugate(context.rootRotation);
        LBXGetCharacterizeState(context.character, context.state);
        startFrame();
    }
    ~KindTest() override
    {
        LBXCharacterDestroy(context.character, std::free);
        LBXCharacterStateDestroy(context.state, std::free);
        LBXEffectorSetDestroy(context.effectorSet, std::free);
        LBXPropertySetDestroy(context.propertySet, std::free);
        close_plugin_allocator();
    }
    KindTest(const KindTest&) = delete;
    KindTest& operator=(const KindTest&) = delete;

    // As the evaluation does before the stack.
    void startFrame()
    {
        LBXPropertySetInit(context.propertySet);
        restart_goals(context);
    }
    void solve() { LBXSolveForEffectorSet(context.character, context.state, context.effectorSet, context.propertySet); }

    EffectorGoal goal(int effector) const { return read_goal(context, effector); }
    std::array<float, 4> weights(int effector) const
    {
        const LBXEffectorSet* set = context.effectorSet;
        return {LBXGetEffectorReachT(set, effector), LBXGetEffectorReachR(set, effector), LBXGetEffectorPull(set, effector),
                LBXGetEffectorResist(set, effector)};
    }
    EffectorGoal node(int id) const
    {
        EffectorGoal pose = {kZero4, kIdentityRotation, kOne4};
        LBXGetNodeStateTQSfv(context.character, context.state, id, &pose.translation.x, &pose.rotation.x, &pose.scale.x);
        return pose;
    }
    std::string text(const IkConstraint& constraint) const
    {
        DescriptionText description;
        constraint.describe(description);
        return description.text;
    }

    plugin_test::PluginServices services;
    CharacterContext context = {};
};

inline double distance(Vec4 a, Vec4 b) { return static_cast<double>(length3(sub3(a, b))); }

inline double turn_between_deg(Quat a, Quat b)
{
    const Quat difference = mul(conjugate(a), b);
    const double sine = std::hypot(std::hypot(difference.x, difference.y), difference.z);
    return 2.0 * std::atan2(sine, std::fabs(static_cast<double>(difference.w))) * 180.0 / M_PI;
}

inline Quat axis_turn(Vec4 axis, double angle_deg)
{
    const double half_rad = 0.5 * angle_deg * M_PI / 180.0;
    const auto sine = static_cast<float>(std::sin(half_rad));
    return {axis.x * sine, axis.y * sine, axis.z * sine, static_cast<float>(std::cos(half_rad))};
}

MATCHER_P2(NearPoint, expected, tolerance, "is near the point")
{
    *result_listener << "at distance " << distance(arg, expected);
    return distance(arg, expected) <= tolerance;
}

MATCHER_P2(NearTurn, expected, tolerance_deg, "is near the turn")
{
    *result_listener << "off by " << turn_between_deg(arg, expected) << " degrees";
    return turn_between_deg(arg, expected) <= tolerance_deg;
}

}  // namespace test_engine
