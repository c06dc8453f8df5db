// Mapping by names and tree: limbs first, since their words are the clearest; then the hips and the chest as the joints that the limbs
// share; then what lies between them.
#include <fmt/format.h>

#include <algorithm>

#include "host/animation/pose_math.h"
#include "tools/rig/joint_mapping.h"
#include "tools/rig/joint_names.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Joint;
using limbrex_host::Skeleton;

constexpr double kCoincident_m = 1e-4;  // joints nearer than this to their parent have no bone in between

struct LimbNodes
{
    int collar, upper, lower, end, base;
};

constexpr LimbNodes kArms[] = {
    {LBXNodeLeftShoulder, LBXNodeLeftArm, LBXNodeLeftForeArm, LBXNodeLeftHand, LBXNodeLeftFingerBase},
    {LBXNodeRightShoulder, LBXNodeRightArm, LBXNodeRightForeArm, LBXNodeRightHand, LBXNodeRightFingerBase},
};
constexpr LimbNodes kLegs[] = {
    {-1, LBXNodeLeftUpLeg, LBXNodeLeftLeg, LBXNodeLeftFoot, LBXNodeLeftToeBase},
    {-1, LBXNodeRightUpLeg, LBXNodeRightLeg, LBXNodeRightFoot, LBXNodeRightToeBase},
};

class NameMapper
{
public:
    NameMapper(const Skeleton& skeleton, JointMapping& mapping) : skeleton_(skeleton), mapping_(mapping)
    {
        labels_.resize(skeleton.joints.size());
        for (size_t j = 0; j < labels_.size(); ++j)
        {
            if (skeleton.joints[j].endSite) { labels_[j].part = Part::Helper; }
            else { labels_[j] = read_joint_name(skeleton.joints[j].name); }
        }
    }

    bool run(std::string& error)
    {
        for (const int side : {0, 1})
        {
            map_leg(side);
            map_arm(side);
        }
        map_head();
        if (!map_trunk(error)) { return false; }
        for (const int side : {0, 1})
        {
            map_fingers(side, false);
            map_fingers(side, true);
            map_single_toe(side);
            map_twists(side);
        }
        map_template_names();
        return true;
    }

private:
    const Joint& joint(int32_t index) const { return skeleton_.joints[static_cast<size_t>(index)]; }
    const JointLabel& label(int32_t index) const { return labels_[static_cast<size_t>(index)]; }
    int32_t mapped(int node) const { return node < 0 ? -1 : mapping_.joint[static_cast<size_t>(node)]; }
    static Side side_of(int side) { return side == 0 ? Side::Left : Side::Right; }

    bool is_used(int32_t index) const { return std::find(mapping_.joint.begin(), mapping_.joint.end(), index) != mapping_.joint.end(); }

    void map(int node, int32_t index)
    {
        if (index >= 0) { mapping_.joint[static_cast<size_t>(node)] = index; }
    }

    // Joints of a part and side below `above` (-1: anywhere), parents first.
    std::vector<int32_t> find_all(Part part, Side side, int32_t above = -1) const
    {
        std::vector<int32_t> found;
        for (size_t j = 0; j < labels_.size(); ++j)
        {
            const auto index = static_cast<int32_t>(j);
            const JointLabel& candidate = labels_[j];
            if (candidate.part != part || candidate.side != side || candidate.twist) { continue; }
            if (above >= 0 && (index == above || !is_ancestor(skeleton_, above, index))) { continue; }
            found.push_back(index);
        }
        return found;
    }

    int32_t find_first(Part part, Side side, int32_t above = -1) const
    {
        const std::vector<int32_t> found = find_all(part, side, above);
        return found.empty() ? -1 : found.front();
    }

    bool coincides_with(int32_t index, int32_t ancestor) const
    {
        limbrex_host::RigidPose pose;
        for (; index >= 0 && index != ancestor; index = joint(index).parent) { pose = limbrex_host::to_rigid(joint(index).rest) * pose; }
        return limbrex_host::length(pose.position) < kCoincident_m;
    }

