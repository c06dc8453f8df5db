// The binary interface between the Limbrex plugin and the engine that loads it.
//
// The plugin is one shared library with one exported symbol, get_plugin_api. The engine hands the plugin its services as
// numbered tables of function pointers; this header names every table that the plugin reads and every hook it offers.
// Plain C, 64-bit little-endian. A slot that is not named here is null and must not be called.
//
// Frames: the engine's world is z up, lengths in the rig's unit (metres unless the game says otherwise). Poses are row-major: row r
// of a rotation is the node's rotated axis r.
#ifndef LIMBREX_PLUGIN_H
#define LIMBREX_PLUGIN_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- Engine objects, opaque to the plugin -------------------------------------------------------------------------------------
typedef struct World World;
typedef struct Unit Unit;
typedef struct NodeTree NodeTree;
typedef struct PhysicsActor PhysicsActor;
typedef struct DrawingContext DrawingContext;
typedef struct LineObject LineObject;
typedef struct ScriptState ScriptState;
typedef struct CompileJob CompileJob;

/// Yields the table of one service, or null when the engine has no such service.
typedef void* (*GetApi)(uint32_t service_id);

// ---- Records read and written in place ----------------------------------------------------------------------------------------

/// One node relative to its parent. 64 bytes; one per node of a unit, in node order.
typedef struct LocalPose
{
    float rotation[9];  ///< rows are the node's axes in its parent
    float translation[3];
    float scale[3];
    uint32_t unused;
} LocalPose;

/// One bit string: bit 0 "some node changed", bit i + 1 "node i changed". Only the first field is known to the plugin.
typedef struct ChangedFlags
{
    uint32_t* words;
} ChangedFlags;

/// What a data compiler returns, and what read_source yields. 40 bytes. A non-zero error means the job failed.
typedef struct CompileResult
{
    void* data;
    uint32_t size;
    uint32_t size_high;
    uint64_t zero[2];
    uint64_t error;
} CompileResult;

typedef CompileResult* (*CompileFunction)(CompileResult* result, CompileJob* job);
typedef int (*ScriptFunction)(ScriptState* state);
typedef void (*WorldUpdateFunction)(World* world, float time_step);

/// Value types of a parsed source tree. Every offset counts from the tree's first byte; all fields are unsigned 32-bit.
/// Root: {type (object), offset}. Object: {member count, then per member key offset, value type, value}.
/// Array: {element type, element count, then one value per element}. Strings are offsets of zero-terminated bytes,
/// objects and arrays offsets of their records, numbers stand in the value field itself (a float's bits or the integer).
enum
{
    kSourceNull = 0,
    kSourceBoolean = 1,
    kSourceInteger = 2,
    kSourceFloat = 3,
    kSourceString = 4,
    kSourceArray = 5,
    kSourceObject = 6
};

// ---- Services offered by the engine -------------------------------------------------------------------------------------------
enum
{
    kHostScriptServiceId = 1,
    kHostCompilerRegistryId = 2,
    kHostCompileInputId = 3,
    kHostMemoryServiceId = 4,
    kHostResourceServiceId = 5,
    kHostLogServiceId = 6,
    kHostUnitServiceId = 8,
    kHostNodeTreeServiceId = 9,
    kHostUnitHandleServiceId = 14,
    kHostRayCastServiceId = 17,
    kHostWorldServiceId = 22,
    kHostLineServiceId = 23,
    kHostUnusedServiceId = 25
};

/// Argument and result passing of script functions. Argument 1 is the first argument.
typedef struct HostScriptService
{
    void (*register_function)(const char* space, const char* name, ScriptFunction function);
    void* unused_1[24];
    int (*is_unit)(ScriptState*, int argument);  // slot 25
    void* unused_26[4];
    double (*number)(ScriptState*, int argument);  // slot 30
    int (*integer)(ScriptState*, int argument);
    int (*boolean)(ScriptState*, int argument);
    const char* (*string)(ScriptState*, int argument, size_t* length);  // null when the argument is no string
    void* unused_34[6];
    void (*push_number)(ScriptState*, double);  // slot 40
    void (*push_integer)(ScriptState*, int);
    void* unused_42;
    void (*push_string)(ScriptState*, const char*);  // slot 43
    void* unused_44[3];
    void (*push_boolean)(ScriptState*, int);  // slot 47
    void* unused_48[69];
    int (*index)(ScriptState*, int argument);          // slot 117: script index to zero-based
    void (*push_index)(ScriptState*, int zero_based);  // slot 118: zero-based to script index
    void* unused_119;
    void (*push_vector)(ScriptState*, const float* xyz);  // slot 120
    void* unused_121;
    void (*push_quaternion)(ScriptState*, const float* xyzw);  // slot 122
    void* unused_123[2];
    const float* (*vector)(ScriptState*, int argument);  // slot 125, never null
    void* unused_126[3];
    Unit* (*unit)(ScriptState*, int argument);  // slot 129, null for none or a deleted unit
} HostScriptService;

typedef struct HostCompilerRegistry
{
    void (*register_compiler)(const char* type, int32_t version, CompileFunction compile);
    void* unused_1[3];
    void (*declare_type)(const char* type);  // slot 4
} HostCompilerRegistry;

typedef struct HostCompileInput
{
    void* unused_0[3];
    CompileResult* (*read_source)(CompileResult* out, CompileJob* job);  // slot 3
    void* unused_4[2];
    void* (*output_allocator)(CompileJob* job);  // slot 6
} HostCompileInput;

