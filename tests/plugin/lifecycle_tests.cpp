// What an engine sees of the plugin: its tables, and what each hook asks of the engine, in order.
#include <xmmintrin.h>

#include <algorithm>

#include "contexts/character_context.h"
#include "contexts/creature_context.h"
#include "contexts/world_registry.h"
#include "debug/line_buffer.h"
#include "host/murmur.h"
#include "resources/character_compiler.h"
#include "resources/compiled_creature.h"
#include "resources/creature_compiler.h"
#include "resources/host_services.h"
#include "resources/plugin_allocator.h"
#include "resources/plugin_state.h"
#include "tests/plugin/plugin_services.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plugin_test
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr uint64_t kOwnRig = 1;
char g_render_argument[] = "argument";

const PluginHookTable& hooks() { return *static_cast<PluginHookTable*>(get_plugin_api(0)); }

class PluginLife : public ::testing::Test
{
protected:
    PluginLife()
    {
        acquire_host_services(PluginServices::get_api);
        character = compile(compile_character, example_rig("hops.character"));
        creature = compile(compile_creature, R"({"sections": [{"id": 0, "bone": "body", "parent": -1}]})");
        forget();
    }
    ~PluginLife() override
    {
        hooks().end_gameplay();
        plugin_state().disabled = true;
    }

    void forget()
    {
        services.events.clear();
        services.log.clear();
        services.askedIds.clear();
        services.allocationSizes.clear();
    }
    void begin(bool enabled)
    {
        hooks().begin_gameplay(PluginServices::get_api);
        plugin_state().disabled = !enabled;
    }
    ServiceWorld& addWorld()
    {
        ServiceWorld& world = services.addWorld();
        hooks().world_added(world.handle());
        return world;
    }
    ServiceUnit& create(ServiceWorld& world, uint64_t resource_name)
    {
        ServiceUnit& unit = services.addUnit(world, resource_name);
        Unit* handle = unit.handle();
        hooks().on_units_created(&handle, 1);
        return unit;
    }
    static WorldRecord& record(ServiceWorld& world) { return *record_of_world(world.handle()); }
    void giveCharacter(ServiceUnit& unit)
    {
        WorldRecord& owner = *record_of_world(unit.world);
        ASSERT_NE(build_character_context(owner, reinterpret_cast<const CompiledCharacter*>(character.data()), unit.handle(), nullptr, 0,
                                          nullptr),
                  nullptr);
    }
    static void giveCreature(ServiceUnit& unit)
    {
        auto* context = static_cast<CreatureContext*>(plugin_allocate(sizeof(CreatureContext), alignof(CreatureContext)));
        *context = {unit.handle(), unit.referenceId};
        append_creature_context(*record_of_world(unit.world), context);
    }
    void remove(std::initializer_list<ServiceUnit*> units)
    {
        std::vector<Unit*> handles;
        for (ServiceUnit* unit : units) handles.push_back(unit->handle());
        hooks().on_units_removed(handles.data(), static_cast<uint32_t>(handles.size()));
    }
    static void draw(uint32_t colour)
    {
        const float start[3] = {1, 0, 0};
        const float end[3] = {0, 0, 2};
        record_line(*plugin_state().debugLineBuffer, colour, start, end);
    }

    PluginServices services;
    std::vector<uint8_t> character, creature;
};

TEST_F(PluginLife, TablesAreFoundByTheirIds)
{
    void* table = get_plugin_api(0);
    EXPECT_EQ(get_plugin_api(0), table);
    EXPECT_EQ(get_plugin_api(1), nullptr);
    EXPECT_EQ(get_plugin_api(0xFFFFFFFFu), nullptr);
    EXPECT_STREQ(hooks().get_plugin_name(), "limbrex_plugin");
    hooks().empty_hook();
    const auto* slots = static_cast<void* const*>(table);
    const std::vector<size_t> offered = {0, 5, 7, 8, 11, 13, 14, 15, 16, 17, 18};
    for (size_t slot = 0; slot < 32; ++slot)
    {
        const bool expected = std::find(offered.begin(), offered.end(), slot) != offered.end();
        EXPECT_EQ(slots[slot] != nullptr, expected) << slot;
    }
    EXPECT_EQ(limbrex_host::murmur64("character"), 0x394E4FEF3B347BA9u);
    EXPECT_EQ(limbrex_host::murmur64("creature"), 0x2B79AD2B80E86006u);
}

