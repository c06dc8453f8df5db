#include "contexts/context_declaration.h"

#include "contexts/character_context.h"
#include "contexts/creature_context.h"
#include "contexts/script_call.h"
#include "contexts/world_registry.h"
#include "resources/compiled_creature.h"
#include "resources/host_services.h"
#include "resources/log.h"

namespace
{

// What characters and creatures do differently.
struct ContextKind
{
    const char* resourceType;      // also the ending of its files
    const char* emptyNameSpeaker;  // logs of shipped games are searched for these words, the second one's slip included
    bool (*exists)(const WorldRecord& record, const Unit* unit);
    void (*build)(WorldRecord& record, const void* resource, Unit* unit);  // declared: without a world and its nodes
    bool (*remove)(WorldRecord& record, const Unit* unit);                 // false: the unit has none
};

template <class Context>
int32_t place_in(const ContextList<Context>& list, const Unit* unit)
{
    for (int32_t i = 0; i < list.count; ++i)
    {
        if (list.entries[i]->unit == unit) return i;
    }
    return -1;
}

bool has_character(const WorldRecord& record, const Unit* unit) { return find_character_context(record, unit) != nullptr; }
bool has_creature(const WorldRecord& record, const Unit* unit) { return find_creature_context(record, unit) != nullptr; }

void build_character(WorldRecord& record, const void* resource, Unit* unit)
{
    build_character_context(record, static_cast<const CompiledCharacter*>(resource), unit, nullptr, 0, nullptr);
}

void build_creature(WorldRecord& record, const void* resource, Unit* unit)
{
    build_creature_context(record, static_cast<const CompiledCreature*>(resource), unit, nullptr, 0, nullptr);
}

bool remove_character(WorldRecord& record, const Unit* unit)
{
    const int32_t place = place_in(record.characters, unit);
    remove_character_context_at(record, place);
    return place >= 0;
}

bool remove_creature(WorldRecord& record, const Unit* unit)
{
    const int32_t place = place_in(record.creatures, unit);
    remove_creature_context_at(record, place);
    return place >= 0;
}

constexpr ContextKind kCharacter = {"character", "character_declare_context", has_character, build_character, remove_character};
constexpr ContextKind kCreature = {"creature", "creaturer_declare_context", has_creature, build_creature, remove_creature};

WorldRecord* record_of_caller(const ScriptCall& call)
{
    Unit* unit = call.unit();
    return unit ? world_record_of_unit(unit) : nullptr;
}

int declare_context(const ScriptCall& call, const ContextKind& kind)
{
    WorldRecord* record = record_of_caller(call);
    if (!record) return 0;
    if (kind.exists(*record, call.unit()))
    {
        log_info("Useless '%s' call (unit already has a context)", call.name);
        return 0;
    }
    size_t length = 0;
    const char* resource_name = call.string(2, length);
    if (!resource_name || length == 0)
    {
        log_error("%s: unspecified resource name (null or empty)", kind.emptyNameSpeaker);
        return 0;
    }
    const HostResourceService& resources = *host_services().resource;
    const void* resource = resources.has(kind.resourceType, resource_name) ? resources.get(kind.resourceType, resource_name) : nullptr;
    if (!resource)
    {
        log_error("%s: cannot find the specified .%s resource (%s) for unit", call.name, kind.resourceType, resource_name);
        log_error("Don't forget to specify the resource full path (without extension) ex: content/models/robot");
        return 0;
    }
    kind.build(*record, resource, call.unit());
    return 0;
}

int delete_context(const ScriptCall& call, const ContextKind& kind)
{
    WorldRecord* record = record_of_caller(call);
    if (record && !kind.remove(*record, call.unit())) log_info("'%s' called on unknown unit", call.name);
    return 0;
}

}  // namespace

int declare_character_context(ScriptCall& call) { return declare_context(call, kCharacter); }
int delete_character_context(ScriptCall& call) { return delete_context(call, kCharacter); }
int declare_creature_context(ScriptCall& call) { return declare_context(call, kCreature); }
int delete_creature_context(ScriptCall& call) { return delete_context(call, kCreature); }
