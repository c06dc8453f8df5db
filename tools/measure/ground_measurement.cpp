#include "tools/measure/ground_measurement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "limbrex/limbrex_debug.h"
#include "tools/measure/battery.h"
#include "tools/measure/measurement.h"

namespace limbrex_tools
{

using namespace limbrex_host;

namespace
{

constexpr double kRamp_rad = kRamp_deg / 57.29577951308232;
constexpr double kFlatBefore_m = 0.3;  // from the hips' first place to the edge
constexpr double kTravels_m = 0.2;     // hips that stay nearer to their first place have no direction
constexpr double kJump_mps = 10.0;     // hips that are faster have been moved by the clip's cut
constexpr size_t kCorners = 4;         // of a sole: heel and ball, inner and outer
// Room round the sole when the plane is chosen: the solve may turn the foot, and with it shift its points.
constexpr double kRoom_m = 0.01;

struct FootNodes
{
    int ankle, toe, effector, contact;
};
constexpr FootNodes kFeet[2] = {{LBXNodeLeftFoot, LBXNodeLeftToeBase, LBXEffectorLeftAnkle, 2},
                                {LBXNodeRightFoot, LBXNodeRightToeBase, LBXEffectorRightAnkle, 3}};

struct FootPose
{
    Vec3d ankle, ball;
    std::array<Vec3d, 6> points;
    size_t held = 0;  // of the points
};
using FeetPose = std::array<FootPose, 2>;

struct FloorPlane
{
    Vec3d normal;
    double height = 0.0;  // straight below or above the ankle
};

Vec3d level(Vec3d v) { return {v.x, 0.0, v.z}; }

bool used(const MeasuredRig& rig, int node) { return (LBXGetNodeFlags(rig.character.get(), node) & LBXNodeUsed) != 0; }

PropertySetOwner floor_properties(const nlohmann::json& source)
{
    PropertySetOwner properties(LBXPropertySetCreate(std::malloc));
    constexpr std::pair<int, const char*> kSizes[] = {{LBXPropertyFootContactType, "contact_foot_type"},
                                                      {LBXPropertyFootBottomToAnkle, "contact_foot_bottom_to_ankle"},
                                                      {LBXPropertyFootBackToAnkle, "contact_foot_back_to_ankle"},
                                                      {LBXPropertyFootMiddleToAnkle, "contact_foot_middle_to_ankle"},
                                                      {LBXPropertyFootFrontToMiddle, "contact_foot_front_to_middle"},
                                                      {LBXPropertyFootInToAnkle, "contact_foot_in_to_ankle"},
                                                      {LBXPropertyFootOutToAnkle, "contact_foot_out_to_ankle"}};
    for (const auto& [property, name] : kSizes)
    {
        const auto size = source.find(name);
        if (size != source.end() && size->is_number()) { LBXPropertySetValue(properties.get(), property, size->get<float>()); }
    }
    LBXPropertySetMode(properties.get(), LBXPropertyFloorContact, 1);
    LBXPropertySetValue(properties.get(), LBXPropertyFloorPivot, 2.0f);  // a foot that turns onto the floor does so about its ball
    return properties;
}

FootPose foot_pose(const MeasuredRig& rig, const LBXCharacterState* state, const LBXPropertySet* properties, const FootNodes& foot)
{
    FootPose pose;
    float points[24] = {};
    const int held = LBXDebugGetContactPoints(rig.character.get(), state, properties, foot.contact, points);
    pose.held = static_cast<size_t>(std::max(held, 0));
    for (size_t i = 0; i < pose.points.size(); ++i) { pose.points[i] = to_vec3d({points[4 * i], points[4 * i + 1], points[4 * i + 2]}); }
    pose.ankle = node_position(rig.character.get(), state, foot.ankle);
    pose.ball = used(rig, foot.toe) ? node_position(rig.character.get(), state, foot.toe) : pose.ankle;
    return pose;
}

FeetPose feet_pose(const MeasuredRig& rig, const LBXCharacterState* state, const LBXPropertySet* properties)
{
    return {foot_pose(rig, state, properties, kFeet[0]), foot_pose(rig, state, properties, kFeet[1])};
}

// The ground's slope under the middle of the sole, raised until no ground near a point of the sole is above it.
FloorPlane plane_under(const Ground& ground, const FootPose& foot)
{
    Vec3d middle;
    for (size_t i = 0; i < kCorners; ++i) { middle = middle + foot.points[i] * (1.0 / kCorners); }
    FloorPlane plane{ground.normal(middle), -std::numeric_limits<double>::infinity()};
    for (size_t i = 0; i < foot.held; ++i)
    {
        for (const double shift : {-kRoom_m, 0.0, kRoom_m})
        {
            const Vec3d place = foot.points[i] + ground.heading * shift;
            const double rise = -dot(plane.normal, level(place - foot.ankle)) / plane.normal.y;
            plane.height = std::max(plane.height, ground.height(place) - rise);
        }
    }
    return plane;
}

void set_floor(LBXEffectorSet* set, int contact, Vec3d ankle, const FloorPlane& plane)
{
    const std::array<float, 3> t = to_floats(Vec3d{ankle.x, plane.height, ankle.z});
    // Shortest arc from y to the normal.
    const std::array<float, 4> q = to_floats(normalized(Quatd{plane.normal.z, 0.0, -plane.normal.x, 1.0 + plane.normal.y}));
    LBXSetEffectorFloorContactTQfv(set, contact, t.data(), q.data());
}

void raise(LBXEffectorSet* set, int effector, double by)
{
    float t[4], q[4], s[4];
    LBXGetEffectorStateTQSfv(set, effector, t, q, s);
    t[1] += static_cast<float>(by);
    LBXSetEffectorStateTQSfv(set, effector, t, q, s);
    LBXSetEffectorReachT(set, effector, 1.0f);
}

// Ankles keep their height over the ground, hips follow their mean, and the floor contact does the rest.
void solve_over(const MeasuredRig& rig, const Ground& ground, const FeetPose& animated, LBXEffectorSet* goals, LBXCharacterState* state,
                const LBXPropertySet* properties)
{
    LBXEffectorSetInit(goals);
    LBXEffectorSetFromState(rig.character.get(), goals, state, properties);
    LBXSetEffectorSetSolvingStep(goals, LBXSolvingStepAllButStretch);
    double mean = 0.0;
    for (size_t side = 0; side < 2; ++side)
    {
        const FootNodes& foot = kFeet[side];
        const FloorPlane plane = plane_under(ground, animated[side]);
        const double lift = plane.height - ground.edge.y;
        set_floor(goals, foot.contact, animated[side].ankle, plane);
        raise(goals, foot.effector, lift);
        LBXSetEffectorReachR(goals, foot.effector, 1.0f);
        LBXSetEffectorPull(goals, foot.effector, 1.0f);
        mean += 0.5 * lift;
    }
    raise(goals, LBXEffectorHips, mean);
    LBXSolveForEffectorSet(rig.character.get(), state, goals, properties);
}

// Of the contact point that is lowest over the ground below it, among the first `points`; negative in the ground.
double clearance_mm(const Ground& ground, const FootPose& foot, size_t points)
{
    double lowest = std::numeric_limits<double>::infinity();
    for (size_t i = 0; i < points; ++i) { lowest = std::min(lowest, foot.points[i].y - ground.height(foot.points[i])); }
    return 1000.0 * lowest;
}

// By frame: whether the foot belongs to a stretch of slow frames that is long enough.
std::vector<bool> planted_frames(const std::vector<FeetPose>& clip, size_t side, double frames_per_second)
{
    std::vector<bool> planted(clip.size(), false);
    const auto slow = [&](size_t frame)
    {
        if (frame == 0 || frame + 1 >= clip.size()) { return false; }
        return 0.5 * length(clip[frame + 1][side].ball - clip[frame - 1][side].ball) * frames_per_second < kPlantedSpeed_mps;
    };
    for (size_t first = 0; first < clip.size(); ++first)
    {
        size_t end = first;
        while (slow(end)) { ++end; }
        if (end - first >= kShortestPlant) { std::fill_n(planted.begin() + static_cast<std::ptrdiff_t>(first), end - first, true); }
        first = end;
    }
    return planted;
}

FootingCurve footing(const std::vector<FeetPose>& poses, const std::vector<bool> (&planted)[2], const Ground& ground,
                     double frames_per_second)
{
    FootingCurve curve;
    curve.penetration_mm.assign(poses.size(), 0.0);
    curve.skate_mmps.assign(poses.size(), std::numeric_limits<double>::quiet_NaN());
    for (size_t frame = 0; frame < poses.size(); ++frame)
    {
        for (size_t side = 0; side < 2; ++side)
        {
            const FootPose& foot = poses[frame][side];
            curve.penetration_mm[frame] = std::max(curve.penetration_mm[frame], -clearance_mm(ground, foot, kCorners));
            if (!planted[side][frame]) { continue; }
            curve.gap_mm.push_back(std::max(clearance_mm(ground, foot, foot.held), 0.0));
            if (!planted[side][frame - 1]) { continue; }  // the first frame is never planted
            const double speed = 1000.0 * frames_per_second * length(level(foot.ball - poses[frame - 1][side].ball));
            curve.stepSkate_mmps.push_back(speed);
            curve.skate_mmps[frame] = std::fmax(curve.skate_mmps[frame], speed);
        }
    }
    return curve;
}

const JointPose* frame_of(const Asset& asset, size_t frame)
{
    return asset.clips.front().poses.data() + frame * asset.skeleton.joints.size();
}

std::vector<Vec3d> hips_way(const MeasuredRig& rig, const Asset& asset)
{
    const StateOwner state = make_state(rig);
    std::vector<Vec3d> way;
    for (size_t frame = 0; frame < asset.clips.front().frameCount; ++frame)
    {
        read_pose(rig, frame_of(asset, frame), state.get());
        way.push_back(node_position(rig.character.get(), state.get(), LBXNodeHips));
    }
    return way;
}

// A clip may open with a stance far from where its motion begins.
size_t first_frame(const std::vector<Vec3d>& way, double frames_per_second)
{
    return way.size() > 2 && length(way[1] - way[0]) * frames_per_second > kJump_mps ? 1 : 0;
}

Vec3d front_of_body(const MeasuredRig& rig, const Asset& asset)
{
    const StateOwner state = make_state(rig);
    read_pose(rig, frame_of(asset, 0), state.get());
    float t[4], q[4];
    LBXDebugGetStoredNodeTQ(rig.character.get(), state.get(), LBXNodeHips, t, q);
    const Vec3d front = level(rotate(normalized(to_quatd({q[0], q[1], q[2], q[3]})), {0.0, 0.0, 1.0}));
    return length(front) > 0.1 ? normalized(front) : Vec3d{0.0, 0.0, 1.0};
}

}  // namespace

double Ground::height(Vec3d place) const
{
    const double ahead = dot(level(place - edge), heading);
    if (shape == GroundShape::Flat || ahead < 0.0) { return edge.y; }
    if (shape == GroundShape::Ramp) { return edge.y + ahead * std::tan(kRamp_rad); }
    return edge.y + kStepHeight_m * (std::floor(ahead / kStepDepth_m) + 1.0);
}

Vec3d Ground::normal(Vec3d place) const
{
    if (shape != GroundShape::Ramp || dot(level(place - edge), heading) < 0.0) { return {0.0, 1.0, 0.0}; }
    return Vec3d{0.0, std::cos(kRamp_rad), 0.0} - heading * std::sin(kRamp_rad);
}

Ground lay_ground(const MeasuredRig& rig, const Asset& asset, GroundShape shape, double level_m)
{
    const std::vector<Vec3d> way = hips_way(rig, asset);
    const Vec3d start = way[first_frame(way, asset.clips.front().framesPerSecond)];
    Vec3d travel;
    for (const Vec3d& place : way)
    {
        const Vec3d from_start = level(place - start);
        if (length(from_start) > length(travel) && &place != &way.front()) { travel = from_start; }
    }
    Ground ground;
    ground.shape = shape;
    ground.heading = length(travel) > kTravels_m ? normalized(travel) : front_of_body(rig, asset);
    ground.edge = level(start) + ground.heading * kFlatBefore_m;
    ground.edge.y = level_m;
    return ground;
}

bool measure_ground(const MeasuredRig& rig, const nlohmann::json& source, const Asset& asset, const Ground& ground, GroundMeasurement& out,
                    std::string& error)
{
    if (!used(rig, LBXNodeLeftFoot) || !used(rig, LBXNodeRightFoot)) { return error = "the rig has no feet to stand on", false; }
    const PropertySetOwner properties = floor_properties(source);
    const EffectorSetOwner goals(LBXEffectorSetCreate(std::malloc));
    const StateOwner state = make_state(rig);
    const Clip& clip = asset.clips.front();
    out.ground = ground;
    out.framesPerSecond = clip.framesPerSecond;
    out.firstFrame = first_frame(hips_way(rig, asset), clip.framesPerSecond);
    std::vector<FeetPose> animated, solved;
    for (size_t frame = out.firstFrame; frame < clip.frameCount; ++frame)
    {
        read_pose(rig, frame_of(asset, frame), state.get());
        animated.push_back(feet_pose(rig, state.get(), properties.get()));
        solve_over(rig, ground, animated.back(), goals.get(), state.get(), properties.get());
        solved.push_back(feet_pose(rig, state.get(), properties.get()));
    }
    const std::vector<bool> planted[2] = {planted_frames(animated, 0, clip.framesPerSecond),
                                          planted_frames(animated, 1, clip.framesPerSecond)};
    for (size_t side = 0; side < 2; ++side)
    {
        out.plantedFrames[side] = static_cast<size_t>(std::count(planted[side].begin(), planted[side].end(), true));
    }
    out.before = footing(animated, planted, ground, clip.framesPerSecond);
    out.after = footing(solved, planted, ground, clip.framesPerSecond);
    return true;
}

FootingNumbers summarize(const FootingCurve& curve)
{
    FootingNumbers numbers;
    numbers.penetrationMean_mm = mean_of(curve.penetration_mm);
    numbers.penetrationP95_mm = percentile(curve.penetration_mm, 0.95);
    numbers.penetrationMax_mm = percentile(curve.penetration_mm, 1.0);
    numbers.deepShare = curve.penetration_mm.empty() ? 0.0 : 1.0 - share_of(curve.penetration_mm, kDeepFrame_mm);
    numbers.skateMean_mmps = mean_of(curve.stepSkate_mmps);
    numbers.skateP95_mmps = percentile(curve.stepSkate_mmps, 0.95);
    numbers.skateMax_mmps = percentile(curve.stepSkate_mmps, 1.0);
    numbers.gapMean_mm = mean_of(curve.gap_mm);
    return numbers;
}

}  // namespace limbrex_tools
