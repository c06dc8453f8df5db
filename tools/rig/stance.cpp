#include "tools/rig/stance.h"

#include <fmt/format.h>

#include <algorithm>

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr double kRadians = 0.017453292519943295;
constexpr Vec3d kUp{0.0, 1.0, 0.0};
constexpr double kFacingTolerance_deg = 15.0;  // a pelvis is rarely captured exactly straight
constexpr double kBentHinge_deg = 15.0;        // below this bend the hinge axis of a knee or elbow is noise
constexpr double kNaturalCurve_deg = 30.0;     // spines and necks are not columns; what stands like this stays

// Smallest turn that takes the direction of `from` to that of `to`; opposite directions turn about z, then x.
Quatd shortest_arc(Vec3d from, Vec3d to)
{
    const Vec3d a = normalized(from);
    const Vec3d b = normalized(to);
    if (length(a) == 0.0 || length(b) == 0.0) { return {}; }
    const double w = 1.0 + dot(a, b);
    if (w > 1e-9)
    {
        const Vec3d axis = cross(a, b);
        return normalized(Quatd{axis.x, axis.y, axis.z, w});
    }
    const Vec3d side = std::fabs(a.z) < 0.9 ? cross(a, Vec3d{0.0, 0.0, 1.0}) : cross(a, Vec3d{1.0, 0.0, 0.0});
    const Vec3d axis = normalized(side);
    return {axis.x, axis.y, axis.z, 0.0};
}

// Turn that takes direction `from` with the side vector `from_side` to `to` with `to_side`.
Quatd frame_arc(Vec3d from, Vec3d from_side, Vec3d to, Vec3d to_side)
{
    const Quatd aim = shortest_arc(from, to);
    const Vec3d axis = normalized(to);
    const Vec3d side = rotate(aim, from_side);
    const Vec3d have = side - axis * dot(side, axis);
    const Vec3d want = to_side - axis * dot(to_side, axis);
    const double turn_rad = std::atan2(dot(cross(have, want), axis), dot(have, want));
    return mul(axis_angle(axis, turn_rad), aim);
}

// Straight limbs of the T. `hinge`: the axis about which the middle joint bends in its natural sense.
struct StraightLimb
{
    int upper, middle, end, tip;
    Vec3d direction, hinge;
    bool leg;
};

