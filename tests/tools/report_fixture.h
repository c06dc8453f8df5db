// A hand-made recording: a figure of twenty-two joints walks on the spot and turns slowly while its left hand follows a moving target.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "host/animation/pose_math.h"
#include "host/recording.h"

namespace limbrex_tools
{

constexpr double kFixtureRate = 30.0;

inline limbrex_host::Skeleton walker_skeleton()
{
    struct Row
    {
        const char* name;
        int parent;
        float x, y, z;
    };
    // Facing +x, left is +y, z up; metres.
    const Row rows[] = {
        {"Hips", -1, 0.0f, 0.0f, 0.95f},
        {"Spine", 0, 0.0f, 0.0f, 0.12f},
        {"Chest", 1, 0.0f, 0.0f, 0.2f},
        {"Neck", 2, 0.0f, 0.0f, 0.2f},
        {"Head", 3, 0.02f, 0.0f, 0.1f},
        {"Head_end", 4, 0.0f, 0.0f, 0.18f},
        {"LeftShoulder", 2, 0.0f, 0.04f, 0.16f},
        {"LeftArm", 6, 0.0f, 0.14f, 0.0f},
        {"LeftForeArm", 7, 0.0f, 0.0f, -0.28f},
        {"LeftHand", 8, 0.0f, 0.0f, -0.26f},
        {"RightShoulder", 2, 0.0f, -0.04f, 0.16f},
        {"RightArm", 10, 0.0f, -0.14f, 0.0f},
        {"RightForeArm", 11, 0.0f, 0.0f, -0.28f},
        {"RightHand", 12, 0.0f, 0.0f, -0.26f},
        {"LeftUpLeg", 0, 0.0f, 0.1f, -0.05f},
        {"LeftLeg", 14, 0.0f, 0.0f, -0.42f},
        {"LeftFoot", 15, 0.0f, 0.0f, -0.41f},
        {"LeftToe", 16, 0.15f, 0.0f, -0.06f},
        {"RightUpLeg", 0, 0.0f, -0.1f, -0.05f},
        {"RightLeg", 18, 0.0f, 0.0f, -0.42f},
        {"RightFoot", 19, 0.0f, 0.0f, -0.41f},
        {"RightToe", 20, 0.15f, 0.0f, -0.06f},
    };
    limbrex_host::Skeleton skeleton;
    for (const Row& row : rows)
    {
        limbrex_host::Joint joint{row.name, row.parent, {}, std::string(row.name) == "Head_end"};
        joint.rest.translation = {row.x, row.y, row.z};
        skeleton.joints.push_back(joint);
    }
    return skeleton;
}

inline void turn_joint(std::vector<limbrex_host::JointPose>& locals, size_t joint, limbrex_host::Vec3d axis, double angle_rad)
{
    locals[joint].rotation = to_floats(limbrex_host::axis_angle(axis, angle_rad));
}

inline std::vector<limbrex_host::JointPose> walker_pose(const limbrex_host::Skeleton& skeleton, double time_s)
{
    std::vector<limbrex_host::JointPose> locals;
    for (const limbrex_host::Joint& joint : skeleton.joints) { locals.push_back(joint.rest); }
    const limbrex_host::Vec3d across{0.0, 1.0, 0.0};
    const double swing = std::sin(2.0 * M_PI * time_s);
    turn_joint(locals, 0, {0.0, 0.0, 1.0}, 0.25 * time_s);
    turn_joint(locals, 14, across, -0.5 * swing);
    turn_joint(locals, 15, across, 0.35 + 0.3 * swing);
    turn_joint(locals, 18, across, 0.5 * swing);
    turn_joint(locals, 19, across, 0.35 - 0.3 * swing);
    turn_joint(locals, 7, across, 0.5 * swing);
    turn_joint(locals, 8, across, -0.4);
    turn_joint(locals, 11, across, -0.5 * swing);
    turn_joint(locals, 12, across, -0.4);
    return locals;
}

// Shoulder and elbow of the left arm so that the hand comes as near as it can to a point given in the chest's frame.
inline void reach_with_left_arm(std::vector<limbrex_host::JointPose>& locals, limbrex_host::Vec3d goal_chest)
{
    using namespace limbrex_host;
    const double upper = 0.28;
    const double lower = 0.26;
    const Vec3d to_goal = goal_chest - Vec3d{0.0, 0.18, 0.16};
    const double distance = std::min(length(to_goal), upper + lower - 1e-6);
    const double bend = M_PI - std::acos((upper * upper + lower * lower - distance * distance) / (2.0 * upper * lower));
    const double lead = std::acos((upper * upper + distance * distance - lower * lower) / (2.0 * upper * distance));
    const Vec3d direction = normalized(to_goal);
    const Vec3d down{0.0, 0.0, -1.0};
    const Vec3d axis = normalized(cross(down, direction));
    const Quatd aim = axis_angle(axis, std::acos(std::max(-1.0, std::min(1.0, dot(down, direction)))));
    const Vec3d hinge{0.0, 1.0, 0.0};
    locals[7].rotation = to_floats(mul(aim, axis_angle(hinge, lead)));
    locals[8].rotation = to_floats(axis_angle(hinge, -bend));
}

inline std::vector<limbrex_host::NodePose> node_poses(const std::vector<limbrex_host::RigidPose>& joints)
{
    std::vector<limbrex_host::NodePose> nodes(1);  // node 0 is the unit's root, at the origin
    for (const limbrex_host::RigidPose& pose : joints)
    {
        nodes.push_back({to_floats(pose.position), to_floats(pose.rotation), {1.0f, 1.0f, 1.0f}});
    }
    return nodes;
}

inline limbrex_host::UnitRecording walker_unit()
{
    limbrex_host::UnitRecording unit;
    unit.name = "walker";
    unit.rig = "walker";
    unit.clipName = "walk";
    unit.bodyHeight_m = 1.6;
    unit.skeleton = walker_skeleton();
    unit.nodeNames = {"unit"};
    unit.nodeParents = {-1};
    for (const limbrex_host::Joint& joint : unit.skeleton.joints)
    {
        unit.jointNodes.push_back(static_cast<int32_t>(unit.nodeNames.size()));
        unit.nodeNames.push_back(joint.name);
        unit.nodeParents.push_back(joint.parent + 1);
    }
    for (limbrex_host::PoseTrack* track : {&unit.animatedWorld, &unit.solvedWorld}) { track->nodeCount = unit.nodeNames.size(); }
    return unit;
}

inline void add_poses(limbrex_host::PoseTrack& track, const std::vector<limbrex_host::RigidPose>& joints)
{
    const std::vector<limbrex_host::NodePose> nodes = node_poses(joints);
    track.poses.insert(track.poses.end(), nodes.begin(), nodes.end());
}

// `lag` is the share of the way to the target that the hand stays behind.
inline limbrex_host::Recording walking_run(size_t frame_count, double lag)
{
    using namespace limbrex_host;
    Recording run;
    run.scene = "walk.lua";
    run.framesPerSecond = kFixtureRate;
    run.frameCount = frame_count;
    run.units.push_back(walker_unit());
    run.goals = {{"LeftHand reach", 0, 9, 1, false, {}}, {"RightFoot pin", 0, 4, 2, true, {}}};
    run.timing.characters = 1;
    UnitRecording& unit = run.units[0];
    for (size_t frame = 0; frame < frame_count; ++frame)
    {
        const double t = static_cast<double>(frame) / kFixtureRate;
        std::vector<JointPose> locals = walker_pose(unit.skeleton, t);
        add_poses(unit.animatedWorld, world_poses(unit.skeleton, locals.data()));
        const Vec3d goal{0.42 + 0.1 * std::sin(3.0 * t), 0.2 + 0.15 * std::cos(2.0 * t), 0.25 + 0.25 * std::sin(2.0 * t)};
        reach_with_left_arm(locals, goal * (1.0 - lag));
        const std::vector<RigidPose> solved = world_poses(unit.skeleton, locals.data());
        add_poses(unit.solvedWorld, solved);
        unit.present.push_back(1);
        const Vec3d target = solved[2].position + rotate(solved[2].rotation, goal);
        run.goals[0].samples.push_back({frame >= 5, to_floats(target), to_floats(solved[9].position)});
        run.goals[1].samples.push_back({true, to_floats(solved[20].position), to_floats(solved[20].position)});
        run.timing.callback_us.push_back(12.0);
        for (size_t stage = 0; stage < kStageCount; ++stage) { run.timing.stages_us[stage].push_back(1.0 + static_cast<double>(stage)); }
    }
    MarkerRecording marker{"ball", 0xff2a9d6eu, 0.06f, {}};
    for (size_t frame = 0; frame < frame_count; ++frame) { marker.positions_world.push_back(run.goals[0].samples[frame].target_world); }
    run.markers.push_back(marker);
    return run;
}

}  // namespace limbrex_tools
