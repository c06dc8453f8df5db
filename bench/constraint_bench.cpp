// Updates of one character through the plugin's exported symbol, as an engine asks for them: what each constraint adds to the update of a
// character without any, and a frame as games have them. Only the plugin's callback is timed; rays meet a plane and cost next to nothing.
#include "bench/constraint_bench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "bench/bench_body.h"
#include "host/engine.h"
#include "host/murmur.h"
#include "host/services.h"
#include "resources/compiled_character.h"

namespace limbrex_bench
{
namespace
{

using namespace limbrex_host;

constexpr int kRepetitions = 4;
constexpr size_t kFrames = 3 * kMoments;  // about six seconds
constexpr size_t kGoes = 12;              // the same frames again; each counts at its fastest
constexpr float kStep_s = 1.0f / 30.0f;
constexpr const char* kRigName = "bench rig";

// The ground: a slope of 7 degrees through a point a little above the animated soles.
int plane_ray(World* /*world*/, const float origin[3], const float direction[3], float length, const void* /*filter*/, float position[3],
              float normal[3])
{
    constexpr float kNormal[] = {0.0f, 0.1219f, 0.9925f};
    constexpr float kPoint[] = {0.0f, 0.0f, 0.03f};
    float height = 0.0f, slope = 0.0f;
    for (int axis = 0; axis < 3; ++axis)
    {
        height += kNormal[axis] * (origin[axis] - kPoint[axis]);
        slope += kNormal[axis] * direction[axis];
    }
    if (height < 0.0f || height > -slope * length) { return 0; }
    for (int axis = 0; axis < 3; ++axis)
    {
        position[axis] = origin[axis] - height / slope * direction[axis];
        normal[axis] = kNormal[axis];
    }
    return 1;
}

std::string node_name(int node) { return "node " + std::to_string(node); }

// Mappings and stances, nothing else: every parent is the node's template parent.
std::string compiled_rig(const limbrex_test::Rig& rig)
{
    const auto count = static_cast<uint32_t>(rig.nodes.size());
    CompiledCharacter header{};
    header.magic = kCompiledCharacterMagic;
    header.version = kCompiledCharacterVersion;
    header.mappingOffset = sizeof(CompiledCharacter);
    header.mappingCount = header.stanceCount = count;
    header.stanceOffset = header.mappingOffset + count * static_cast<uint32_t>(sizeof(MappingRecord));
    header.parentOffsetOffset = header.limitOffset = header.stanceOffset + count * static_cast<uint32_t>(sizeof(StanceRecord));
    header.foot = {0, 0.09f, 0.06f, 0.125f, 0.08f, 0.04f, 0.05f};
    header.hand = {0, 0.02f, 0.02f, 0.08f, 0.1f, 0.04f, 0.04f};
    std::strncpy(header.unitName, kRigName, sizeof header.unitName - 1);

    std::string bytes;
    const auto append = [&bytes](const auto& record) { bytes.append(reinterpret_cast<const char*>(&record), sizeof record); };
    append(header);
    for (const int node : rig.nodes) { append(MappingRecord{node, node_name_hash(node_name(node))}); }
    for (const int node : rig.nodes)
    {
        const limbrex_test::RigJoint& joint = rig.stance[static_cast<size_t>(node)];
        append(StanceRecord{{joint.t[0], joint.t[1], joint.t[2], 1.0f},
                            {joint.q[0], joint.q[1], joint.q[2], joint.q[3]},
                            {joint.s[0], joint.s[1], joint.s[2], 1.0f}});
    }
    return bytes;
}

LocalPose local_pose(const NodeRecord& record)
{
    NodePose pose;
    std::copy_n(record.t, 3, pose.position.begin());
    std::copy_n(record.q, 4, pose.rotation.begin());
    return local_pose_from(pose);
}

// The engine with one world, the animated character and a thing to hold on to.
class Playground
{
public:
    explicit Playground(const Body& body)
    {
        std::string error;
        EngineOptions options;
        options.plugin = LIMBREX_PLUGIN_PATH;
        engine_.log.echo(LogLevel::Warning);
        sound_ = engine_.start(options, error);
        if (sound_)
        {
            static_cast<HostRayCastService*>(host_service(kHostRayCastServiceId))->cast = plane_ray;
            sound_ = engine_.resources.load_compiled("character", kRigName, compiled_rig(body.rig), kRigName, error);
        }
        if (!sound_)
        {
            std::fprintf(stderr, "constraint rows: %s\n", error.c_str());
            return;
        }
        world_ = &engine_.add_world("bench");
        spawn(body);
        HostNodeTree thing;
        add_node(thing, "thing", -1, local_pose_from({}));
        thing_ = engine_.spawn(*world_, "thing", "thing", std::move(thing), {0.4f, -0.4f, 1.2f}, 0.0f).referenceId;
        std::vector<ScriptValue> results;
        engine_.script.call_registered("Limbrex.enable", {script_value(true)}, results);
        call("character_declare_context", {script_value(std::string(kRigName))});
    }

    bool sound() const { return sound_; }
    uint32_t thing() const { return thing_; }
    int32_t node_index(int node) const { return unit_->tree.find(node_name(node)) + 1; }  // as scripts count