constexpr StraightLimb kLimbs[] = {
    {LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot, LBXNodeLeftToeBase, {0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}, true},
    {LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot, LBXNodeRightToeBase, {0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}, true},
    {LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand, LBXNodeLeftFingerBase, {1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}, false},
    {LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand, LBXNodeRightFingerBase, {-1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, false},
};

class Straightener
{
public:
    Straightener(const Skeleton& skeleton, const JointMapping& mapping, std::vector<RigidPose>& joints)
        : skeleton_(skeleton), mapping_(mapping), source_(joints), joints_(joints)
    {
        turns_.resize(joints.size());
    }

    // Parents first: a joint takes over its parent's turn, then adds its own.
    void run()
    {
        for (size_t j = 0; j < joints_.size(); ++j)
        {
            const int32_t parent = skeleton_.joints[j].parent;
            const Quatd inherited = parent < 0 ? Quatd{} : turns_[static_cast<size_t>(parent)];
            turns_[j] = turn_of(static_cast<int32_t>(j), inherited);
            joints_[j].rotation = normalized(mul(turns_[j], source_[j].rotation));
            if (parent < 0) { continue; }
            const size_t p = static_cast<size_t>(parent);
            joints_[j].position = joints_[p].position + rotate(turns_[p], source_[j].position - source_[p].position);
        }
    }

private:
    Vec3d source_at(int node) const { return source_[static_cast<size_t>(mapping_.joint[static_cast<size_t>(node)])].position; }

    Vec3d source_bone(int from, int to) const { return mapping_.has(from) && mapping_.has(to) ? source_at(to) - source_at(from) : Vec3d{}; }

    int node_of(int32_t joint) const
    {
        const auto found = std::find(mapping_.joint.begin(), mapping_.joint.end(), joint);
        return found == mapping_.joint.end() ? -1 : static_cast<int>(found - mapping_.joint.begin());
    }

    Quatd turn_of(int32_t joint, const Quatd& inherited) const
    {
        const int node = node_of(joint);
        if (node < 0) { return inherited; }
        if (node == LBXNodeHips) { return upright_hips(); }
        for (const StraightLimb& limb : kLimbs)
        {
            if (node == limb.upper) { return upper_turn(limb, inherited); }
            if (node == limb.middle) { return aim(inherited, source_bone(limb.middle, limb.end), limb.direction); }
            if (node == limb.end) { return limb.leg ? flat_foot(limb) : straight_hand(limb, inherited); }
        }
        return trunk_turn(node, inherited);
    }

    static Quatd aim(const Quatd& inherited, Vec3d bone, Vec3d direction)
    {
        return mul(shortest_arc(rotate(inherited, bone), direction), inherited);
    }

    // Left hip on +x, trunk up. A pelvis that already stands within the natural curve keeps its tilt.
    Quatd upright_hips() const
    {
        const Vec3d left = source_bone(LBXNodeRightUpLeg, LBXNodeLeftUpLeg);
        const int top = mapping_.has(LBXNodeNeck) ? LBXNodeNeck : LBXNodeHead;
        const Vec3d up = source_bone(LBXNodeHips, top);
        if (length(left) == 0.0) { return shortest_arc(up, kUp); }
        if (length(up) == 0.0) { return shortest_arc(left, {1.0, 0.0, 0.0}); }
        const bool standing = angle_between_deg(up, kUp) < kNaturalCurve_deg && std::fabs(normalized(left).y) < 0.1;
        const Vec3d level_left{left.x, 0.0, left.z};
        if (standing) { return shortest_arc(level_left, {1.0, 0.0, 0.0}); }
        return frame_arc(left, up, {1.0, 0.0, 0.0}, kUp);
    }

    // A bent middle joint shows where its hinge is; a straight one takes the shortest way.
    Quatd upper_turn(const StraightLimb& limb, const Quatd& inherited) const
    {
        const Vec3d upper = source_bone(limb.upper, limb.middle);
        const Vec3d lower = source_bone(limb.middle, limb.end);
        if (angle_between_deg(upper, lower) < kBentHinge_deg) { return aim(inherited, upper, limb.direction); }
        return frame_arc(upper, cross(upper, lower), limb.direction, limb.hinge);
    }

    // Feet stand flat in the pose they come from: they keep that, whatever the leg above does, and only turn about y to +z.
    Quatd flat_foot(const StraightLimb& limb) const
    {
        const Vec3d toe = source_bone(limb.end, limb.tip);
        return shortest_arc({toe.x, 0.0, toe.z}, {0.0, 0.0, 1.0});
    }

    Quatd straight_hand(const StraightLimb& limb, const Quatd& inherited) const
    {
        const int extremity = limb.end == LBXNodeLeftHand ? 0 : 1;
        for (const int tip : {limb.tip, LBX_NODE_FINGER(extremity, 2, 1), LBX_NODE_FINGER(extremity, 1, 1)})
        {
            const Vec3d bone = rotate(inherited, source_bone(limb.end, tip));
            if (length(bone) == 0.0) { continue; }
            return angle_between_deg(bone, limb.direction) < kSlantedLimb_deg ? inherited
                                                                              : aim(inherited, source_bone(limb.end, tip), limb.direction);
        }
        return inherited;
    }

    // Spine, neck: up, unless they stand within their natural curve.
    Quatd trunk_turn(int node, const Quatd& inherited) const
    {
        const int next = next_in_trunk(node);
        if (next < 0) { return inherited; }
        const Vec3d bone = rotate(inherited, source_bone(node, next));
        return length(bone) == 0.0 || angle_between_deg(bone, kUp) < kNaturalCurve_deg ? inherited
                                                                                       : aim(inherited, source_bone(node, next), kUp);
    }

    int next_in_trunk(int node) const
    {
        const bool spine = node == LBXNodeSpine || (node >= LBXNodeSpine1 && node <= LBXNodeSpine9);
        const bool neck = node == LBXNodeNeck || (node >= LBXNodeNeck1 && node <= LBXNodeNeck9);
        if (!spine && !neck) { return -1; }
        const int second = spine ? LBXNodeSpine1 : LBXNodeNeck1;
        const int last = spine ? LBXNodeSpine9 : LBXNodeNeck9;
        const int next = node == LBXNodeSpine || node == LBXNodeNeck ? second : node + 1;
        if (next <= last && mapping_.has(next)) { return next; }
        if (spine && mapping_.has(LBXNodeNeck)) { return LBXNodeNeck; }
        return mapping_.has(LBXNodeHead) ? LBXNodeHead : -1;
    }

    const Skeleton& skeleton_;
    const JointMapping& mapping_;
    const std::vector<RigidPose> source_;
    std::vector<RigidPose>& joints_;
    std::vector<Quatd> turns_;
};

void turn_about_y(std::vector<RigidPose>& joints, double angle_deg)
{
    const RigidPose turn{{}, axis_angle(kUp, angle_deg * kRadians)};
    for (RigidPose& joint : joints) { joint = turn * joint; }
}

// Lowest point below either ankle, ends of toes included; without feet the lowest joint.
double floor_height(const Skeleton& skeleton, const JointMapping& mapping, const std::vector<RigidPose>& joints)
{
    double lowest = 1e30;
    const bool has_feet = mapping.has(LBXNodeLeftFoot) || mapping.has(LBXNodeRightFoot);
    for (size_t j = 0; j < joints.size(); ++j)
    {
        const auto below = [&](int node)
        { return mapping.has(node) && is_ancestor(skeleton, mapping.joint[static_cast<size_t>(node)], static_cast<int32_t>(j)); };
        if (!has_feet || below(LBXNodeLeftFoot) || below(LBXNodeRightFoot)) { lowest = std::min(lowest, joints[j].position.y); }
    }
    return joints.empty() ? 0.0 : lowest;
}

void stand_on_origin(const Skeleton& skeleton, const JointMapping& mapping, std::vector<RigidPose>& joints)
{
    if (!mapping.has(LBXNodeHips)) { return; }
    const Vec3d hips = joints[static_cast<size_t>(mapping.joint[LBXNodeHips])].position;
    const Vec3d shift{-hips.x, -floor_height(skeleton, mapping, joints), -hips.z};
    for (RigidPose& joint : joints) { joint.position = joint.position + shift; }
}

void face_forward(const JointMapping& mapping, Stance& stance)
{
    const std::optional<double> facing = facing_deg(node_positions(mapping, stance.joints));
    if (!facing || std::fabs(*facing) <= kFacingTolerance_deg) { return; }
    const double quarter = std::round(*facing / 90.0) * 90.0;
    stance.turned_deg = -(std::fabs(*facing - quarter) <= kFacingTolerance_deg ? quarter : *facing);
    turn_about_y(stance.joints, stance.turned_deg);
}

}  // namespace