TEST_F(PluginLife, OtherPluginsTranslateNodeNames)
{
    const auto id = static_cast<uint32_t>(limbrex_host::murmur64("limbrex_plugin") >> 32);
    const auto* names = static_cast<PluginNodeNameTable*>(get_plugin_api(id));
    ASSERT_NE(names, nullptr);
    const unsigned word = _mm_getcsr();
    _mm_setcsr((word & ~0x6000u) | 0x4000u);  // round up: the caller's own choice
    const unsigned chosen = _mm_getcsr();
    for (int node = 0; node < 212; ++node) EXPECT_EQ(names->node_id_from_name(names->node_name_from_id(node)), node);
    EXPECT_EQ(names->node_id_from_name("Hips"), 1);
    EXPECT_EQ(names->node_id_from_name("hips"), -1);
    EXPECT_EQ(names->node_id_from_name(""), -1);
    EXPECT_EQ(names->node_id_from_name(nullptr), -1);
    for (int node : {-1, 212, 1 << 30}) EXPECT_EQ(names->node_name_from_id(node), nullptr);
    EXPECT_EQ(_mm_getcsr(), chosen);
    _mm_setcsr(word);
}

TEST_F(PluginLife, ServicesAreFetchedInOneOrderAtEachSetUp)
{
    const std::vector<uint32_t> order = {1, 2, 3, 4, 5, 6, 17, 14, 8, 9, 22, 23, 25};
    hooks().setup_resource_types(PluginServices::get_api);
    EXPECT_EQ(services.askedIds, order);
    EXPECT_THAT(services.events, ElementsAre("compiler character 1", "declare character", "compiler creature 1", "declare creature"));
    forget();
    hooks().shutdown_resource_types(PluginServices::get_api);
    EXPECT_EQ(services.askedIds, order);
    EXPECT_THAT(services.events, ElementsAre("release character", "release creature"));
    forget();
    begin(true);
    EXPECT_EQ(services.askedIds, order);
    EXPECT_THAT(services.events, ElementsAre("make allocator LBX"));
    ASSERT_GE(services.scriptFunctions.size(), 5u);
    EXPECT_EQ(services.scriptFunctions[0], "enable");
}

TEST_F(PluginLife, WorldsComeAndGoWithTheirLines)
{
    ServiceWorld& early = addWorld();
    EXPECT_THAT(services.events, ElementsAre("update of A")) << "before gameplay a world is only watched";
    hooks().world_removed(early.handle());
    hooks().render_world(early.handle(), g_render_argument);
    early.update(early.handle(), 0.1f);

    begin(true);
    forget();
    ServiceWorld& kept = addWorld();
    ServiceWorld& removed = addWorld();
    EXPECT_THAT(services.events, ElementsAre("update of B", "create lines of B", "update of C", "create lines of C"));
    EXPECT_EQ(record_of_world(early.handle()), nullptr);
    forget();

    draw(7);
    hooks().render_world(early.handle(), g_render_argument);
    EXPECT_THAT(services.events, IsEmpty()) << "an unknown world leaves the lines where they are";
    hooks().render_world(kept.handle(), g_render_argument);
    hooks().render_world(removed.handle(), g_render_argument);
    EXPECT_THAT(services.events,
                ElementsAre("reset B", "line 7 from 1 to 2", "dispatch B with argument", "reset C", "dispatch C with argument"));
    forget();

    hooks().world_removed(removed.handle());
    hooks().world_removed(removed.handle());
    EXPECT_EQ(record_of_world(removed.handle()), nullptr);
    EXPECT_THAT(services.events, IsEmpty()) << "the engine frees the lines with the world";
    hooks().world_added(kept.handle());
    EXPECT_THAT(services.events, ElementsAre("update of B", "destroy lines of B", "create lines of B"));
    forget();

    hooks().end_gameplay();
    EXPECT_THAT(services.events, ElementsAre("destroy lines of B", "destroy allocator"));
    hooks().world_removed(kept.handle());
    kept.update(kept.handle(), 0.1f);
    hooks().end_gameplay();
    EXPECT_EQ(services.memory.live_blocks(), 0u);
}