    int call(const std::string& function, std::vector<ScriptValue> arguments)
    {
        arguments.insert(arguments.begin(), script_unit(unit_->referenceId));
        std::vector<ScriptValue> results;
        engine_.script.call_registered("Limbrex." + function, std::move(arguments), results);
        return results.size() == 1 ? static_cast<int>(results[0].number) : 0;
    }

    // The plugin's time for one frame.
    double frame_us(size_t moment)
    {
        std::copy(poses_[moment].begin(), poses_[moment].end(), unit_->tree.locals.begin() + kFirstNode);
        for (uint32_t node = kFirstNode; node < unit_->tree.node_count(); ++node) { mark_changed(unit_->tree, node); }
        return engine_.update(*world_, kStep_s).callback_us;
    }

private:
    static constexpr uint32_t kFirstNode = 2;  // after the unit and the node that turns y up into z up

    void spawn(const Body& body)
    {
        HostNodeTree tree;
        NodePose z_up;
        z_up.rotation = {0.70710678f, 0.0f, 0.0f, 0.70710678f};
        add_node(tree, "unit", -1, local_pose_from({}));
        add_node(tree, "z up", 0, local_pose_from(z_up));
        std::vector<int> order{LBXNodeReference};
        for (size_t done = 0; done < order.size(); ++done)
        {
            for (const int node : body.rig.nodes)
            {
                if (node != LBXNodeReference && LBXGetParentNodeId(body.rig.character, node) == order[done]) { order.push_back(node); }
            }
        }
        std::vector<size_t> places;  // in the records
        for (const int node : order)
        {
            places.push_back(static_cast<size_t>(std::find(body.rig.nodes.begin(), body.rig.nodes.end(), node) - body.rig.nodes.begin()));
            const int parent = node == LBXNodeReference ? 1 : tree.find(node_name(LBXGetParentNodeId(body.rig.character, node)));
            add_node(tree, node_name(node), parent, local_pose(body.locals[0][places.back()]));
        }
        for (const std::vector<NodeRecord>& records : body.locals)
        {
            poses_.emplace_back();
            for (const size_t place : places) { poses_.back().push_back(local_pose(records[place])); }
        }
        unit_ = &engine_.spawn(*world_, "character", "nothing", std::move(tree), {0.0f, 0.0f, 0.0f}, 0.0f);
    }

