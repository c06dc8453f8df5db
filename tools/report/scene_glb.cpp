#include "tools/report/scene_glb.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "tools/report/body_figure.h"
#include "tools/report/gltf_model.h"
#include "tools/report/run_view.h"
#include "tools/report/scene_lines.h"
#include "tools/report/scenery.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::ColliderRecording;
using limbrex_host::Quatd;
using limbrex_host::Recording;
using limbrex_host::RigidPose;
using limbrex_host::Vec3d;

constexpr double kQuarterTurn_rad = 3.14159265358979323846 / 2.0;
constexpr double kShapeThickness = 1.6;  // bone shapes are pointed, so they may be wider than the limbs they stand for
constexpr double kHeadShare = 0.045;
constexpr double kTargetShare = 0.02;
constexpr double kBesideShare = 0.75;  // sideways place of the animated figure in body heights
constexpr float kHidden = 1e-4f;       // scale of what is not there; zero would be no transform at all
constexpr double kStill = 1e-6;

// One scene file in the making.
struct Stage
{
    GltfModel model{"limbrex"};
    size_t frameCount = 0;
    int scene = -1;
    int times = -1;
    int animation = -1;
    int bones[3] = {-1, -1, -1};  // mesh per side
    int headSolved = -1;
    int boneAnimated = -1;
    int headAnimated = -1;
    int target = -1;
};

using Sampler3 = std::function<Vec3d(size_t frame)>;
using SamplerQ = std::function<Quatd(size_t frame)>;

template <size_t N>
void append(std::vector<float>& values, const std::array<float, N>& more)
{
    values.insert(values.end(), more.begin(), more.end());
}

// Keys for every frame, or none when nothing moves.
void animate_vector(Stage& stage, int node, GltfPath path, const Sampler3& at)
{
    std::vector<float> values;
    double travel = 0.0;
    for (size_t frame = 0; frame < stage.frameCount; ++frame)
    {
        append(values, to_floats(at(frame)));
        travel = std::max(travel, length(at(frame) - at(0)));
    }
    if (travel > kStill) { stage.model.add_track(stage.animation, node, path, stage.times, values); }
}

void animate_rotation(Stage& stage, int node, const SamplerQ& at)
{
    std::vector<float> values;
    double turn = 0.0;
    Quatd last = at(0);
    for (size_t frame = 0; frame < stage.frameCount; ++frame)
    {
        Quatd q = at(frame);
        turn = std::max(turn, angle_between(at(0), q));
        if (dot(q, last) < 0.0) { q = -q; }  // viewers blend between keys; both signs are one rotation
        last = q;
        append(values, to_floats(q));
    }
    if (turn > kStill) { stage.model.add_track(stage.animation, node, GltfPath::Rotation, stage.times, values); }
}

void animate_pose(Stage& stage, int node, const std::function<RigidPose(size_t)>& at)
{
    animate_vector(stage, node, GltfPath::Translation, [&at](size_t frame) { return at(frame).position; });
    animate_rotation(stage, node, [&at](size_t frame) { return at(frame).rotation; });
}

void animate_presence(Stage& stage, int node, const std::function<bool(size_t)>& there)
{
    const auto scale = [&there](size_t frame)
    {
        const double s = there(frame) ? 1.0 : static_cast<double>(kHidden);
        return Vec3d{s, s, s};
    };
    animate_vector(stage, node, GltfPath::Scale, scale);
}

int add_group(Stage& stage, const std::string& name, Vec3d place = {})
{
    GltfNode node;
    node.name = name;
    node.parent = stage.scene;
    node.translation = to_floats(place);
    return stage.model.add_node(node);
}

RigidPose joint_local(const RunView& run, const RigidPose* world, size_t joint)
{
    const int32_t parent = run.skeleton().joints[joint].parent;
    return parent < 0 ? world[joint] : inverse(world[static_cast<size_t>(parent)]) * world[joint];
}

