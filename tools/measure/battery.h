// What a rig is asked to do while a clip plays: which effectors have goals, how far away the goals are and how they move.
#pragma once

#include <string>
#include <vector>

#include "host/animation/pose_math.h"
#include "tools/measure/measured_rig.h"

namespace limbrex_tools
{

enum class GoalDistance
{
    Inside,  // limbs: 30 to 95 % of their length from their root; body: 1/16 of the body's height from the animation
    Edge,    // limbs: 94 to 106 %; body: 1/8
    Beyond,  // limbs: 120 to 140 %; body: 1/4
};
constexpr size_t kDistanceCount = 3;
constexpr const char* kDistanceNames[kDistanceCount] = {"inside", "edge", "beyond"};

struct GoalKind
{
    const char* name;
    int effector;
    int limb;               // -1: hips, chest, head
    int root, middle, end;  // nodes of the limb
};
// Indices into kGoalKinds.
enum GoalIndex : size_t
{
    kLeftHandGoal,
    kRightHandGoal,
    kLeftFootGoal,
    kRightFootGoal,
    kHeadGoal,
    kChestGoal,
    kHipsGoal,
    kGoalKindCount
};
extern const GoalKind kGoalKinds[kGoalKindCount];

// Slow paths of one limb's goal over a frozen pose, so that every turn is the solver's own.
enum class SweepPath
{
    None,
    ThroughReach,  // out from a bent limb to one and a half lengths, and back
    AcrossBody,    // from the limb's own side to the other in front of the body
    BehindBack,    // from the front round the side to behind the back
    StraightLimb,  // back and forth through the length at which the limb is straight
};
constexpr const char* kSweepNames[] = {"", "through the reach", "across the body", "behind the back", "through the straight limb"};

struct BatteryRow
{
    std::string name;
    std::vector<size_t> goals;  // of kGoalKinds
    GoalDistance distance = GoalDistance::Inside;
    bool pull = true;       // reach is always whole
    bool feetHeld = false;  // both ankles have their animated place as goal
    SweepPath sweep = SweepPath::None;
    size_t frozenFrame = 0;  // of a sweep
};

struct GoalPlace
{
    size_t kind = 0;
    limbrex_host::Vec3d target;
    double reachShare = 0.0;  // distance from the animated limb root in limb lengths; 0 for body goals
    bool held = false;        // the animated place itself
};

// The rows a rig can play: those whose nodes it has.
std::vector<BatteryRow> moving_battery(const MeasuredRig& rig);
// Sweeps over `poses` frames of the clip, spread evenly.
std::vector<BatteryRow> sweep_battery(const MeasuredRig& rig, size_t frame_count, size_t poses);
constexpr double kSweep_s = 8.0;

// Where the row's goals are at a time, from the effectors and limbs of the animated pose.
std::vector<GoalPlace> place_goals(const MeasuredRig& rig, const BatteryRow& row, const LBXCharacterState* animated,
                                   const LBXEffectorSet* effectors_of_animated, double time_s);

limbrex_host::Vec3d node_position(const LBXCharacter* character, const LBXCharacterState* state, int node);
limbrex_host::Vec3d effector_position(const LBXEffectorSet* set, int effector);
// Upper and lower bone of the limb in a pose.
double limb_length(const LBXCharacter* character, const LBXCharacterState* state, const GoalKind& limb);

}  // namespace limbrex_tools