TEST_F(PluginLife, EverythingInEveryWorldIsReleasedAtTheEnd)
{
    begin(true);
    for (int i = 0; i < 30; ++i)
    {
        ServiceWorld& world = addWorld();
        for (int k = 0; k < 3; ++k)
        {
            giveCharacter(services.addUnit(world));
            giveCreature(services.addUnit(world));
        }
        // Sources in other worlds, later and earlier ones.
        record(world).characters.entries[0]->source = record(services.worlds.front()).characters.entries[1];
        record(services.worlds.front()).characters.entries[2]->source = record(world).characters.entries[1];
    }
    EXPECT_GT(services.memory.find_allocator("LBX")->liveBlocks, 30u * 3u * 8u);
    hooks().world_removed(services.worlds[4].handle());
    hooks().end_gameplay();
    EXPECT_EQ(services.memory.live_blocks(), 0u);
    begin(true);  // and gameplay can begin again
    EXPECT_EQ(record_of_world(services.worlds[0].handle()), nullptr);
}

TEST_F(PluginLife, DisabledItMakesAndEvaluatesNothing)
{
    services.characterResource = character.data();
    services.creatureResource = creature.data();
    EXPECT_TRUE(plugin_state().disabled) << "a plugin begins disabled";
    hooks().begin_gameplay(PluginServices::get_api);
    EXPECT_TRUE(plugin_state().disabled);
    ServiceWorld& world = addWorld();
    create(world, kOwnRig);
    world.update(world.handle(), 0.1f);
    EXPECT_EQ(record(world).characters.count, 0);
    EXPECT_THAT(services.log, IsEmpty());

    // The switch outlives gameplay.
    plugin_state().disabled = false;
    hooks().end_gameplay();
    hooks().begin_gameplay(PluginServices::get_api);
    EXPECT_FALSE(plugin_state().disabled);
}

TEST_F(PluginLife, AUnitGetsACharacterAndIsToldOnceThatCreaturesAreNotSolved)
{
    services.characterResource = character.data();
    services.creatureResource = creature.data();
    begin(true);
    ServiceWorld& world = addWorld();
    create(world, 0);  // no rig under its name
    EXPECT_THAT(services.log, IsEmpty());
    ServiceUnit& unit = create(world, kOwnRig);
    ASSERT_EQ(record(world).characters.count, 1);
    EXPECT_EQ(record(world).characters.entries[0]->unit, unit.handle());
    EXPECT_THAT(services.log, ElementsAre(HasSubstr("Creating new character solving context"), HasSubstr("is ready"),
                                          HasSubstr("error: Creature contexts are not built in this version")));
    EXPECT_EQ(record(world).creatures.count, 0);
    EXPECT_TRUE(is_failed_creature(record(world), unit.handle()));
    forget();
    Unit* handle = unit.handle();
    hooks().on_units_created(&handle, 1);
    EXPECT_EQ(record(world).characters.count, 1) << "one context a unit";
    for (const std::string& line : services.log) EXPECT_THAT(line, ::testing::Not(HasSubstr("Creature")));

    // A block of another kind or version makes nothing and says nothing.
    std::vector<uint8_t> stranger = character;
    stranger[4] = 2;
    services.characterResource = stranger.data();
    services.creatureResource = character.data();
    forget();
    create(world, kOwnRig);
    EXPECT_EQ(record(world).characters.count, 1);
    EXPECT_THAT(services.log, IsEmpty());

    // Units of unknown worlds, and none at all.
    ServiceWorld& unknown = services.addWorld();
    create(unknown, kOwnRig);
    Unit* nothing = nullptr;
    hooks().on_units_created(&nothing, 1);
    hooks().on_units_removed(&nothing, 1);
    hooks().on_units_created(nullptr, 0);
}