NodePositions node_positions(const JointMapping& mapping, const std::vector<RigidPose>& joints)
{
    NodePositions positions;
    for (size_t node = 1; node < positions.size(); ++node)
    {
        if (mapping.joint[node] >= 0) { positions[node] = joints[static_cast<size_t>(mapping.joint[node])].position; }
    }
    return positions;
}

Stance build_stance(const Skeleton& skeleton, const JointMapping& mapping, const JointPose* locals, bool is_rest, StanceChoice choice)
{
    Stance stance;
    stance.joints = world_poses(skeleton, locals);
    if (sides_exchanged(node_positions(mapping, stance.joints)))
    {
        stance.notes.push_back("the toes point backwards: left and right are exchanged in the joint names, or the feet are mapped wrongly");
    }
    face_forward(mapping, stance);

    const std::vector<StanceFault> faults = measure_stance(node_positions(mapping, stance.joints));
    stance.straightened = choice == StanceChoice::Straighten || (choice == StanceChoice::Automatic && (!is_rest || !faults.empty()));
    if (stance.straightened)
    {
        for (const StanceFault& fault : faults) { stance.notes.push_back(fault.text); }
        Straightener(skeleton, mapping, stance.joints).run();
    }
    stand_on_origin(skeleton, mapping, stance.joints);
    return stance;
}

}  // namespace limbrex_tools
