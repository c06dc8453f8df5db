#include "host/services.h"

#include <algorithm>

#include "host/engine.h"

namespace limbrex_host
{
namespace
{

HostEngine* g_engine = nullptr;

// ---- From the plugin's opaque pointers to the engine's records, null for anything that is not the engine's ----

ScriptCall& call_of(ScriptState* state) { return *reinterpret_cast<ScriptCall*>(state); }

HostUnit* unit_of(Unit* unit) { return g_engine != nullptr && g_engine->units.known(unit) ? reinterpret_cast<HostUnit*>(unit) : nullptr; }

HostWorld* world_of(World* world) { return g_engine != nullptr ? g_engine->find_world(world) : nullptr; }

HostNodeTree* tree_of(NodeTree* tree)
{
    HostUnit* const unit = g_engine != nullptr ? g_engine->units.owner_of_tree(tree) : nullptr;
    return unit != nullptr ? &unit->tree : nullptr;
}

HostDrawing* drawing_of(DrawingContext* context)
{
    if (g_engine == nullptr) { return nullptr; }
    for (const auto& world : g_engine->worlds)
    {
        if (reinterpret_cast<DrawingContext*>(&world->drawing) == context) { return &world->drawing; }
    }
    return nullptr;
}

HostDrawing* drawing_of_lines(const HostLineObject* lines)
{
    if (g_engine == nullptr || lines == nullptr) { return nullptr; }
    for (const auto& world : g_engine->worlds)
    {
        if (world->drawing.owns(lines)) { return &world->drawing; }
    }
    return nullptr;
}

// ---- Scripts ----

void register_function(const char* space, const char* name, ScriptFunction function)
{
    if (g_engine != nullptr) { g_engine->script.register_function(space, name, function); }
}

Unit* unit_argument(ScriptState* state, int argument)
{
    const uint32_t id = script_arguments::unit(call_of(state), argument);
    return g_engine != nullptr ? reinterpret_cast<Unit*>(g_engine->units.resolve(id)) : nullptr;
}

int is_unit(ScriptState* state, int argument)
{
    const ScriptValue& value = call_of(state).argument(argument);
    return g_engine != nullptr && value.kind == ScriptValue::Kind::Unit && g_engine->units.resolve(value.unit) != nullptr ? 1 : 0;
}

double number_argument(ScriptState* state, int argument) { return script_arguments::number(call_of(state), argument); }
int integer_argument(ScriptState* state, int argument) { return script_arguments::integer(call_of(state), argument); }
int boolean_argument(ScriptState* state, int argument) { return script_arguments::boolean(call_of(state), argument) ? 1 : 0; }
int index_argument(ScriptState* state, int argument) { return script_arguments::index(call_of(state), argument); }
const float* vector_argument(ScriptState* state, int argument) { return script_arguments::vector(call_of(state), argument); }
const char* string_argument(ScriptState* state, int argument, size_t* length)
{
    return script_arguments::string(call_of(state), argument, length);
}

void push_number(ScriptState* state, double number) { call_of(state).push(script_value(number)); }
void push_integer(ScriptState* state, int integer) { call_of(state).push(script_value(static_cast<int32_t>(integer))); }
void push_boolean(ScriptState* state, int flag) { call_of(state).push(script_value(flag != 0)); }
void push_string(ScriptState* state, const char* text)
{
    call_of(state).push(text != nullptr ? script_value(std::string(text)) : ScriptValue{});
}
// Scripts count from 1.
void push_index(ScriptState* state, int zero_based)
{
    ScriptValue value = script_value(static_cast<double>(zero_based) + 1.0);
    value.integral = true;
    call_of(state).push(value);
}
void push_vector(ScriptState* state, const float* xyz)
{
    call_of(state).push(xyz != nullptr ? script_vector({xyz[0], xyz[1], xyz[2]}) : ScriptValue{});
}
void push_quaternion(ScriptState* state, const float* xyzw)
{
    ScriptValue value;
    if (xyzw != nullptr)
    {
        value.kind = ScriptValue::Kind::Quaternion;
        std::copy(xyzw, xyzw + 4, value.vector.begin());
    }
    call_of(state).push(value);
}

// ---- Compilers and resources ----

void register_compiler(const char* type, int32_t version, CompileFunction compile)
{
    if (g_engine != nullptr) { g_engine->resources.register_compiler(type, version, compile); }
}

void declare_type(const char* type)
{
    if (g_engine != nullptr) { g_engine->resources.declare_type(type); }
}

CompileResult* read_source(CompileResult* out, CompileJob* job)
{
    if (g_engine == nullptr || job == nullptr) { return nullptr; }
    return g_engine->resources.read_source(out, *reinterpret_cast<HostCompileJob*>(job));
}

void* output_allocator(CompileJob* job) { return job != nullptr ? reinterpret_cast<HostCompileJob*>(job)->allocator : nullptr; }

void release_type(const char* type)
{
    if (g_engine != nullptr) { g_engine->resources.release_type(type); }
}

const HostResource* find_resource(const char* type, const char* name)
{
    const bool named = g_engine != nullptr && type != nullptr && name != nullptr;
    return named ? g_engine->resources.find(std::string(type), std::string(name)) : nullptr;
}

const HostResource* find_resource(uint64_t type, uint64_t name)
{
    return g_engine != nullptr ? g_engine->resources.find(type, name) : nullptr;
}

template <class Key>
int has_resource(Key type, Key name)
{
    return find_resource(type, name) != nullptr ? 1 : 0;
}

template <class Key>
const void* get_resource(Key type, Key name)
{
    const HostResource* const resource = find_resource(type, name);
    return resource != nullptr ? resource->block : nullptr;
}

// ---- Memory and log ----

void* make_allocator(const char* name) { return g_engine != nullptr ? g_engine->memory.make_allocator(name) : nullptr; }

void destroy_allocator(void* allocator)
{
    if (g_engine != nullptr) { g_engine->memory.destroy_allocator(allocator); }
}

void* allocate(void* allocator, size_t size, size_t alignment)
{
    return g_engine != nullptr ? g_engine->memory.allocate(allocator, size, alignment) : nullptr;
}

void deallocate(void* allocator, void* block)
{
    if (g_engine != nullptr) { g_engine->memory.deallocate(allocator, block); }
}

template <LogLevel kLevel>
void write_log(const char* system, const char* text)
{
    if (g_engine != nullptr) { g_engine->log.write(kLevel, system, text); }
}

// ---- Units and node trees ----

NodeTree* node_tree(Unit* unit)
{
    HostUnit* const record = unit_of(unit);
    return record != nullptr ? reinterpret_cast<NodeTree*>(&record->tree) : nullptr;
}

uint32_t reference_id(Unit* unit)
{
    const HostUnit* const record = unit_of(unit);
    return record != nullptr ? record->referenceId : 0;
}

PhysicsActor* physics_actor(Unit* unit)
{
    HostUnit* const record = unit_of(unit);
    return record != nullptr && record->hasActor ? reinterpret_cast<PhysicsActor*>(&record->actor) : nullptr;
}

const void* collision_filter(PhysicsActor* actor)
{
    const HostUnit* const unit = g_engine != nullptr ? g_engine->units.owner_of_actor(actor) : nullptr;
    return unit != nullptr ? &unit->actor.filter : nullptr;
}

uint64_t resource_name(Unit* unit)
{
    const HostUnit* const record = unit_of(unit);
    return record != nullptr ? record->resourceName : 0;
}

World* unit_world(Unit* unit)
{
    const HostUnit* const record = unit_of(unit);
    return record != nullptr ? reinterpret_cast<World*>(record->world) : nullptr;
}

Unit* resolve_unit(uint32_t id) { return g_engine != nullptr ? reinterpret_cast<Unit*>(g_engine->units.resolve(id)) : nullptr; }

float* world_poses(NodeTree* tree, uint32_t first)
{
    HostNodeTree* const nodes = tree_of(tree);
    return nodes != nullptr && first < nodes->node_count() ? nodes->worlds[first].m : nullptr;
}

LocalPose* local_poses(NodeTree* tree, uint32_t first)
{
    HostNodeTree* const nodes = tree_of(tree);
    return nodes != nullptr && first < nodes->node_count() ? &nodes->locals[first] : nullptr;
}

uint32_t node_count(NodeTree* tree)
{
    const HostNodeTree* const nodes = tree_of(tree);
    return nodes != nullptr ? nodes->node_count() : 0;
}

const uint32_t* name_hashes(NodeTree* tree)
{
    const HostNodeTree* const nodes = tree_of(tree);
    return nodes != nullptr ? nodes->nameHashes.data() : nullptr;
}

ChangedFlags* changed_flags(NodeTree* tree)
{
    HostNodeTree* const nodes = tree_of(tree);
    return nodes != nullptr ? &nodes->changed : nullptr;
}

// ---- Worlds, rays, lines ----

DrawingContext* drawing_context(World* world)
{
    HostWorld* const record = world_of(world);
    return record != nullptr ? reinterpret_cast<DrawingContext*>(&record->drawing) : nullptr;
}

void register_update(World* world, WorldUpdateFunction callback)
{
    HostWorld* const record = world_of(world);
    if (record != nullptr) { record->register_update(callback); }
}

int cast_ray(World* world, const float origin[3], const float direction[3], float length, const void* filter, float hit_position[3],
             float hit_normal[3])
{
    const HostWorld* const record = world_of(world);
    if (record == nullptr || origin == nullptr || direction == nullptr) { return 0; }
    RayHit hit;
    const bool found = record->physics.cast({origin[0], origin[1], origin[2]}, {direction[0], direction[1], direction[2]}, length,
                                            static_cast<const CollisionFilter*>(filter), hit);
    if (!found) { return 0; }
    if (hit_position != nullptr) { std::copy(hit.position.begin(), hit.position.end(), hit_position); }
    if (hit_normal != nullptr) { std::copy(hit.normal.begin(), hit.normal.end(), hit_normal); }
    return 1;
}

LineObject* create_lines(DrawingContext* context)
{
    HostDrawing* const drawing = drawing_of(context);
    return drawing != nullptr ? reinterpret_cast<LineObject*>(drawing->create()) : nullptr;
}

void destroy_lines(DrawingContext* context, LineObject* lines)
{
    HostDrawing* const drawing = drawing_of(context);
    const bool destroyed = drawing != nullptr && drawing->destroy(reinterpret_cast<HostLineObject*>(lines));
    if (!destroyed && g_engine != nullptr) { g_engine->log.error("a line object was destroyed that the drawing context does not have"); }
}

void dispatch_lines(DrawingContext* context, void* /*render_argument*/, LineObject* lines)
{
    HostDrawing* const drawing = drawing_of(context);
    const auto* const object = reinterpret_cast<const HostLineObject*>(lines);
    if (drawing != nullptr && drawing->owns(object)) { drawing->dispatch(*object); }
}

void reset_lines(LineObject* lines)
{
    auto* const object = reinterpret_cast<HostLineObject*>(lines);
    if (drawing_of_lines(object) != nullptr) { object->lines.clear(); }
}

void add_lines(LineObject* lines, const uint32_t* colours, const float* starts, const float* ends, uint32_t count)
{
    auto* const object = reinterpret_cast<HostLineObject*>(lines);
    HostDrawing* const drawing = drawing_of_lines(object);
    if (drawing != nullptr) { drawing->add_lines(*object, colours, starts, ends, count); }
}

// ---- The tables ----

HostScriptService script_service()
{
    HostScriptService table{};
    table.register_function = register_function;
    table.is_unit = is_unit;
    table.number = number_argument;
    table.integer = integer_argument;
    table.boolean = boolean_argument;
    table.string = string_argument;
    table.push_number = push_number;
    table.push_integer = push_integer;
    table.push_string = push_string;
    table.push_boolean = push_boolean;
    table.index = index_argument;
    table.push_index = push_index;
    table.push_vector = push_vector;
    table.push_quaternion = push_quaternion;
    table.vector = vector_argument;
    table.unit = unit_argument;
    return table;
}

HostUnitService unit_service()
{
    HostUnitService table{};
    table.node_tree = node_tree;
    table.reference_id = reference_id;
    table.physics_actor = physics_actor;
    table.collision_filter = collision_filter;
    table.resource_name = resource_name;
    table.world = unit_world;
    return table;
}

HostScriptService g_script_service = script_service();
HostCompilerRegistry g_compiler_registry{register_compiler, {}, declare_type};
HostCompileInput g_compile_input{{}, read_source, {}, output_allocator};
HostMemoryService g_memory_service{make_allocator, destroy_allocator, {}, allocate, deallocate};
HostResourceService g_resource_service{
    {}, release_type, nullptr, has_resource<const char*>, has_resource<uint64_t>, get_resource<const char*>, get_resource<uint64_t>};
HostLogService g_log_service{write_log<LogLevel::Info>, write_log<LogLevel::Warning>, write_log<LogLevel::Error>};
HostUnitService g_unit_service = unit_service();
HostNodeTreeService g_node_tree_service{world_poses, local_poses, {}, node_count, {}, name_hashes, changed_flags};
HostUnitHandleService g_unit_handle_service{resolve_unit};
HostRayCastService g_ray_cast_service{cast_ray};
HostWorldService g_world_service{drawing_context, register_update};
HostLineService g_line_service{create_lines, destroy_lines, dispatch_lines, reset_lines, add_lines};

struct ServiceRow
{
    uint32_t id;
    void* table;
};

constexpr ServiceRow kServices[] = {
    {kHostScriptServiceId, &g_script_service},
    {kHostCompilerRegistryId, &g_compiler_registry},
    {kHostCompileInputId, &g_compile_input},
    {kHostMemoryServiceId, &g_memory_service},
    {kHostResourceServiceId, &g_resource_service},
    {kHostLogServiceId, &g_log_service},
    {kHostUnitServiceId, &g_unit_service},
    {kHostNodeTreeServiceId, &g_node_tree_service},
    {kHostUnitHandleServiceId, &g_unit_handle_service},
    {kHostRayCastServiceId, &g_ray_cast_service},
    {kHostWorldServiceId, &g_world_service},
    {kHostLineServiceId, &g_line_service},
};

}  // namespace

HostEngine* running_engine() { return g_engine; }

void set_running_engine(HostEngine* engine) { g_engine = engine; }

void* host_service(uint32_t service_id)
{
    if (g_engine == nullptr || g_engine->lacks_service(service_id)) { return nullptr; }
    const auto* const row =
        std::find_if(std::begin(kServices), std::end(kServices), [service_id](const ServiceRow& each) { return each.id == service_id; });
    return row != std::end(kServices) ? row->table : nullptr;
}

}  // namespace limbrex_host