// The turn that takes +y, along which bone shapes point, to a direction.
Quatd turn_from_up(Vec3d direction)
{
    const Vec3d to = normalized(direction);
    const Quatd arc = normalized(Quatd{to.z, 0.0, -to.x, 1.0 + to.y});
    return 1.0 + to.y < 1e-9 ? Quatd{1.0, 0.0, 0.0, 0.0} : arc;
}

// A bone hangs from its parent joint and points to where the child is at the first frame.
void add_bone_shape(Stage& stage, const RunView& run, const FigureBone& bone, const std::vector<RigidPose>& poses, int joint_node, int mesh)
{
    const RigidPose local = joint_local(run, poses.data(), bone.to);
    const double thick = bone.radiusFrom * kShapeThickness;
    GltfNode node;
    node.name = run.skeleton().joints[bone.to].name + " bone";
    node.parent = joint_node;
    node.rotation = to_floats(turn_from_up(local.position));
    node.scale = to_floats(Vec3d{thick, std::max(length(local.position), 1e-4), thick});
    node.mesh = mesh;
    stage.model.add_node(node);
}

void add_head_shape(Stage& stage, const RunView& run, const BodyFigure& figure, const std::vector<RigidPose>& poses, int joint_node,
                    int mesh)
{
    const double radius = kHeadShare * figure.height;
    GltfNode node;
    node.name = "head";
    node.parent = joint_node;
    if (figure.headTip >= 0)
    {
        node.translation = to_floats(joint_local(run, poses.data(), static_cast<size_t>(figure.headTip)).position * 0.5);
    }
    node.scale = to_floats(Vec3d{radius, radius, radius});
    node.mesh = mesh;
    stage.model.add_node(node);
}

// The joints as a tree of animated nodes with their shapes.
void add_figure(Stage& stage, const RunView& run, const BodyFigure& figure, const std::vector<RigidPose>& poses, int group, bool solved)
{
    std::vector<int> nodes;
    for (size_t j = 0; j < run.joint_count(); ++j)
    {
        const limbrex_host::Joint& joint = run.skeleton().joints[j];
        const auto local = [&](size_t frame) { return joint_local(run, poses.data() + frame * run.joint_count(), j); };
        GltfNode node;
        node.name = solved ? joint.name : joint.name + " animated";
        node.parent = joint.parent < 0 ? group : nodes[static_cast<size_t>(joint.parent)];
        node.translation = to_floats(local(0).position);
        node.rotation = to_floats(local(0).rotation);
        nodes.push_back(stage.model.add_node(node));
        animate_pose(stage, nodes.back(), local);
    }
    for (const FigureBone& bone : figure.bones)
    {
        const int mesh = solved ? stage.bones[static_cast<size_t>(bone.side)] : stage.boneAnimated;
        add_bone_shape(stage, run, bone, poses, nodes[bone.from], mesh);
    }
    if (figure.head >= 0)
    {
        add_head_shape(stage, run, figure, poses, nodes[static_cast<size_t>(figure.head)], solved ? stage.headSolved : stage.headAnimated);
    }
    animate_presence(stage, group, [&run](size_t frame) { return run.present(frame); });
}

// To the figure's own left at the first frame, so that both are seen from the front and neither hides the other.
Vec3d place_beside(const RunView& run, const BodyFigure& figure)
{
    Vec3d across{0.0, 1.0, 0.0};
    Vec3d left;
    Vec3d right;
    for (size_t j = 0; j < run.joint_count(); ++j)
    {
        if (figure.sides[j] == Side::Left) { left = left + run.animated[j].position; }
        if (figure.sides[j] == Side::Right) { right = right + run.animated[j].position; }
    }
    const Vec3d level{left.x - right.x, left.y - right.y, 0.0};
    if (length(level) > 1e-3 && length(level) < 1e3) { across = normalized(level); }
    return across * (kBesideShare * figure.height);
}