    HostEngine engine_;
    HostWorld* world_ = nullptr;
    HostUnit* unit_ = nullptr;
    uint32_t thing_ = 0;
    std::vector<std::vector<LocalPose>> poses_;  // per moment, in the tree's order
    bool sound_ = false;
};

// An argument as the table below writes it.
struct Argument : ScriptValue
{
    Argument(bool flag) : ScriptValue(script_value(flag)) {}
    Argument(int integer) : ScriptValue(script_value(integer)) {}
    Argument(double real) : ScriptValue(script_value(real)) {}
    Argument(const char* words) : ScriptValue(script_value(std::string(words))) {}
    Argument(const ScriptValue& value) : ScriptValue(value) {}
};
struct Push
{
    const char* kind;                 // "character_push_" goes before it
    std::vector<Argument> arguments;  // after the unit
};
struct Case
{
    const char* name;
    std::vector<Push> pushes;
};

// Reaches lie beyond the arms, so that the body follows.
std::vector<Case> cases(const Playground& ground)
{
    const ScriptValue hand = script_vector({0.3f, -0.6f, 1.5f});
    const ScriptValue other = script_vector({-0.3f, -0.6f, 1.5f});
    const ScriptValue aside = script_vector({1.0f, -2.0f, 1.5f});
    ScriptValue nobody;
    nobody.kind = ScriptValue::Kind::Nil;
    const int carried = ground.node_index(LBXNodeLeftHand);
    const Push reach = {"reach_position", {LBXEffectorLeftWrist, hand, true, 1.0, 0.0, 1}};
    const Push pull = {"pull", {LBXEffectorLeftWrist, 1.0, 0.0, 2}};
    const Push look = {"look_at", {nobody, 0, aside, true, false, 0.25, 720.0, true, 70.0, 30.0, 1.0, 0.0, 3}};
    const Push plant = {"plant", {true, false, 4, 1, 1.0, 1.5, true, 2.0, 0.0, 1.0, 1.0}};
    const auto aim = [&](bool both_hands, bool in_place) -> Push {
        return {"aim", {LBXEffectorLeftWrist, 0.2, 0.3, 0.3, 0.5, carried, both_hands, nobody, 0, aside, true, 0.0, in_place, 1.0, 0.0, 1}};
    };
    const auto fingers = [](bool left, int id) -> Push {
        return {"fingers_control", {true, left, 0.5, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 0.0, id}};
    };
    std::vector<Argument> arms_only(12, Argument(false));
    arms_only[0] = arms_only[1] = arms_only[4] = arms_only[5] = Argument(true);
    return {
        {"reach position", {reach}},
        {"reach position and pull", {reach, pull}},
        {"reach orientation", {{"reach_orientation", {LBXEffectorLeftWrist, script_vector({20.0f, 0.0f, 0.0f}), true, 1.0, 0.0, 1}}}},
        {"offset position, hips", {{"offset_position", {LBXEffectorHips, script_vector({0.0f, 0.0f, -0.1f}), true, 1.0, 0.0, 1}}}},
        {"offset rotation, chest",
         {{"offset_rotation", {LBXEffectorChestEnd, script_vector({0.0f, 0.0f, 1.0f}), 20.0, true, 1.0, 0.0, 1}}}},
        {"pin, foot", {{"pin", {LBXEffectorLeftAnkle, 1, 1.0, 0.0, 1}}}},
        {"relative pin, hand", {{"relative_pin", {LBXEffectorLeftWrist, script_unit(ground.thing()), 0, 1.0, 1.0, 1.0, 1.0, 0.0, 1}}}},
        {"pull, hand", {pull}},
        {"resist, hips", {{"resist", {LBXEffectorHips, 1.0, 0.0, 1}}}},
        {"look at", {look}},
        {"aim, one hand", {aim(false, false)}},
        {"aim, one hand, solved in place", {aim(false, true)}},
        {"aim, two hands", {aim(true, false)}},
        {"plant, feet", {plant}},
        {"plant, feet and hands", {{"plant", {true, true, 4, 1, 1.0, 1.5, true, 2.0, 0.0, 1.0, 1.0}}}},
        {"floor contact, feet", {{"floor", {true, false, 1, 0.0, 1, 1.0, 1.5}}}},
        {"floor contact, feet, five rays each", {{"floor", {true, false, 1, 0.0, 5, 1.0, 1.5}}}},
        {"floor contact, feet and hands", {{"floor", {true, true, 1, 0.0, 1, 1.0, 1.5}}}},
        {"property", {{"property_value", {LBXPropertyShoulderCorrection, 1.0}}}},
        {"level of detail: low", {{"lod", {false, true}}}},
        {"partial solving: arms alone", {{"partial_solving", arms_only}}},
        {"inverted limb", {{"invert", {"Left Leg"}}}},
        {"solve in the middle", {{"solve", {}}}},
        {"fingers control, one hand", {fingers(true, 1)}},
        {"fingers control, both hands", {fingers(true, 1), {"solve", {}}, fingers(false, 2)}},
        {"test biped", {{"test_biped", {1.0, 0.0, 1}}}},
        {"plant + look at + two reaches, whole frame",
         {plant,
          look,
          reach,
          pull,
          {"reach_position", {LBXEffectorRightWrist, other, true, 1.0, 0.0, 5}},
          {"pull", {LBXEffectorRightWrist, 1.0, 0.0, 6}}}},
    };
}

// Those of the table's row; none for "".
std::vector<Push> pushes_of_case(const Playground& ground, const char* name)
{
    for (Case& each : cases(ground))
    {
        if (std::strcmp(each.name, name) == 0) { return std::move(each.pushes); }
    }
    return {};
}

// Mean time of the plugin for the frames after these pushes. An engine of its own each time: some constraints leave something behind.
double update_us(const Body& body, const char* name)
{
    Playground ground(body);
    if (!ground.sound()) { return 0.0; }
    const std::vector<Push> pushes = pushes_of_case(ground, name);
    std::vector<double> fastest(kFrames, std::numeric_limits<double>::max());
    for (size_t go = 0; go < kGoes; ++go)
    {
        ground.call("character_pop_all", {});
        for (const Push& push : pushes)
        {
            ground.call(std::string("character_push_") + push.kind, std::vector<ScriptValue>(push.arguments.begin(), push.arguments.end()));
        }
        if (ground.call("character_num_constraints", {}) != static_cast<int>(pushes.size()))
        {
            std::fprintf(stderr, "constraint rows: \"%s\" is not pushed\n", name);
            return 0.0;
        }
        for (size_t frame = 0; frame < kFrames; ++frame) { fastest[frame] = std::min(fastest[frame], ground.frame_us(frame % kMoments)); }
    }
    return std::accumulate(fastest.begin(), fastest.end(), 0.0) / static_cast<double>(kFrames);
}

}  // namespace

void add_constraint_rows(const Body& body)
{
    std::vector<std::string> names{""};
    {
        const Playground ground(body);
        if (!ground.sound()) { return; }
        for (const Case& each : cases(ground)) { names.emplace_back(each.name); }
    }
    for (const std::string& name : names)
    {
        const bool whole = name.empty() || name == names.back();
        const std::string title = name.empty() ? "update, nothing pushed" : whole ? name : "added by " + name;
        benchmark::RegisterBenchmark((title + "/" + std::to_string(body.node_count())).c_str(),
                                     [&body, name, whole](benchmark::State& bench)
                                     {
                                         for (auto iteration : bench)
                                         {
                                             static_cast<void>(iteration);
                                             const double without_us = whole ? 0.0 : update_us(body, "");
                                             bench.SetIterationTime((update_us(body, name.c_str()) - without_us) * 1e-6);
                                         }
                                     })
            ->Unit(benchmark::kMicrosecond)
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(kRepetitions);
    }
}

}  // namespace limbrex_bench
