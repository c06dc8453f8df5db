#include "plugin/script_settings.h"

#include <cstring>

#include "contexts/character_context.h"
#include "contexts/script_call.h"
#include "contexts/world_registry.h"
#include "resources/compiled_character.h"
#include "resources/log.h"

namespace script
{

namespace
{

int32_t position_in_world(const CharacterContext* context)
{
    const WorldRecord* record = world_record_of_unit(context->unit);
    for (int32_t i = 0; record && i < record->characters.count; ++i)
    {
        if (record->characters.entries[i] == context) return i;
    }
    return -1;
}

uint8_t flag_byte(const ScriptCall& call, int argument) { return call.flag(argument) ? 1 : 0; }

}  // namespace

int character_set_source(ScriptCall& call)
{
    CharacterContext* context = call.findContext();
    if (!context)
    {
        log_error("%s: cannot find context for source unit", call.name);
        return 0;
    }
    context->source = character_context_of_unit(call.unit(2));
    return 0;
}

int character_get_source(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return call.pushIndex(-1);
    return context->source ? call.pushIndex(position_in_world(context->source)) : call.push(int32_t{-1});
}

int character_set_solve_flags(ScriptCall& call)
{
    CharacterContext* context = call.requireContext();
    if (!context) return 0;
    context->solveDisabled = flag_byte(call, 2);
    context->outputDisabled = flag_byte(call, 3);
    return 0;
}

int character_get_solve_flags(ScriptCall& call)
{
    const CharacterContext* context = call.findContext();
    if (!context)
    {
        // Scripts and their logs know this message under the setter's name.
        log_error("character_set_solve_flags: cannot find context for unit");
        return 0;
    }
    const int solve = call.push(context->solveDisabled != 0);
    return solve + call.push(context->outputDisabled != 0);
}

int character_set_draw_rigs_flags(ScriptCall& call)
{
    CharacterContext* context = call.requireContext();
    if (!context) return 0;
    for (int i = 0; i < 3; ++i) context->drawFlags[i] = flag_byte(call, 2 + i);
    return 0;
}

int character_get_draw_rigs_flags(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return 0;
    int results = 0;
    for (const uint8_t draw_flag : context->drawFlags) results += call.push(draw_flag != 0);
    return results;
}

int character_get_debug_name(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return 0;
    // A name that fills its field has no terminator of its own.
    char name[sizeof(CompiledCharacter::unitName) + 1] = {};
    std::memcpy(name, context->resource->unitName, sizeof(CompiledCharacter::unitName));
    return call.push(static_cast<const char*>(name));
}

}  // namespace script
