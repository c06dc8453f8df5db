// The smallest engine that can load the plugin: worlds of units with node trees, resources as blocks of bytes, an allocator that counts and
// can be told to fail, a log that is kept, and script calls with plain values. Everything reaches the plugin through its one symbol.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "plugin/limbrex_plugin.h"

namespace test_engine
{

using Vec3 = std::array<float, 3>;
using Quat4 = std::array<float, 4>;  // x, y, z, w

uint64_t name_key(const std::string& name);
inline uint32_t node_hash(const std::string& name) { return static_cast<uint32_t>(name_key(name) >> 32); }

struct NodeSpec
{
    std::string name;
    int parent;  // place in the list, -1 for the root
    Vec3 offset;
};

// A unit's nodes as the plugin sees them. World poses follow from local poses by propagate().
struct EngineUnit
{
    std::vector<int> parents;
    std::vector<LocalPose> localPoses;
    std::vector<float> worldPoses;
    std::vector<uint32_t> nameHashes;
    std::vector<uint32_t> changedWords;
    ChangedFlags changedFlags;
    uint64_t resourceName;
    uint32_t referenceId;
    bool hasBody = true;  // a physics actor; the unit's address is its filter
    struct EngineWorld* world;

    void place(const Vec3& position, const Quat4& rotation);  // the root node's local pose
    void propagate();
    bool changed(size_t bit) const { return (changedWords[bit / 32] >> (bit % 32) & 1u) != 0; }
    void clearChanged() { changedWords.assign(changedWords.size(), 0); }
};

struct EngineWorld
{
    WorldUpdateFunction update = nullptr;
};

// A ray as the plugin casts it, and what it hits.
struct Ray
{
    const EngineWorld* world;
    Vec3 origin, direction;
    float length;
    const EngineUnit* filtered;  // the unit whose filter came with the ray
};
struct RayHit
{
    Vec3 position, normal;
};
using Ground = std::function<bool(const Ray& ray, RayHit& hit)>;

struct DrawnLine
{
    uint32_t colour;
    Vec3 start, end;
};

struct Nil
{};
// An argument or a result. Numbers are doubles on the way in; results keep the type that they were pushed as.
using Value = std::variant<Nil, double, int, bool, std::string, Vec3, Quat4, EngineUnit*>;

// What an engine may lack.
enum class Lacking
{
    Nothing,
    RaysAndLines
};

class Engine
{
public:
    explicit Engine(Lacking lacking = Lacking::Nothing);
    ~Engine();  // ends gameplay; a block still allocated then fails the test
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    const PluginHookTable& hooks() const { return *hooks_; }
    EngineWorld& addWorld();
    void addResource(const std::string& name, std::vector<uint8_t> bytes);
    EngineUnit& spawn(EngineWorld& world, const std::vector<NodeSpec>& nodes, const std::string& resource_name = "no rig of its own");
    void deleteUnit(EngineUnit& unit);

    // Propagates every unit's pose, then runs the plugin's update of the world. Changed flags are cleared before.
    void update(EngineWorld& world, float step_s = 1.0f / 30.0f);

    std::vector<Value> call(const std::string& function, std::initializer_list<Value> arguments);
    // One expected result of a type.
    template <class T>
    T ask(const std::string& function, std::initializer_list<Value> arguments)
    {
        const std::vector<Value> results = call(function, arguments);
        const T* value = results.size() == 1 ? std::get_if<T>(&results[0]) : nullptr;
        return value ? *value : T();
    }
    bool offers(const std::string& function) const { return functions_.count(function) != 0; }
    const std::vector<std::string>& functionNames() const { return functionNames_; }

    // Answers the plugin's rays; none: nothing is hit. Every ray since the last update is kept.
    void setGround(Ground ground) { ground_ = std::move(ground); }
    const std::vector<Ray>& rays() const { return rays_; }
    // The lines recorded since the last call.
    std::vector<DrawnLine> render(EngineWorld& world);

    // "level: text" lines since the last call.
    std::vector<std::string> takeLog();

    size_t allocations() const { return allocations_; }
    size_t liveBlocks() const { return blocks_.size(); }
    // The allocation after `after` more successful ones fails, and every later one; SIZE_MAX ends that.
    void failAllocations(size_t after) { allocationsLeft_ = after; }

private:
    friend struct Services;
    void* library_ = nullptr;
    PluginHookTable* hooks_ = nullptr;
    std::vector<std::unique_ptr<EngineWorld>> worlds_;
    std::vector<std::unique_ptr<EngineUnit>> units_;
    std::vector<std::unique_ptr<EngineUnit>> deletedUnits_;
    std::map<uint64_t, std::vector<uint8_t>> resources_;
    std::map<std::string, ScriptFunction> functions_;
    std::vector<std::string> functionNames_;
    std::vector<std::string> log_;
    std::map<void*, size_t> blocks_;
    size_t allocations_ = 0;
    size_t allocationsLeft_ = SIZE_MAX;
    uint32_t nextReferenceId_ = 1;
    Ground ground_;
    std::vector<Ray> rays_;
    std::vector<DrawnLine> lines_;
};

}  // namespace test_engine