typedef struct HostMemoryService
{
    void* (*make_allocator)(const char* name);
    void (*destroy_allocator)(void* allocator);
    void* unused_2[3];
    void* (*allocate)(void* allocator, size_t size, size_t alignment);  // slot 5
    void (*deallocate)(void* allocator, void* block);
} HostMemoryService;

typedef struct HostResourceService
{
    void* unused_0[2];
    void (*release_type)(const char* type);  // slot 2
    void* unused_3;
    int (*has)(const char* type, const char* name);  // slot 4
    int (*has_key)(uint64_t type, uint64_t name);
    const void* (*get)(const char* type, const char* name);  // null when absent
    const void* (*get_key)(uint64_t type, uint64_t name);
} HostResourceService;

typedef struct HostLogService
{
    void (*info)(const char* system, const char* text);
    void (*warning)(const char* system, const char* text);
    void (*error)(const char* system, const char* text);
} HostLogService;

typedef struct HostUnitService
{
    NodeTree* (*node_tree)(Unit*);
    uint32_t (*reference_id)(Unit*);
    void* unused_2[21];
    PhysicsActor* (*physics_actor)(Unit*);  // slot 23, null when the unit has none
    const void* (*collision_filter)(PhysicsActor*);
    uint64_t (*resource_name)(Unit*);
    void* unused_26;
    World* (*world)(Unit*);  // slot 27
} HostUnitService;

typedef struct HostNodeTreeService
{
    float* (*world_poses)(NodeTree*, uint32_t first);  // 16 floats a node, row 3 the position
    LocalPose* (*local_poses)(NodeTree*, uint32_t first);
    void* unused_2[4];
    uint32_t (*node_count)(NodeTree*);  // slot 6
    void* unused_7[3];
    const uint32_t* (*name_hashes)(NodeTree*);  // slot 10
    ChangedFlags* (*changed_flags)(NodeTree*);
} HostNodeTreeService;

typedef struct HostUnitHandleService
{
    Unit* (*resolve)(uint32_t reference_id);  // null when the unit is gone
} HostUnitHandleService;

typedef struct HostRayCastService
{
    /// Non-zero on a hit. Direction is a unit vector; filter keeps the ray off its own unit, null means none.
    int (*cast)(World*, const float origin[3], const float direction[3], float length, const void* filter, float hit_position[3],
                float hit_normal[3]);
} HostRayCastService;

typedef struct HostWorldService
{
    DrawingContext* (*drawing_context)(World*);
    void (*register_update)(World*, WorldUpdateFunction callback);
} HostWorldService;

typedef struct HostLineService
{
    LineObject* (*create)(DrawingContext*);
    void (*destroy)(DrawingContext*, LineObject*);
    void (*dispatch)(DrawingContext*, void* render_argument, LineObject*);
    void (*reset)(LineObject*);
    /// Colours are 0xAARRGGBB; starts and ends hold three floats a point.
    void (*add_lines)(LineObject*, const uint32_t* colours, const float* starts, const float* ends, uint32_t count);
} HostLineService;

// ---- What the plugin offers ---------------------------------------------------------------------------------------------------

/// Hooks, called on one thread. 32 slots of 8 bytes.
typedef struct PluginHookTable
{
    const char* (*get_plugin_name)(void);
    void* unused_1[4];
    void (*setup_resource_types)(GetApi);  // slot 5
    void* unused_6;
    void (*shutdown_resource_types)(GetApi);  // slot 7
    void (*empty_hook)(void);
    void* unused_9[2];
    void (*begin_gameplay)(GetApi);  // slot 11
    void* unused_12;
    void (*end_gameplay)(void);  // slot 13
    void (*world_added)(World*);
    void (*world_removed)(World*);
    void (*on_units_created)(Unit* const* units, uint32_t count);
    void (*on_units_removed)(Unit* const* units, uint32_t count);
    void (*render_world)(World*, void* render_argument);  // slot 18
    void* unused_19[13];
} PluginHookTable;

/// Names of the template's nodes, for other plugins. Answered under the plugin name's id.
typedef struct PluginNodeNameTable
{
    int (*node_id_from_name)(const char* name);     // -1 when no node has that name
    const char* (*node_name_from_id)(int node_id);  // null outside 0 to 211
} PluginNodeNameTable;

/// The one exported symbol. 0: the hook table. High 32 bits of the name hash of "limbrex_plugin": the node-name table.
/// Anything else: null.
#if defined(__GNUC__)
__attribute__((visibility("default")))
#endif
void *get_plugin_api(uint32_t id);

#ifdef __cplusplus
}
static_assert(sizeof(LocalPose) == 64 && sizeof(CompileResult) == 40, "records shared with the engine");
static_assert(sizeof(PluginHookTable) == 32 * sizeof(void*), "32 hook slots");
static_assert(offsetof(HostScriptService, unit) == 129 * sizeof(void*) && offsetof(HostScriptService, index) == 117 * sizeof(void*) &&
                  offsetof(HostScriptService, push_vector) == 120 * sizeof(void*) &&
                  offsetof(HostScriptService, vector) == 125 * sizeof(void*) &&
                  offsetof(HostScriptService, push_boolean) == 47 * sizeof(void*) &&
                  offsetof(HostScriptService, number) == 30 * sizeof(void*),
              "slots of the script service");
static_assert(offsetof(HostUnitService, world) == 27 * sizeof(void*) && offsetof(HostUnitService, physics_actor) == 23 * sizeof(void*),
              "slots of the unit service");
static_assert(offsetof(HostNodeTreeService, changed_flags) == 11 * sizeof(void*), "slots of the node tree service");
static_assert(offsetof(PluginHookTable, render_world) == 18 * sizeof(void*), "slots of the hook table");
#endif

#endif
