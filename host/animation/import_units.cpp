#include "host/animation/import_units.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "host/animation/import_names.h"
#include "host/animation/pose_math.h"

namespace limbrex_host
{
namespace
{

constexpr double kSmallestBody_m = 1.3;
constexpr double kTallestBody_m = 2.2;
constexpr double kUsualBody_m = 1.72;
constexpr double kFallbackBody_m = 1.75;
constexpr double kAnkleToSole = 0.05;     // share of the height below the ankle
constexpr double kHeadAboveJoint = 0.12;  // share of the height above the head joint

// Metre, centimetre, inch, the public mocap library's 1/0.45 inch, decimetre, millimetre, foot.
constexpr double kUsualUnits_m[] = {1.0, 0.01, 0.0254, 0.0254 / 0.45, 0.1, 0.001, 0.3048};

// Things of unknown kind are believed in their declared unit within these sizes.
constexpr double kSmallestThing_m = 0.05;
constexpr double kLargestThing_m = 12.0;

struct BodyJoints
{
    int32_t head = -1;
    std::vector<int32_t> feet;
    bool hands = false;
    bool complete() const { return head >= 0 && hands && feet.size() == 2; }
};

int32_t parent_of(const Skeleton& skeleton, int32_t joint) { return skeleton.joints[static_cast<size_t>(joint)].parent; }

double bone_length(const Skeleton& skeleton, int32_t joint)
{
    return length(to_vec3d(skeleton.joints[static_cast<size_t>(joint)].rest.translation));
}

bool ends_with(const std::string& name, const std::string& ending)
{
    return name.size() >= ending.size() && name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
}

bool has_ancestor_in(const Skeleton& skeleton, int32_t joint, const std::vector<int32_t>& set)
{
    for (int32_t up = parent_of(skeleton, joint); up >= 0; up = parent_of(skeleton, up))
    {
        if (std::count(set.begin(), set.end(), up) > 0) { return true; }
    }
    return false;
}

// Joints come parents first, so the first match of a limb is the highest: the ankle, not what hangs from it.
BodyJoints find_body(const Skeleton& skeleton)
{
    BodyJoints body;
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        const std::string name = plain_name(skeleton.joints[j].name);
        const int32_t index = static_cast<int32_t>(j);
        if (body.head < 0 && ends_with(name, "head")) { body.head = index; }
        body.hands |= name.find("hand") != std::string::npos || name.find("wrist") != std::string::npos;
        const bool foot = name.find("foot") != std::string::npos || name.find("ankle") != std::string::npos;
        const bool handle = name.find("ik") != std::string::npos || name.find("front") != std::string::npos;
        if (foot && !handle && !has_ancestor_in(skeleton, index, body.feet)) { body.feet.push_back(index); }
    }
    return body;
}

int32_t common_ancestor(const Skeleton& skeleton, int32_t a, int32_t b)
{
    while (a != b && a >= 0 && b >= 0)
    {
        if (a > b) { a = parent_of(skeleton, a); }
        else { b = parent_of(skeleton, b); }
    }
    return a == b ? a : -1;
}

double path_length(const Skeleton& skeleton, int32_t joint, int32_t ancestor)
{
    double sum = 0.0;
    for (; joint >= 0 && joint != ancestor; joint = parent_of(skeleton, joint)) { sum += bone_length(skeleton, joint); }
    return sum;
}

// A tip above the head joint, when the skeleton has one.
double head_tip(const Skeleton& skeleton, int32_t head)
{
    double tip = 0.0;
    for (size_t j = 0; j < skeleton.joints.size(); ++j)
    {
        const Joint& joint = skeleton.joints[j];
        if (joint.parent == head && joint.endSite) { tip = std::max(tip, bone_length(skeleton, static_cast<int32_t>(j))); }
    }
    return tip;
}

bool plausible_body(double height_m) { return height_m >= kSmallestBody_m && height_m <= kTallestBody_m; }

// Of the usual units that make a plausible body the one nearest to an average one; 0 when there is none.
double usual_unit_for_body(double height)
{
    double best = 0.0;
    double best_distance = std::numeric_limits<double>::max();
    for (const double unit : kUsualUnits_m)
    {
        const double distance = std::fabs(std::log(height * unit / kUsualBody_m));
        if (plausible_body(height * unit) && distance < best_distance)
        {
            best = unit;
            best_distance = distance;
        }
    }
    return best;
}

double largest_extent(const Skeleton& skeleton)
{
    Vec3d low{1e30, 1e30, 1e30};
    Vec3d high{-1e30, -1e30, -1e30};
    for (const RigidPose& pose : world_poses_at_rest(skeleton))
    {
        const Vec3d p = pose.position;
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    return std::max({high.x - low.x, high.y - low.y, high.z - low.z, 0.0});
}

// For bodies of unknown kind: the declared unit (else metres), or centimetres or millimetres if the thing were a giant.
double unit_for_thing(double extent, double declared)
{
    const double first = declared > 0.0 ? declared : 1.0;
    for (const double factor : {1.0, 0.01, 0.001})
    {
        const double size_m = extent * first * factor;
        if (size_m >= kSmallestThing_m && size_m <= kLargestThing_m) { return first * factor; }
    }
    return first;
}

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

void for_each_pose(Asset& asset, void (*change)(JointPose&, double), double argument)
{
    for (Joint& joint : asset.skeleton.joints) { change(joint.rest, argument); }
    for (Clip& clip : asset.clips)
    {
        for (JointPose& pose : clip.poses) { change(pose, argument); }
    }
}

// A quarter turn about x takes z to y and y to -z; in a quaternion it moves the axis alone.
void turn_pose(JointPose& pose, double)
{
    pose.translation = {pose.translation[0], pose.translation[2], -pose.translation[1]};
    pose.rotation = {pose.rotation[0], pose.rotation[2], -pose.rotation[1], pose.rotation[3]};
    pose.scale = {pose.scale[0], pose.scale[2], pose.scale[1]};
}

void scale_pose(JointPose& pose, double factor)
{
    for (float& component : pose.translation) { component = static_cast<float>(static_cast<double>(component) * factor); }
}

}  // namespace

double body_height(const Skeleton& skeleton)
{
    const BodyJoints body = find_body(skeleton);
    if (!body.complete()) { return 0.0; }
    const int32_t hips = common_ancestor(skeleton, body.head, body.feet.front());
    if (hips < 0) { return 0.0; }
    double below = 0.0;
    for (const int32_t foot : body.feet) { below = std::max(below, path_length(skeleton, foot, hips)); }
    const double tip = head_tip(skeleton, body.head);
    const double joints = path_length(skeleton, body.head, hips) + below;
    // Tips lie anywhere from the brow to above the crown; a share of the body is the better guess when they are far out.
    const double with_tip = (joints + tip) / (1.0 - kAnkleToSole);
    const double by_share = joints / (1.0 - kAnkleToSole - kHeadAboveJoint);
    return tip > 0.0 ? std::min(with_tip, by_share) : by_share;
}

UpAxis guess_up_axis(const Asset& asset)
{
    const BodyJoints body = find_body(asset.skeleton);
    if (!body.complete()) { return UpAxis::Y; }
    const size_t joint_count = asset.skeleton.joints.size();
    Vec3d upward;
    const auto add = [&](const std::vector<RigidPose>& world)
    {
        const Vec3d head = world[static_cast<size_t>(body.head)].position;
        for (const int32_t foot : body.feet) { upward = upward + (head - world[static_cast<size_t>(foot)].position); }
    };
    if (asset.clips.empty() || asset.clips.front().frameCount == 0) { add(world_poses_at_rest(asset.skeleton)); }
    else
    {
        const Clip& clip = asset.clips.front();
        const uint32_t step = std::max(1u, clip.frameCount / 64u);
        for (uint32_t frame = 0; frame < clip.frameCount; frame += step)
        {
            add(world_poses(asset.skeleton, clip.poses.data() + frame * joint_count));
        }
    }
    return std::fabs(upward.z) > std::fabs(upward.y) ? UpAxis::Z : UpAxis::Y;
}

double guess_metres_per_unit(const Skeleton& skeleton, double declared, std::vector<std::string>& notes)
{
    const double height = body_height(skeleton);
    if (height > 0.0 && plausible_body(height * declared)) { return declared; }
    const double usual = height > 0.0 ? usual_unit_for_body(height) : 0.0;
    if (usual > 0.0)
    {
        notes.push_back("unit taken as " + number(usual) + " m, which makes a body of " + number(height * usual) + " m");
        return usual;
    }
    if (height > 0.0 && declared <= 0.0)
    {
        notes.push_back("no usual unit makes a plausible body; scaled so that the body is " + number(kFallbackBody_m) + " m tall (" +
                        number(kFallbackBody_m / height) + " m a unit)");
        return kFallbackBody_m / height;
    }
    const double extent = largest_extent(skeleton);
    const double unit = unit_for_thing(extent, declared);
    if (unit != (declared > 0.0 ? declared : 1.0))
    {
        notes.push_back("unit taken as " + number(unit) + " m, which makes " + number(extent * unit) + " m in all");
    }
    return unit;
}

void turn_to_y_up(Asset& asset) { for_each_pose(asset, turn_pose, 0.0); }

void scale_lengths(Asset& asset, double factor)
{
    if (factor != 1.0) { for_each_pose(asset, scale_pose, factor); }
}

void settle_frame_and_unit(Asset& asset, const ImportOptions& options, const DeclaredFrame& declared)
{
    UpAxis up = options.up;
    if (up == UpAxis::Guess) { up = declared.yUp ? UpAxis::Y : guess_up_axis(asset); }
    if (up == UpAxis::Z)
    {
        turn_to_y_up(asset);
        asset.notes.push_back("z up turned to y up");
    }
    const double unit =
        options.metresPerUnit > 0.0 ? options.metresPerUnit : guess_metres_per_unit(asset.skeleton, declared.metresPerUnit, asset.notes);
    scale_lengths(asset, unit);
}

}  // namespace limbrex_host