    void map_leg(int side)
    {
        const LimbNodes& nodes = kLegs[side];
        int32_t upper = find_first(Part::UpperLeg, side_of(side));
        if (upper < 0) { upper = find_first(Part::Hip, side_of(side)); }
        int32_t lower = find_first(Part::LowerLeg, side_of(side), upper);
        const std::vector<int32_t> legs = find_all(Part::Leg, side_of(side), upper);
        size_t next = 0;
        if (upper < 0 && !legs.empty() && (lower >= 0 || legs.size() > 1)) { upper = legs[next++]; }
        if (lower < 0 && next < legs.size()) { lower = legs[next]; }
        map(nodes.upper, upper);
        map(nodes.lower, lower);
        map_end(nodes, Part::Foot, Part::Toe, side_of(side));
    }

    void map_arm(int side)
    {
        const LimbNodes& nodes = kArms[side];
        int32_t collar = find_first(Part::Collar, side_of(side));
        int32_t upper = find_first(Part::UpperArm, side_of(side));
        if (upper < 0) { upper = find_first(Part::Arm, side_of(side)); }
        const int32_t shoulder = find_first(Part::Shoulder, side_of(side));
        if (upper < 0) { upper = shoulder; }
        else if (collar < 0) { collar = shoulder; }
        map(nodes.collar, collar);
        map(nodes.upper, upper);
        map(nodes.lower, find_first(Part::LowerArm, side_of(side), upper));
        map_end(nodes, Part::Hand, Part::FingerBase, side_of(side));
    }

    // Foot or hand, and the base of toes or fingers below it: a joint named so, or a second hand ("wrist" then "hand"). One that lies
    // on the end joint itself would give it a bone of no length; it is passed over.
    void map_end(const LimbNodes& nodes, Part end_part, Part base_part, Side side)
    {
        const int32_t end = find_first(end_part, side, mapped(nodes.lower));
        if (end < 0) { return; }
        map(nodes.end, end);
        std::vector<int32_t> bases = find_all(base_part, side, end);
        const std::vector<int32_t> more_ends = find_all(end_part, side, end);
        bases.insert(bases.end(), more_ends.begin(), more_ends.end());
        for (const int32_t base : bases)
        {
            if (!coincides_with(base, end)) { return map(nodes.base, base); }
            mapping_.notes.push_back(fmt::format("joint \"{}\" lies on \"{}\": not used as {}, moves with it", joint(base).name,
                                                 joint(end).name, LBXGetNodeNameFromId(nodes.base)));
        }
    }

    void map_head() { map(LBXNodeHead, find_first(Part::Head, Side::None)); }

    int32_t common_ancestor(int32_t a, int32_t b) const
    {
        if (a < 0 || b < 0) { return std::max(a, b); }
        while (a >= 0 && !is_ancestor(skeleton_, a, b)) { a = joint(a).parent; }
        return a;
    }

    // The joint that both arms and the head hang from.
    int32_t find_chest() const
    {
        int32_t chest = -1;
        int hanging = 0;
        const int32_t neck = find_first(Part::Neck, Side::None);
        for (const int32_t top : {mapped(LBXNodeHead) >= 0 ? mapped(LBXNodeHead) : neck, arm_root(0), arm_root(1)})
        {
            if (top < 0) { continue; }
            chest = hanging == 0 ? joint(top).parent : common_ancestor(chest, joint(top).parent);
            ++hanging;
        }
        return chest;
    }

    int32_t arm_root(int side) const
    {
        const int32_t collar = mapped(kArms[side].collar);
        return collar >= 0 ? collar : mapped(kArms[side].upper);
    }

