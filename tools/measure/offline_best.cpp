#include "tools/measure/offline_best.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr double kTrunkTurn_rad = 0.5235987755982988;  // 30 degrees from the animation: spine joints and collar, as far as people bend
constexpr int kRestarts = 8;
constexpr int kRounds = 40;

struct SearchJoint
{
    Vec3d offset;          // in the parent's frame; constant
    Quatd animated, turn;  // local rotations
    bool trunk;
};

struct SearchChain
{
    RigidPose base;  // of the first joint's parent
    std::vector<SearchJoint> joints;
    Vec3d tip;  // end of the limb in the last joint's frame
};

RigidPose rigid(const NodeRecordTQS& record)
{
    return {position(record), normalized(to_quatd({record.q[0], record.q[1], record.q[2], record.q[3]}))};
}

size_t index_of(const MeasuredRig& rig, int node)
{
    const auto found = std::find_if(rig.nodes.begin(), rig.nodes.end(), [&](const MeasuredNode& n) { return n.node == node; });
    return static_cast<size_t>(found - rig.nodes.begin());
}

// From the joint below the hips to the limb's middle joint.
SearchChain make_chain(const MeasuredRig& rig, const TrialPose& pose, const GoalKind& limb)
{
    std::vector<size_t> path;
    for (int node = limb.middle; node > LBXNodeHips; node = rig.nodes[path.back()].templateParent) { path.push_back(index_of(rig, node)); }
    std::reverse(path.begin(), path.end());
    SearchChain chain;
    chain.base = rigid(pose.solvedGlobal[index_of(rig, rig.nodes[path.front()].templateParent)]);
    for (const size_t i : path)
    {
        const size_t parent = index_of(rig, rig.nodes[i].templateParent);
        const RigidPose local = inverse(rigid(pose.solvedGlobal[parent])) * rigid(pose.solvedGlobal[i]);
        const RigidPose animated = inverse(rigid(pose.animatedGlobal[parent])) * rigid(pose.animatedGlobal[i]);
        const bool trunk = rig.nodes[i].node != limb.root && rig.nodes[i].node != limb.middle;
        chain.joints.push_back({local.position, animated.rotation, local.rotation, trunk});
    }
    chain.tip = (inverse(rigid(pose.solvedGlobal[path.back()])) * rigid(pose.solvedGlobal[index_of(rig, limb.end)])).position;
    return chain;
}

Quatd arc(Vec3d from, Vec3d to)
{
    const Vec3d a = normalized(from);
    const Vec3d b = normalized(to);
    const Vec3d axis = cross(a, b);
    const double angle = std::atan2(length(axis), dot(a, b));
    return length(axis) > 0.0 ? axis_angle(normalized(axis), angle) : Quatd{};
}

Quatd held_near(const Quatd& animated, const Quatd& turn)
{
    const double angle = angle_between(animated, turn);
    return angle <= kTrunkTurn_rad ? turn : slerp(animated, turn, kTrunkTurn_rad / angle);
}

double descend(SearchChain chain, Vec3d target)
{
    double best = 1e9;
    std::vector<RigidPose> parents(chain.joints.size());
    for (int round = 0; round < kRounds; ++round)
    {
        for (size_t turned = chain.joints.size(); turned-- > 0;)
        {
            RigidPose world = chain.base;
            for (size_t i = 0; i < chain.joints.size(); ++i)
            {
                parents[i] = world;
                world = world * RigidPose{chain.joints[i].offset, chain.joints[i].turn};
            }
            const Vec3d tip = world.position + rotate(world.rotation, chain.tip);
            best = std::min(best, length(target - tip));
            SearchJoint& joint = chain.joints[turned];
            const Vec3d pivot = parents[turned].position + rotate(parents[turned].rotation, joint.offset);
            const Quatd global = mul(arc(tip - pivot, target - pivot), mul(parents[turned].rotation, joint.turn));
            joint.turn = normalized(mul(conjugate(parents[turned].rotation), global));
            if (joint.trunk) { joint.turn = held_near(joint.animated, joint.turn); }
        }
    }
    return best;
}

double best_distance(const SearchChain& chain, Vec3d target)
{
    std::mt19937 random(7);
    std::normal_distribution<double> spread(0.0, 0.3);
    double best = descend(chain, target);
    for (int restart = 0; restart < kRestarts; ++restart)
    {
        SearchChain start = chain;
        for (SearchJoint& joint : start.joints)
        {
            const Vec3d axis{spread(random), spread(random), spread(random)};
            joint.turn = mul(joint.turn, axis_angle(normalized(axis), length(axis)));
            if (joint.trunk) { joint.turn = held_near(joint.animated, joint.turn); }
        }
        best = std::min(best, descend(start, target));
    }
    return best;
}

}  // namespace

void compare_with_best(Trial& trial, const MeasureOptions& options, RowNumbers& row)
{
    const bool one_limb = row.row.goals.size() == 1 && kGoalKinds[row.row.goals[0]].limb >= 0;
    if (!one_limb || !row.row.pull || row.row.distance != GoalDistance::Beyond || row.row.sweep != SweepPath::None) { return; }
    GoalNumbers& numbers = row.goals[0];
    const size_t count = std::min<size_t>(options.offlineFrames, trial.clip().frameCount);
    TrialPose pose;
    for (size_t i = 0; i < count; ++i)
    {
        const double frame = static_cast<double>(i * trial.clip().frameCount / count);
        trial.run(row.row, frame, pose);
        const SearchChain chain = make_chain(trial.rig(), pose, kGoalKinds[row.row.goals[0]]);
        const double solver = length(pose.reached[0] - pose.goals[0].target);
        const double excess = 100.0 * (solver - best_distance(chain, pose.goals[0].target)) / trial.rig().bodyHeight_m;
        numbers.missed_offline += excess / static_cast<double>(count);
        numbers.worstOffline.take(excess, frame);
        ++numbers.offlineCount;
    }
}

}  // namespace limbrex_tools