TEST_F(PluginLife, EachRemovedUnitTakesOneStaleContextAlong)
{
    begin(true);
    ServiceWorld& world = addWorld();
    ServiceUnit& first = services.addUnit(world);
    ServiceUnit& second = services.addUnit(world);
    ServiceUnit& living = services.addUnit(world);
    for (ServiceUnit* unit : {&first, &living, &second})
    {
        giveCharacter(*unit);
        giveCreature(*unit);
    }
    WorldRecord& lists = record(world);
    remove({&first});
    EXPECT_EQ(lists.characters.count + lists.creatures.count, 6) << "nothing is stale yet";

    first.alive = second.alive = false;
    remove({&living});
    EXPECT_EQ(lists.characters.count, 2);
    EXPECT_EQ(lists.creatures.count, 3) << "characters go first";
    EXPECT_EQ(find_character_context(lists, first.handle()), nullptr);
    // Contexts that wait for their removal are not evaluated: the services fail the test when asked about a unit that is gone.
    world.update(world.handle(), 0.1f);
    remove({&first, &second});
    EXPECT_EQ(lists.characters.count, 1);
    EXPECT_EQ(lists.creatures.count, 2);
    remove({&first, &second, &living});
    EXPECT_EQ(lists.creatures.count, 1);
    EXPECT_NE(find_character_context(lists, living.handle()), nullptr);
    EXPECT_NE(find_creature_context(lists, living.handle()), nullptr);
}

TEST_F(PluginLife, AUnitThatTookAnothersAddressIsNotTakenForIt)
{
    begin(true);
    ServiceWorld& world = addWorld();
    ServiceUnit& unit = services.addUnit(world);
    giveCharacter(unit);
    unit.referenceId = 9999;  // the old id resolves to nothing now
    remove({&unit});
    EXPECT_EQ(record(world).characters.count, 0);
}

TEST_F(PluginLife, WorksWithoutRaysLinesAndLogAndDoesNothingWithoutTheRest)
{
    services.missing = {kHostRayCastServiceId, kHostLineServiceId, kHostLogServiceId};
    services.characterResource = character.data();
    begin(true);
    ServiceWorld& world = addWorld();
    create(world, kOwnRig);
    EXPECT_EQ(record(world).characters.count, 1);
    draw(1);
    hooks().render_world(world.handle(), g_render_argument);
    hooks().end_gameplay();
    EXPECT_THAT(services.log, IsEmpty());

    for (uint32_t id : {1u, 2u, 3u, 4u, 5u, 8u, 9u, 14u, 22u})
    {
        services.missing = {id};
        hooks().setup_resource_types(PluginServices::get_api);
        begin(true);
        const bool needed_in_play = id != kHostCompilerRegistryId && id != kHostCompileInputId;
        EXPECT_EQ(plugin_state().worldRegistry == nullptr, needed_in_play) << id;
        hooks().world_added(world.handle());
        create(world, kOwnRig);
        world.update(world.handle(), 0.1f);
        hooks().render_world(world.handle(), g_render_argument);
        Unit* unit = services.units.back().handle();
        hooks().on_units_removed(&unit, 1);
        hooks().world_removed(world.handle());
        hooks().end_gameplay();
        hooks().shutdown_resource_types(PluginServices::get_api);
        EXPECT_EQ(services.memory.live_blocks(), 0u) << id;
    }
    services.missing.clear();
    hooks().setup_resource_types(PluginServices::get_api);
}

TEST_F(PluginLife, EveryAllocationMayFail)
{
    services.characterResource = character.data();
    bool failed = true;
    for (uint64_t failing = 1; failed; ++failing)
    {
        forget();
        services.memory.fail_allocation(failing);
        begin(true);
        ServiceWorld& world = services.worlds.empty() ? services.addWorld() : services.worlds.front();
        hooks().world_added(world.handle());
        create(world, kOwnRig);
        world.update(world.handle(), 0.1f);
        if (plugin_state().debugLineBuffer) draw(1);
        hooks().render_world(world.handle(), g_render_argument);
        failed = services.allocationSizes.size() >= failing;
        services.memory.fail_allocation(0);
        const WorldRecord* made = record_of_world(world.handle());
        EXPECT_TRUE(failed || (made && made->characters.count == 1));
        hooks().end_gameplay();
        EXPECT_EQ(services.memory.live_blocks(), 0u) << failing;
        EXPECT_TRUE(failed || failing > 12) << "state, world, context, table and list each had their turn";
        ASSERT_LT(failing, 60u);
    }
}

}  // namespace

}  // namespace plugin_test
