// Different characters may be solved on different threads: nothing is shared between solves.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/solver_objects.h"
#include "tests/support/t_stance_rig.h"

namespace limbrex_test
{
namespace
{

constexpr int kFrames = 200;
constexpr int kGoals[] = {LBXEffectorLeftWrist, LBXEffectorRightWrist, LBXEffectorLeftAnkle, LBXEffectorRightAnkle, LBXEffectorHead};

using Poses = std::vector<float>;  // T, Q, S of every node of every frame

// Every frame starts from the pose of the frame before, so that a single foreign bit would show in all that follow.
Poses solve_frames(const Rig& rig, uint32_t seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> offset(-0.4f, 0.4f);
    std::uniform_real_distribution<float> weight(0.0f, 1.0f);
    const StateOwner state = make_state(rig.character);
    const EffectorSetOwner set = make_effector_set();
    const PropertySetOwner properties = make_property_set();
    LBXPropertySetValue(properties.get(), LBXPropertyShoulderCorrection, 0.5f);
    Poses poses;
    for (int frame = 0; frame < kFrames; ++frame)
    {
        LBXEffectorSetInit(set.get());
        LBXEffectorSetFromState(rig.character, set.get(), state.get(), properties.get());
        for (const int effector : kGoals)
        {
            float t[4], q[4];
            const float s[4] = {1.0f, 1.0f, 1.0f, 1.0f};
            LBXGetEffectorStateTQfv(set.get(), effector, t, q);
            for (int axis = 0; axis < 3; ++axis) { t[axis] += offset(random); }
            LBXSetEffectorStateTQSfv(set.get(), effector, t, q, s);
            LBXSetEffectorReachT(set.get(), effector, weight(random));
            LBXSetEffectorReachR(set.get(), effector, weight(random));
            LBXSetEffectorPull(set.get(), effector, weight(random));
        }
        if (frame % 8 == 7) { LBXGetCharacterizeState(rig.character, state.get()); }  // or the pose wanders off
        LBXSolveForEffectorSet(rig.character, state.get(), set.get(), properties.get());
        for (const int node : rig.nodes)
        {
            float tqs[12];
            LBXGetNodeStateTQSfv(rig.character, state.get(), node, tqs, tqs + 4, tqs + 8);
            poses.insert(poses.end(), tqs, tqs + 12);
        }
    }
    return poses;
}

bool same_bits(const Poses& a, const Poses& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

TEST(SolverThreads, TwoCharactersSolvedAtOnceGetThePosesThatTheyGetAlone)
{
    const Rig first = make_rig(sixty_nodes());
    RigOptions with_twist_joints;
    with_twist_joints.leafRolls = 3;
    with_twist_joints.shoulderExtras = true;
    with_twist_joints.awkwardRotations = true;
    const Rig second = make_rig(with_twist_joints);
    const Poses first_alone = solve_frames(first, 1);
    const Poses second_alone = solve_frames(second, 2);
    ASSERT_FALSE(same_bits(first_alone, solve_frames(first, 3))) << "the goals must matter, or equal poses mean nothing";
    for (const float value : first_alone) { ASSERT_TRUE(std::isfinite(value)); }

    for (int round = 0; round < 3; ++round)
    {
        Poses first_together, second_together;
        std::atomic<int> ready{0};
        const auto meet = [&ready]
        {
            ++ready;
            while (ready < 2) { std::this_thread::yield(); }
        };
        std::thread other(
            [&]
            {
                meet();
                second_together = solve_frames(second, 2);
            });
        meet();
        first_together = solve_frames(first, 1);
        other.join();
        EXPECT_TRUE(same_bits(first_together, first_alone));
        EXPECT_TRUE(same_bits(second_together, second_alone));
    }
}

TEST(SolverThreads, OneRigServesTwoThreadsThatEachHaveAPoseAndGoalsOfTheirOwn)
{
    const Rig rig = make_rig(sixty_nodes());
    const Poses first_alone = solve_frames(rig, 5);
    const Poses second_alone = solve_frames(rig, 6);
    Poses second_together;
    std::thread other([&] { second_together = solve_frames(rig, 6); });
    const Poses first_together = solve_frames(rig, 5);
    other.join();
    EXPECT_TRUE(same_bits(first_together, first_alone));
    EXPECT_TRUE(same_bits(second_together, second_alone));
}

}  // namespace
}  // namespace limbrex_test
