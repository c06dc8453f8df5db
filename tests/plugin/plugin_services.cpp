#include "tests/plugin/plugin_services.h"

#include <cstring>

#include "host/source_tree.h"
#include <gtest/gtest.h>

namespace plugin_test
{

namespace
{

PluginServices* g_services = nullptr;

constexpr uint64_t kCharacterKey = 0x394E4FEF3B347BA9u;

ServiceUnit& unit_of(Unit* unit) { return *reinterpret_cast<ServiceUnit*>(unit); }

std::string name_of(World* world) { return std::string(1, reinterpret_cast<ServiceWorld*>(world)->name); }
// The drawing context and the line object of a world are known by the world's address, shifted.
std::string name_of(DrawingContext* drawing) { return name_of(reinterpret_cast<World*>(drawing)); }

void note(const std::string& event) { services().events.push_back(event); }

HostMemoryService memory_service()
{
    HostMemoryService table = {};
    table.make_allocator = [](const char* name) -> void*
    {
        note(std::string("make allocator ") + name);
        return services().memory.make_allocator(name);
    };
    table.destroy_allocator = [](void* allocator)
    {
        note("destroy allocator");
        services().memory.destroy_allocator(allocator);
    };
    table.allocate = [](void* allocator, size_t size, size_t alignment)
    {
        services().allocationSizes.push_back(size);
        void* block = services().memory.allocate(allocator, size, alignment);
        if (block) std::memset(block, 0xCD, size);  // whatever the plugin does not initialize shows
        return block;
    };
    table.deallocate = [](void* allocator, void* block) { services().memory.deallocate(allocator, block); };
    return table;
}

HostCompilerRegistry compiler_registry()
{
    HostCompilerRegistry table = {};
    table.register_compiler = [](const char* type, int32_t version, CompileFunction compiler)
    {
        EXPECT_NE(compiler, nullptr);
        note(std::string("compiler ") + type + " " + std::to_string(version));
    };
    table.declare_type = [](const char* type) { note(std::string("declare ") + type); };
    return table;
}

HostCompileInput compile_input()
{
    HostCompileInput table = {};
    table.read_source = [](CompileResult* out, CompileJob* /*job*/)
    {
        *out = {};
        out->data = services().sourceError == 0 ? services().source.data() : nullptr;
        out->size = static_cast<uint32_t>(4 * services().source.size());
        out->error = services().sourceError;
        return out;
    };
    table.output_allocator = [](CompileJob* /*job*/) { return services().outputAllocator; };
    return table;
}

const void* resource_of_type(uint64_t type, uint64_t name)
{
    if (name == 0) return nullptr;
    return type == kCharacterKey ? services().characterResource : services().creatureResource;
}

HostResourceService resource_service()
{
    HostResourceService table = {};
    table.release_type = [](const char* type) { note(std::string("release ") + type); };
    table.has_key = [](uint64_t type, uint64_t name) { return resource_of_type(type, name) ? 1 : 0; };
    table.get_key = resource_of_type;
    return table;
}

HostUnitService unit_service()
{
    HostUnitService table = {};
    table.node_tree = [](Unit* unit) -> NodeTree*
    {
        EXPECT_TRUE(unit_of(unit).alive) << "the plugin asked about a unit that is gone";
        return nullptr;
    };
    table.reference_id = [](Unit* unit) { return unit_of(unit).referenceId; };
    table.resource_name = [](Unit* unit) { return unit_of(unit).resourceName; };
    table.world = [](Unit* unit) { return unit_of(unit).world; };
    return table;
}

HostLineService line_service()
{
    HostLineService table = {};
    table.create = [](DrawingContext* drawing)
    {
        note("create lines of " + name_of(drawing));
        return reinterpret_cast<LineObject*>(drawing);
    };
    table.destroy = [](DrawingContext* drawing, LineObject* lines)
    {
        EXPECT_EQ(static_cast<void*>(drawing), static_cast<void*>(lines));
        note("destroy lines of " + name_of(drawing));
    };
    table.dispatch = [](DrawingContext* drawing, void* argument, LineObject* /*lines*/)
    { note("dispatch " + name_of(drawing) + " with " + static_cast<const char*>(argument)); };
    table.reset = [](LineObject* lines) { note("reset " + name_of(reinterpret_cast<DrawingContext*>(lines))); };
    table.add_lines = [](LineObject* /*lines*/, const uint32_t* colours, const float* starts, const float* ends, uint32_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            note("line " + std::to_string(colours[i]) + " from " + std::to_string(static_cast<int>(starts[3 * i])) + " to " +
                 std::to_string(static_cast<int>(ends[3 * i + 2])));
        }
    };
    return table;
}

void* table_of(uint32_t id)
{
    static HostScriptService script = {};
    static HostCompilerRegistry compilers = compiler_registry();
    static HostCompileInput input = compile_input();
    static HostMemoryService memory = memory_service();
    static HostResourceService resources = resource_service();
    static HostLogService log = {[](const char*, const char* text) { services().log.push_back(std::string("info: ") + text); },
                                 [](const char*, const char* text) { services().log.push_back(std::string("warning: ") + text); },
                                 [](const char*, const char* text) { services().log.push_back(std::string("error: ") + text); }};
    static HostUnitService units = unit_service();
    static HostNodeTreeService node_trees = {};
    static HostUnitHandleService handles = {[](uint32_t id_wanted) -> Unit*
                                            {
                                                for (ServiceUnit& unit : services().units)
                                                {
                                                    if (unit.alive && unit.referenceId == id_wanted) return unit.handle();
                                                }
                                                return nullptr;
                                            }};
    static HostRayCastService rays = {};
    static HostWorldService worlds = {[](World* world) { return reinterpret_cast<DrawingContext*>(world); },
                                      [](World* world, WorldUpdateFunction update)
                                      {
                                          note("update of " + name_of(world));
                                          reinterpret_cast<ServiceWorld*>(world)->update = update;
                                      }};
    static HostLineService lines = line_service();
    script.register_function = [](const char* space, const char* name, ScriptFunction)
    {
        EXPECT_STREQ(space, "Limbrex");
        services().scriptFunctions.emplace_back(name);
    };
    switch (id)
    {
    case kHostScriptServiceId: return &script;
    case kHostCompilerRegistryId: return &compilers;
    case kHostCompileInputId: return &input;
    case kHostMemoryServiceId: return &memory;
    case kHostResourceServiceId: return &resources;
    case kHostLogServiceId: return &log;
    case kHostUnitServiceId: return &units;
    case kHostNodeTreeServiceId: return &node_trees;
    case kHostUnitHandleServiceId: return &handles;
    case kHostRayCastServiceId: return &rays;
    case kHostWorldServiceId: return &worlds;
    case kHostLineServiceId: return &lines;
    default: return nullptr;
    }
}

}  // namespace

