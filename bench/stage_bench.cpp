// Stages of the solve that do nothing without floors or finger goals, each alone on a prepared pose.
#include "bench/stage_bench.h"

#include <cstdio>
#include <cstring>

#include "bench/rows.h"
#include "limbrex/limbrex_debug.h"

namespace limbrex_bench
{
namespace
{

using namespace limbrex_test;

enum StageBit : uint32_t
{
    kPrepare = 1u << 0,
    kFloorClamp = 1u << 1,
    kFingers = 1u << 4,
    kFloorContact = 1u << 6
};

// The pose is prepared once for each moment; a run copies it and does the one stage. The clamp moves goals, so its runs copy those too.
template <class Adorn>
void add_stage(const std::string& name, const Body& body, uint32_t stage, const Adorn& adorn)
{
    add_row(name, body,
            [&body, stage, adorn](benchmark::State& bench)
            {
                Solver solver(body, 0);
                const PropertySetOwner properties = make_property_set();
                std::vector<StateOwner> prepared;
                for (size_t moment = 0; moment < kMoments; ++moment)
                {
                    adorn(body, moment, solver.sets[moment].get(), properties.get());
                    solver.start(moment);
                    LBXDebugSolveStages(body.rig.character, solver.state.get(), solver.sets[moment].get(), properties.get(), kPrepare);
                    prepared.push_back(make_state(body.rig.character));
                    LBXCharacterStateCopy(prepared.back().get(), solver.state.get());
                }
                const EffectorSetOwner goals = make_effector_set();
                const size_t goal_bytes = LBXEffectorSetGetSize();
                go_round(bench,
                         [&](size_t moment)
                         {
                             LBXCharacterStateCopy(solver.state.get(), prepared[moment].get());
                             LBXEffectorSet* set = solver.sets[moment].get();
                             if (stage == kFloorClamp)
                             {
                                 std::memcpy(static_cast<void*>(goals.get()), static_cast<const void*>(set), goal_bytes);
                                 set = goals.get();
                             }
                             LBXDebugSolveStages(body.rig.character, solver.state.get(), set, properties.get(), stage);
                         });
            });
}

// Soles and palms about a centimetre deep in a floor that slopes by 7 degrees; for the clamp, which looks at the goals alone, wrists and ankles.
struct Floors
{
    bool hands;
    float stiffness;
    float below_m;  // how far the floor lies below wrist or ankle

    void operator()(const Body& body, size_t moment, LBXEffectorSet* set, LBXPropertySet* properties) const
    {
        constexpr float kSizes[] = {0.09f, 0.06f, 0.125f, 0.08f, 0.04f, 0.05f};
        constexpr int kEnds[] = {LBXNodeLeftHand, LBXNodeRightHand, LBXNodeLeftFoot, LBXNodeRightFoot};
        LBXPropertySetMode(properties, LBXPropertyFloorContact, 1);
        LBXPropertySetMode(properties, LBXPropertyHandFloorContact, hands ? 1 : 0);
        LBXPropertySetValue(properties, LBXPropertyParamFootContactStiffness, stiffness);
        LBXPropertySetValue(properties, LBXPropertyParamHandContactStiffness, stiffness);
        for (int i = 0; i < 6; ++i)
        {
            LBXPropertySetValue(properties, LBXPropertyFootBottomToAnkle + i, kSizes[i]);
            LBXPropertySetValue(properties, LBXPropertyHandBottomToWrist + i, kSizes[i]);
        }
        // "Always Sync", without which the clamp rests; no public id, the 199th record of mode and value.
        constexpr float kAlwaysSync = 2.0f;
        std::memcpy(reinterpret_cast<char*>(properties) + size_t{8} * 198 + 4, &kAlwaysSync, sizeof kAlwaysSync);
        for (int contact = 0; contact < 4; ++contact)
        {
            float t[4], q[4];
            LBXGetNodeStateTQfv(body.rig.character, body.animated[moment].get(), kEnds[contact], t, q);
            const float floor[4] = {t[0], t[1] - below_m, t[2], 0.0f};
            const float slope[4] = {0.061f, 0.0f, 0.0f, 0.9981f};
            LBXSetEffectorFloorContactTQfv(set, contact, floor, slope);
        }
    }
};

// All ten fingers, two centimetres and a third of a right angle from where they are.
struct FingerGoals
{
    bool reach, turn;

    void operator()(const Body& /*body*/, size_t /*moment*/, LBXEffectorSet* set, LBXPropertySet* /*properties*/) const
    {
        for (int finger = 0; finger < 10; ++finger)
        {
            const int effector = finger < 5 ? LBXEffectorLeftHandThumb + finger : LBXEffectorRightHandThumb + finger - 5;
            const float side = finger < 5 ? 1.0f : -1.0f;
            float t[4], q[4];
            const float s[4] = {1.0f, 1.0f, 1.0f, 1.0f};
            LBXGetEffectorStateTQfv(set, effector, t, q);
            t[0] -= 0.02f * side;
            t[1] -= 0.02f;
            _mm_storeu_ps(q, multiply(_mm_set_ps(0.9659f, -0.2588f * side, 0.0f, 0.0f), _mm_loadu_ps(q)));
            LBXSetEffectorStateTQSfv(set, effector, t, q, s);
            LBXSetEffectorReachT(set, effector, reach ? 1.0f : 0.0f);
            LBXSetEffectorReachR(set, effector, turn ? 1.0f : 0.0f);
        }
    }
};

}  // namespace

void add_floor_and_finger_rows(const Body& body)
{
    for (const bool hands : {false, true})
    {
        for (const float stiffness : {0.0f, 0.5f, 1.0f})
        {
            char conditions[64];
            std::snprintf(conditions, sizeof conditions, "%s, stiffness %g", hands ? "feet and hands" : "feet",
                          static_cast<double>(stiffness));
            add_stage(std::string("floor clamp: ") + conditions, body, kFloorClamp, Floors{hands, stiffness, -0.01f});
            add_stage(std::string("floor contact: ") + conditions, body, kFloorContact, Floors{hands, stiffness, 0.08f});
        }
    }
    add_stage("fingers: ten reach", body, kFingers, FingerGoals{true, false});
    add_stage("fingers: ten turn", body, kFingers, FingerGoals{false, true});
    add_stage("fingers: ten reach and turn", body, kFingers, FingerGoals{true, true});
}

}  // namespace limbrex_bench