    std::vector<int32_t> path_below(int32_t top, int32_t bottom) const  // without `top`, with `bottom`, downward
    {
        std::vector<int32_t> path;
        for (; bottom >= 0 && bottom != top; bottom = joint(bottom).parent) { path.push_back(bottom); }
        std::reverse(path.begin(), path.end());
        return path;
    }

    bool map_trunk(std::string& error)
    {
        const int32_t chest = find_chest();
        const int32_t legs = common_ancestor(leg_parent(0), leg_parent(1));
        const int32_t named = find_first(Part::Hips, Side::None);
        const bool has_legs = mapped(LBXNodeLeftUpLeg) >= 0 || mapped(LBXNodeRightUpLeg) >= 0;
        const int32_t hips = has_legs && legs >= 0 ? common_ancestor(legs, chest) : named;
        if (hips < 0)
        {
            error = "no hips: no joint that both legs and the trunk hang from, and none called hips or pelvis. "
                    "Give the joints with --map FILE";
            return false;
        }
        map(LBXNodeHips, hips);
        if (named >= 0 && named != hips)
        {
            mapping_.notes.push_back(fmt::format("the hips are \"{}\", the joint that both legs and the trunk hang from, not \"{}\"",
                                                 joint(hips).name, joint(named).name));
        }
        if (chest < 0 || !is_ancestor(skeleton_, hips, chest)) { return true; }
        map_spine(path_below(hips, chest));
        if (mapping_.has(LBXNodeHead)) { map_neck(path_below(chest, joint(mapped(LBXNodeHead)).parent)); }
        return true;
    }

    int32_t leg_parent(int side) const
    {
        const int32_t upper = mapped(kLegs[side].upper);
        return upper < 0 ? -1 : joint(upper).parent;
    }

    void map_spine(const std::vector<int32_t>& path)
    {
        std::vector<int32_t> named;
        for (const int32_t j : path)
        {
            const Part part = label(j).part;
            if ((part == Part::Spine || part == Part::Hips) && !label(j).twist) { named.push_back(j); }
        }
        for (const int32_t j : path)
        {
            if (named.empty() || std::find(named.begin(), named.end(), j) != named.end()) { continue; }
            mapping_.notes.push_back(
                fmt::format("joint \"{}\" lies between the hips and the arms but is not named like a spine: it moves as a "
                            "fixed part",
                            joint(j).name));
        }
        if (named.empty() && !path.empty())
        {
            named = path;
            mapping_.notes.push_back("no joint between hips and chest is named like a spine; all of them are taken");
        }
        map_chain(named, LBXNodeSpine, LBXNodeSpine1, "spine");
    }

    void map_neck(const std::vector<int32_t>& path)
    {
        std::vector<int32_t> named;
        for (const int32_t j : path)
        {
            if (label(j).part == Part::Neck && !label(j).twist) { named.push_back(j); }
        }
        map_chain(named, LBXNodeNeck, LBXNodeNeck1, "neck");
    }

    void map_chain(const std::vector<int32_t>& joints, int first_node, int second_node, const char* what)
    {
        constexpr size_t kChainCapacity = 10;
        for (size_t i = 0; i < std::min(joints.size(), kChainCapacity); ++i)
        {
            map(i == 0 ? first_node : second_node + static_cast<int>(i) - 1, joints[i]);
        }
        if (joints.size() > kChainCapacity)
        {
            mapping_.notes.push_back(fmt::format("the {} has {} joints; the template has {}, the rest moves with the last", what,
                                                 joints.size(), kChainCapacity));
        }
    }