PluginServices& services() { return *g_services; }

PluginServices::PluginServices()
{
    g_services = this;
    outputAllocator = memory.make_allocator("job");
}

PluginServices::~PluginServices()
{
    EXPECT_EQ(memory.live_blocks(), 0u);
    EXPECT_TRUE(memory.faults().empty()) << memory.faults().front();
    g_services = nullptr;
}

void* PluginServices::get_api(uint32_t service_id)
{
    services().askedIds.push_back(service_id);
    return services().missing.count(service_id) != 0 ? nullptr : table_of(service_id);
}

ServiceWorld& PluginServices::addWorld()
{
    worlds.push_back({static_cast<char>('A' + worlds.size())});
    return worlds.back();
}

ServiceUnit& PluginServices::addUnit(ServiceWorld& world, uint64_t resource_name)
{
    units.push_back({world.handle(), static_cast<uint32_t>(100 + units.size()), resource_name, true});
    return units.back();
}

void PluginServices::setSource(const std::string& json)
{
    std::string error;
    EXPECT_TRUE(limbrex_host::parse_source(json, "test", source, error)) << error;
}

std::vector<uint8_t> compile(CompileFunction compiler, const std::string& json)
{
    services().setSource(json);
    CompileResult result = {};
    const CompileResult* returned = compiler(&result, nullptr);
    EXPECT_EQ(returned, &result);
    if (!result.data) return {};
    const auto* bytes = static_cast<const uint8_t*>(result.data);
    std::vector<uint8_t> block(bytes, bytes + result.size);
    EXPECT_EQ(result.error, 0u);
    services().memory.deallocate(services().outputAllocator, result.data);
    return block;
}

std::string example_rig(const std::string& name)
{
    std::string text;
    std::string error;
    EXPECT_TRUE(limbrex_host::read_file(LIMBREX_SOURCE_DIR "/examples/rigs/" + name, text, error)) << error;
    return text;
}

}  // namespace plugin_test