void add_targets(Stage& stage, const RunView& run, double height, int group)
{
    const double radius = kTargetShare * height;
    for (const GoalView& goal : run.goals)
    {
        const auto first = std::find_if(goal.points.begin(), goal.points.end(), [](const GoalPoint& point) { return point.active; });
        if (first == goal.points.end()) { continue; }
        // Outside its active frames a target waits, shrunk to nothing, at its nearest place in time.
        std::vector<Vec3d> places;
        Vec3d last = first->target_world;
        for (const GoalPoint& point : goal.points) { places.push_back(last = point.active ? point.target_world : last); }
        GltfNode node;
        node.name = goal.name;
        node.parent = group;
        node.translation = to_floats(places[0]);
        const int place = stage.model.add_node(node);
        animate_vector(stage, place, GltfPath::Translation, [&places](size_t frame) { return places[frame]; });
        animate_presence(stage, place, [&goal](size_t frame) { return goal.points[frame].active; });
        GltfNode ball;
        ball.name = goal.name + " mark";
        ball.parent = place;
        ball.scale = to_floats(Vec3d{radius, radius, radius});
        ball.mesh = stage.target;
        stage.model.add_node(ball);
    }
}

bool finite(const std::array<float, 3>& v) { return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]); }

bool finite_pose(const limbrex_host::NodePose& pose)
{
    const Quatd rotation = limbrex_host::to_quatd(pose.rotation);
    return finite(pose.position) && finite(pose.scale) && std::isfinite(dot(rotation, rotation));
}

void add_markers(Stage& stage, const Recording& recording)
{
    int group = -1;
    for (const limbrex_host::MarkerRecording& marker : recording.markers)
    {
        const auto& places = marker.positions_world;
        const bool usable = std::isfinite(marker.size_m) && places.size() == stage.frameCount &&
                            std::all_of(places.begin(), places.end(), finite) && marker.size_m > 0.0f;
        if (!usable) { continue; }
        if (group < 0) { group = add_group(stage, "markers"); }
        const int material = stage.model.add_material(marker.name, rgb(marker.colour_argb & 0xffffffu));
        GltfNode node;
        node.name = marker.name;
        node.parent = group;
        node.translation = places[0];
        node.scale = {marker.size_m * 0.5f, marker.size_m * 0.5f, marker.size_m * 0.5f};
        node.mesh = stage.model.add_mesh(marker.name, ball_shape(), material);
        const int index = stage.model.add_node(node);
        animate_vector(stage, index, GltfPath::Translation, [&places](size_t frame) { return limbrex_host::to_vec3d(places[frame]); });
    }
}

TriangleMesh collider_mesh(const ColliderRecording& collider)
{
    TriangleMesh mesh;
    for (const Facet& facet : facets_of(collider))
    {
        for (const Vec3d& corner : facet.corners)
        {
            mesh.indices.push_back(static_cast<uint32_t>(mesh.positions.size() / 3));
            append(mesh.positions, to_floats(corner));
            append(mesh.normals, to_floats(facet.normal));
        }
    }
    return mesh;
}

void add_colliders(Stage& stage, const Recording& recording)
{
    int group = -1;
    int material = -1;
    for (const ColliderRecording& collider : recording.colliders)
    {
        const TriangleMesh mesh = collider_mesh(collider);
        const size_t poses = collider.poses_world.size();
        const bool placed = std::all_of(collider.poses_world.begin(), collider.poses_world.end(), finite_pose);
        if (mesh.indices.empty() || !placed || (poses != 1 && poses != stage.frameCount)) { continue; }
        if (group < 0)
        {
            group = add_group(stage, "colliders");
            material = stage.model.add_material("collider", rgb(0xC9C3B4));
        }
        const auto at = [&](size_t frame) -> RigidPose
        {
            const limbrex_host::NodePose& pose = collider.poses_world[poses == 1 ? 0 : frame];
            return {limbrex_host::to_vec3d(pose.position), normalized(limbrex_host::to_quatd(pose.rotation))};
        };
        GltfNode node;
        node.name = collider.name;
        node.parent = group;
        node.translation = to_floats(at(0).position);
        node.rotation = to_floats(at(0).rotation);
        node.scale = collider.poses_world[0].scale;
        node.mesh = stage.model.add_mesh(collider.name, mesh, material);
        if (poses == 1) { stage.model.add_node(node); }
        else { animate_pose(stage, stage.model.add_node(node), at); }
    }
}

