#include "tests/plugin/test_engine.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

namespace test_engine
{

namespace
{

// The services are plain functions, so the one engine of a test is found here.
Engine* g_engine = nullptr;
Lacking g_lacking = Lacking::Nothing;

struct Call
{
    std::vector<Value> arguments;
    std::vector<Value> results;
    std::vector<Vec3> vectors;
};

Call& call_of(ScriptState* state) { return *reinterpret_cast<Call*>(state); }

const Value& argument_of(ScriptState* state, int argument)
{
    static const Value kNothing = Nil();
    const Call& call = call_of(state);
    return argument >= 1 && static_cast<size_t>(argument) <= call.arguments.size() ? call.arguments[static_cast<size_t>(argument) - 1]
                                                                                   : kNothing;
}

EngineUnit* unit_of(Unit* unit) { return reinterpret_cast<EngineUnit*>(unit); }
Unit* handle_of(EngineUnit* unit) { return reinterpret_cast<Unit*>(unit); }
EngineUnit* unit_of(NodeTree* tree) { return reinterpret_cast<EngineUnit*>(tree); }
World* handle_of(EngineWorld* world) { return reinterpret_cast<World*>(world); }

double number_of(const Value& value)
{
    if (const double* number = std::get_if<double>(&value)) return *number;
    if (const int* integer = std::get_if<int>(&value)) return *integer;
    return 0.0;
}

int integer_of(const Value& value)
{
    const double number = number_of(value);
    if (!(number >= -2147483647.0)) return -2147483647;
    return number <= 2147483647.0 ? static_cast<int>(number) : 2147483647;
}

}  // namespace

// What get_api answers with. Engine's privates are open to it.
struct Services
{
    static void* allocate(void* /*allocator*/, size_t size, size_t alignment)
    {
        Engine& engine = *g_engine;
        if (engine.allocationsLeft_ == 0) return nullptr;
        if (engine.allocationsLeft_ != SIZE_MAX) --engine.allocationsLeft_;
        ++engine.allocations_;
        const size_t place = alignment < sizeof(void*) ? sizeof(void*) : alignment;
        void* block = std::aligned_alloc(place, (size + place - 1) / place * place);
        // Whatever the plugin does not initialize shows.
        std::memset(block, 0xCD, size);
        engine.blocks_[block] = size;
        return block;
    }

    static void deallocate(void* /*allocator*/, void* block)
    {
        if (!block) return;
        EXPECT_EQ(g_engine->blocks_.erase(block), 1u) << "a block that is not allocated was given back";
        std::free(block);
    }

    static void register_function(const char* space, const char* name, ScriptFunction function)
    {
        EXPECT_STREQ(space, "Limbrex");
        EXPECT_TRUE(g_engine->functions_.emplace(name, function).second) << name;
        g_engine->functionNames_.emplace_back(name);
    }

    static const void* resource(uint64_t name)
    {
        const auto found = g_engine->resources_.find(name);
        return found == g_engine->resources_.end() ? nullptr : found->second.data();
    }

    static void log(const char* level, const char* system, const char* text)
    {
        EXPECT_STREQ(system, "limbrex plugin");
        g_engine->log_.push_back(std::string(level) + ": " + text);
    }

    static Unit* resolve(uint32_t reference_id)
    {
        for (const auto& unit : g_engine->units_)
        {
            if (unit->referenceId == reference_id) return handle_of(unit.get());
        }
        return nullptr;
    }

    static int castRay(World* world, const float origin[3], const float direction[3], float length, const void* filter,
                       float hit_position[3], float hit_normal[3])
    {
        const Ray ray = {reinterpret_cast<EngineWorld*>(world),
                         {origin[0], origin[1], origin[2]},
                         {direction[0], direction[1], direction[2]},
                         length,
                         static_cast<const EngineUnit*>(filter)};
        g_engine->rays_.push_back(ray);
        RayHit hit = {};
        if (!g_engine->ground_ || !g_engine->ground_(ray, hit)) return 0;
        std::copy_n(hit.position.data(), 3, hit_position);
        std::copy_n(hit.normal.data(), 3, hit_normal);
        return 1;
    }