    // Joints of one finger in tree order: numbers in names start at 0, at 1, or are words.
    void map_fingers(int side, bool on_foot)
    {
        const LimbNodes& limb = on_foot ? kLegs[side] : kArms[side];
        const int32_t end = mapped(limb.end);
        if (end < 0) { return; }
        const int extremity = (on_foot ? 2 : 0) + side;
        std::array<int, 6> count{};
        for (const int32_t j : find_all(Part::Finger, side_of(side), end))
        {
            const JointLabel& name = label(j);
            if (name.finger > 5 || is_used(j)) { continue; }
            if (name.metacarpal) { map_free(LBX_NODE_IN_EXTREMITY(extremity, name.finger), j); }
            else if (count[static_cast<size_t>(name.finger)] < 4)
            {
                int& joints = count[static_cast<size_t>(name.finger)];
                if (joints == 0 && coincides_with(j, end)) { note_finger_on_hand(j, end); }
                else { map(LBX_NODE_FINGER(extremity, name.finger, ++joints), j); }
            }
        }
    }

    void note_finger_on_hand(int32_t finger, int32_t end)
    {
        mapping_.notes.push_back(fmt::format("joint \"{}\" lies on \"{}\": it gives no finger bone and moves with the hand",
                                             joint(finger).name, joint(end).name));
    }

    void map_free(int node, int32_t index)
    {
        if (!mapping_.has(node)) { map(node, index); }
    }

    // One toe joint and no toe base: whatever it is called, the foot bends there.
    void map_single_toe(int side)
    {
        const LimbNodes& leg = kLegs[side];
        if (mapped(leg.base) >= 0 || mapped(leg.end) < 0) { return; }
        int only = -1;
        for (int finger = 0; finger < 6; ++finger)
        {
            const int first = LBX_NODE_FINGER(2 + side, finger, 1);
            if (!mapping_.has(first)) { continue; }
            if (only >= 0 || mapping_.has(first + 1)) { return; }
            only = first;
        }
        if (only < 0) { return; }
        map(leg.base, mapped(only));
        mapping_.joint[static_cast<size_t>(only)] = -1;
    }

    // A twist joint that carries the rest of the limb is the segment's roll node, one beside it a leaf.
    void map_twists(int side)
    {
        const int segments[] = {side * 2, side * 2 + 1, 4 + side * 2, 5 + side * 2};
        const int upper[] = {kLegs[side].upper, kLegs[side].lower, kArms[side].upper, kArms[side].lower};
        const int next[] = {kLegs[side].lower, kLegs[side].end, kArms[side].lower, kArms[side].end};
        for (size_t s = 0; s < 4; ++s)
        {
            const int32_t top = mapped(upper[s]);
            const int32_t bottom = mapped(next[s]);
            if (top < 0 || bottom < 0) { continue; }
            int leaves = 0;
            for (size_t j = 0; j < labels_.size(); ++j)
            {
                const auto index = static_cast<int32_t>(j);
                if (!labels_[j].twist || labels_[j].side != side_of(side) || index == top || !is_ancestor(skeleton_, top, index))
                {
                    continue;
                }
                if (is_ancestor(skeleton_, bottom, index) || is_used(index)) { continue; }
                if (is_ancestor(skeleton_, index, bottom)) { map_free(LBX_NODE_ROLL(segments[s]), index); }
                else if (leaves < 5) { map(LBX_NODE_LEAF_ROLL(segments[s], ++leaves), index); }
            }
        }
    }

    // Joints that carry a template name of no convention's own ("HipsTranslation", "LeftShoulderExtra").
    void map_template_names()
    {
        for (size_t j = 0; j < labels_.size(); ++j)
        {
            const int node = LBXGetNodeIdFromName(skeleton_.joints[j].name.c_str());
            const bool own = node == LBXNodeHipsTranslation || node == LBXNodeLeftShoulderExtra || node == LBXNodeRightShoulderExtra;
            if (own && !is_used(static_cast<int32_t>(j))) { map_free(node, static_cast<int32_t>(j)); }
        }
    }

    const Skeleton& skeleton_;
    JointMapping& mapping_;
    std::vector<JointLabel> labels_;
};

}  // namespace

bool map_joints_by_name(const Skeleton& skeleton, JointMapping& mapping, std::string& error)
{
    return NameMapper(skeleton, mapping).run(error);
}

}  // namespace limbrex_tools