// A square of ground under all that moves, unless the scene brings a plane of its own.
void add_ground(Stage& stage, const Recording& recording, const std::vector<RunView>& runs)
{
    const auto is_plane = [](const ColliderRecording& collider) { return collider.plane && !collider.triangles.empty(); };
    if (std::any_of(recording.colliders.begin(), recording.colliders.end(), is_plane)) { return; }
    Vec3d low{-1.0, -1.0, 0.0};
    Vec3d high{1.0, 1.0, 0.0};
    for (const RunView& run : runs)
    {
        for (const RigidPose& pose : run.solved)
        {
            low = {std::min(low.x, pose.position.x), std::min(low.y, pose.position.y), 0.0};
            high = {std::max(high.x, pose.position.x), std::max(high.y, pose.position.y), 0.0};
        }
    }
    const double side = std::max(high.x - low.x, high.y - low.y) + 3.0;
    GltfNode node;
    node.name = "ground";
    node.parent = stage.scene;
    node.translation = to_floats((low + high) * 0.5 - Vec3d{0.0, 0.0, 0.002});  // a little under the soles
    node.scale = to_floats(Vec3d{side, side, 1.0});
    node.mesh = stage.model.add_mesh("ground", plane_shape(), stage.model.add_material("ground", rgb(0xE7E6E0)));
    stage.model.add_node(node);
}

void prepare(Stage& stage, const Recording& recording)
{
    stage.frameCount = recording.frameCount;
    std::vector<float> times_s;
    for (size_t frame = 0; frame < stage.frameCount; ++frame)
    {
        times_s.push_back(static_cast<float>(static_cast<double>(frame) / recording.framesPerSecond));
    }
    stage.times = stage.model.add_times(times_s);
    stage.animation = stage.model.add_animation("run");
    GltfNode scene;
    scene.name = "scene";
    scene.rotation = to_floats(limbrex_host::axis_angle({1.0, 0.0, 0.0}, -kQuarterTurn_rad));
    stage.scene = stage.model.add_node(scene);
    const std::pair<const char*, Color> sides[] = {{"centre", kCentre}, {"left", kLeft}, {"right", kRight}};
    for (size_t side = 0; side < 3; ++side)
    {
        stage.bones[side] = stage.model.add_mesh(std::string("bone ") + sides[side].first, bone_shape(),
                                                 stage.model.add_material(sides[side].first, sides[side].second));
    }
    stage.headSolved = stage.model.add_mesh("head", ball_shape(), stage.model.add_material("head", kCentre));
    const int grey = stage.model.add_material("animated", kAnimated);
    stage.boneAnimated = stage.model.add_mesh("bone animated", bone_shape(), grey);
    stage.headAnimated = stage.model.add_mesh("head animated", ball_shape(), grey);
    stage.target = stage.model.add_mesh("target", ball_shape(), stage.model.add_material("target", kTarget));
}

}  // namespace

bool write_scene_glb(const std::string& path, const Recording& recording, std::string& error)
{
    std::vector<RunView> runs;
    if (!make_run_views(recording, runs, error)) { return false; }
    if (runs.empty())
    {
        error = path + ": the recording has no unit with a skeleton";
        return false;
    }
    Stage stage;
    prepare(stage, recording);
    int targets = -1;
    for (const RunView& run : runs)
    {
        const BodyFigure figure = make_figure(run.skeleton());
        add_figure(stage, run, figure, run.solved, add_group(stage, run.unit->name + " solved"), true);
        const int beside = add_group(stage, run.unit->name + " animated", place_beside(run, figure));
        add_figure(stage, run, figure, run.animated, beside, false);
        if (!run.goals.empty() && targets < 0) { targets = add_group(stage, "targets"); }
        add_targets(stage, run, figure.height, targets);
    }
    add_markers(stage, recording);
    add_colliders(stage, recording);
    add_ground(stage, recording, runs);
    add_scene_lines(stage.model, stage.scene, stage.animation, recording);
    return stage.model.save_glb(path, error);
}

}  // namespace limbrex_tools