    static void addLines(LineObject* /*object*/, const uint32_t* colours, const float* starts, const float* ends, uint32_t count)
    {
        for (uint32_t i = 0; i < count; ++i, starts += 3, ends += 3)
        {
            g_engine->lines_.push_back({colours[i], {starts[0], starts[1], starts[2]}, {ends[0], ends[1], ends[2]}});
        }
    }

    static bool isAlive(const EngineUnit* candidate)
    {
        for (const auto& unit : g_engine->units_)
        {
            if (unit.get() == candidate) return true;
        }
        return false;
    }
};

namespace
{

EngineUnit* unit_argument(ScriptState* state, int argument)
{
    EngineUnit* const* unit = std::get_if<EngineUnit*>(&argument_of(state, argument));
    return unit && Services::isAlive(*unit) ? *unit : nullptr;
}

template <class T>
void push(ScriptState* state, T value)
{
    call_of(state).results.emplace_back(std::in_place_type<T>, value);
}

HostScriptService script_service()
{
    HostScriptService service = {};
    service.register_function = Services::register_function;
    service.is_unit = [](ScriptState* s, int a) { return std::holds_alternative<EngineUnit*>(argument_of(s, a)) ? 1 : 0; };
    service.number = [](ScriptState* s, int a) { return number_of(argument_of(s, a)); };
    service.integer = [](ScriptState* s, int a) { return integer_of(argument_of(s, a)); };
    service.boolean = [](ScriptState* s, int a)
    {
        const bool* flag = std::get_if<bool>(&argument_of(s, a));
        return flag && *flag ? 1 : 0;
    };
    service.string = [](ScriptState* s, int a, size_t* length) -> const char*
    {
        const std::string* text = std::get_if<std::string>(&argument_of(s, a));
        *length = text ? text->size() : 0;
        return text ? text->c_str() : nullptr;
    };
    service.index = [](ScriptState* s, int a) { return integer_of(argument_of(s, a)) - 1; };
    service.vector = [](ScriptState* s, int a)
    {
        static const Vec3 kZero = {};
        const Vec3* vector = std::get_if<Vec3>(&argument_of(s, a));
        return vector ? vector->data() : kZero.data();
    };
    service.unit = [](ScriptState* s, int a) { return handle_of(unit_argument(s, a)); };
    service.push_number = [](ScriptState* s, double v) { push<double>(s, v); };
    service.push_integer = [](ScriptState* s, int v) { push<int>(s, v); };
    service.push_index = [](ScriptState* s, int v) { push<int>(s, v + 1); };
    service.push_string = [](ScriptState* s, const char* v) { push<std::string>(s, v); };
    service.push_boolean = [](ScriptState* s, int v) { push<bool>(s, v != 0); };
    service.push_vector = [](ScriptState* s, const float* v) { push<Vec3>(s, Vec3{v[0], v[1], v[2]}); };
    service.push_quaternion = [](ScriptState* s, const float* v) { push<Quat4>(s, Quat4{v[0], v[1], v[2], v[3]}); };
    return service;
}

HostResourceService resource_service()
{
    HostResourceService service = {};
    service.release_type = [](const char*) {};
    service.has = [](const char* type, const char* name)
    { return std::string(type) == "character" && Services::resource(name_key(name)) ? 1 : 0; };
    service.get = [](const char* type, const char* name)
    { return std::string(type) == "character" ? Services::resource(name_key(name)) : nullptr; };
    service.has_key = [](uint64_t type, uint64_t name) { return type == name_key("character") && Services::resource(name) ? 1 : 0; };
    service.get_key = [](uint64_t type, uint64_t name) { return type == name_key("character") ? Services::resource(name) : nullptr; };
    return service;
}

HostUnitService unit_service()
{
    HostUnitService service = {};
    service.node_tree = [](Unit* unit)
    {
        EXPECT_NE(unit, nullptr) << "an engine need not answer for no unit";
        return reinterpret_cast<NodeTree*>(unit);
    };
    service.reference_id = [](Unit* unit) { return unit_of(unit)->referenceId; };
    service.physics_actor = [](Unit* unit) { return unit_of(unit)->hasBody ? reinterpret_cast<PhysicsActor*>(unit) : nullptr; };
    service.collision_filter = [](PhysicsActor* actor) -> const void* { return actor; };
    service.resource_name = [](Unit* unit) { return unit_of(unit)->resourceName; };
    service.world = [](Unit* unit) { return handle_of(unit_of(unit)->world); };
    return service;
}

HostNodeTreeService node_tree_service()
{
    HostNodeTreeService service = {};
    service.world_poses = [](NodeTree* tree, uint32_t first) { return unit_of(tree)->worldPoses.data() + size_t{16} * first; };
    service.local_poses = [](NodeTree* tree, uint32_t first) { return unit_of(tree)->localPoses.data() + first; };
    service.node_count = [](NodeTree* tree) { return static_cast<uint32_t>(unit_of(tree)->localPoses.size()); };
    service.name_hashes = [](NodeTree* tree) -> const uint32_t* { return unit_of(tree)->nameHashes.data(); };
    service.changed_flags = [](NodeTree* tree) { return &unit_of(tree)->changedFlags; };
    return service;
}

HostMemoryService memory_service()
{
    HostMemoryService service = {};
    service.make_allocator = [](const char*) -> void* { return g_engine; };
    service.destroy_allocator = [](void*) {};
    service.allocate = Services::allocate;
    service.deallocate = Services::deallocate;
    return service;
}

HostLogService log_service()
{
    HostLogService service = {};
    service.info = [](const char* system, const char* text) { Services::log("info", system, text); };
    service.warning = [](const char* system, const char* text) { Services::log("warning", system, text); };
    service.error = [](const char* system, const char* text) { Services::log("error", system, text); };
    return service;
}

HostLineService line_service()
{
    HostLineService service = {};
    service.create = [](DrawingContext* context) { return reinterpret_cast<LineObject*>(context); };
    service.destroy = [](DrawingContext*, LineObject*) {};
    service.dispatch = [](DrawingContext*, void*, LineObject*) {};
    service.reset = [](LineObject*) {};
    service.add_lines = Services::addLines;
    return service;
}

void* get_api(uint32_t service_id)
{
    static HostScriptService script = script_service();
    static HostCompilerRegistry compilers = {};
    static HostMemoryService memory = memory_service();
    static HostResourceService resources = resource_service();
    static HostLogService log = log_service();
    static HostUnitService units = unit_service();
    static HostNodeTreeService node_trees = node_tree_service();
    static HostUnitHandleService handles = {Services::resolve};
    static HostWorldService worlds = {};
    static HostRayCastService rays = {Services::castRay};
    static HostLineService lines = line_service();
    compilers.register_compiler = [](const char*, int32_t, CompileFunction) {};
    compilers.declare_type = [](const char*) {};
    worlds.drawing_context = [](World* world) { return reinterpret_cast<DrawingContext*>(world); };
    worlds.register_update = [](World* world, WorldUpdateFunction update) { reinterpret_cast<EngineWorld*>(world)->update = update; };
    switch (service_id)
    {
    case kHostScriptServiceId: return &script;
    case kHostCompilerRegistryId: return &compilers;
    case kHostMemoryServiceId: return &memory;
    case kHostResourceServiceId: return &resources;
    case kHostLogServiceId: return &log;
    case kHostUnitServiceId: return &units;
    case kHostNodeTreeServiceId: return &node_trees;
    case kHostUnitHandleServiceId: return &handles;
    case kHostWorldServiceId: return &worlds;
    case kHostRayCastServiceId: return g_lacking == Lacking::RaysAndLines ? nullptr : &rays;
    case kHostLineServiceId: return g_lacking == Lacking::RaysAndLines ? nullptr : &lines;
    default: return nullptr;
    }
}

}  // namespace

Engine::Engine(Lacking lacking)
{
    g_engine = this;
    g_lacking = lacking;
    library_ = dlopen(LIMBREX_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library_)
    {
        ADD_FAILURE() << dlerror();
        std::abort();
    }
    auto* entry = reinterpret_cast<void* (*)(uint32_t)>(dlsym(library_, "get_plugin_api"));
    hooks_ = static_cast<PluginHookTable*>(entry(0));
    hooks_->setup_resource_types(get_api);
    hooks_->begin_gameplay(get_api);
}

Engine::~Engine()
{
    allocationsLeft_ = SIZE_MAX;
    hooks_->end_gameplay();
    hooks_->shutdown_resource_types(get_api);
    EXPECT_EQ(blocks_.size(), 0u) << "blocks still allocated after gameplay";
    dlclose(library_);
    g_engine = nullptr;
}

EngineWorld& Engine::addWorld()
{
    worlds_.push_back(std::make_unique<EngineWorld>());
    hooks_->world_added(handle_of(worlds_.back().get()));
    return *worlds_.back();
}

void Engine::addResource(const std::string& name, std::vector<uint8_t> bytes) { resources_[name_key(name)] = std::move(bytes); }

EngineUnit& Engine::spawn(EngineWorld& world, const std::vector<NodeSpec>& nodes, const std::string& resource_name)
{
    units_.push_back(std::make_unique<EngineUnit>());
    EngineUnit& unit = *units_.back();
    for (const NodeSpec& node : nodes)
    {
        LocalPose pose = {};
        pose.rotation[0] = pose.rotation[4] = pose.rotation[8] = 1.0f;
        std::copy_n(node.offset.data(), 3, pose.translation);
        std::fill_n(pose.scale, 3, 1.0f);
        unit.localPoses.push_back(pose);
        unit.parents.push_back(node.parent);
        unit.nameHashes.push_back(node_hash(node.name));
    }
    unit.worldPoses.resize(16 * nodes.size());
    unit.changedWords.assign(nodes.size() / 32 + 1, 0);
    unit.changedFlags.words = unit.changedWords.data();
    unit.resourceName = name_key(resource_name);
    unit.referenceId = nextReferenceId_++;
    unit.world = &world;
    unit.propagate();
    Unit* handle = handle_of(&unit);
    hooks_->on_units_created(&handle, 1);
    return unit;
}

void Engine::deleteUnit(EngineUnit& unit)
{
    for (auto it = units_.begin(); it != units_.end(); ++it)
    {
        if (it->get() != &unit) continue;
        deletedUnits_.push_back(std::move(*it));
        units_.erase(it);
        Unit* handle = handle_of(&unit);
        hooks_->on_units_removed(&handle, 1);
        return;
    }
}

void Engine::update(EngineWorld& world, float step_s)
{
    for (const auto& unit : units_)
    {
        unit->propagate();
        unit->clearChanged();
    }
    rays_.clear();
    world.update(handle_of(&world), step_s);
}

std::vector<DrawnLine> Engine::render(EngineWorld& world)
{
    hooks_->render_world(handle_of(&world), nullptr);
    std::vector<DrawnLine> drawn;
    drawn.swap(lines_);
    return drawn;
}

std::vector<Value> Engine::call(const std::string& function, std::initializer_list<Value> arguments)
{
    const auto found = functions_.find(function);
    if (found == functions_.end())
    {
        ADD_FAILURE() << "no script function " << function;
        return {};
    }
    Call call = {arguments, {}, {}};
    const int results = found->second(reinterpret_cast<ScriptState*>(&call));
    EXPECT_EQ(static_cast<size_t>(results), call.results.size()) << function;
    return call.results;
}

std::vector<std::string> Engine::takeLog()
{
    std::vector<std::string> taken;
    taken.swap(log_);
    return taken;
}

}  // namespace test_engine
