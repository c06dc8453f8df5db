#include "plugin/script_targets.h"

#include "constraints/look_at_constraint.h"
#include "plugin/script_accessors.h"
#include "resources/log.h"

namespace script
{

namespace
{

// These functions say which unit they were called for.
int wrong_inputs_for_unit(const ScriptCall& call)
{
    log_error("%s: wrong inputs (unit %p)", call.name, static_cast<const void*>(call.unit()));
    return 0;
}

template <class Kind>
Kind* constraint_of_unit(const ScriptCall& call)
{
    IkConstraint* constraint = check_index_and_constraint(call, Kind::kType);
    if (constraint) return static_cast<Kind*>(constraint);
    if (call.requireContext()) wrong_inputs_for_unit(call);
    return nullptr;
}

// (unit, constraint index, target unit or nil, target effector). Without a unit the position counts from now on.
template <class Kind>
int set_target_unit(ScriptCall& call, const char* function_for_positions)
{
    Kind* constraint = constraint_of_unit<Kind>(call);
    if (!constraint) return 0;
    uint32_t unit_ref = 0;
    if (!read_target_unit(call, 3, unit_ref))
    {
        log_error("%s: only CHARACTERIZED units can be set as target", call.name);
        log_error("If you want to look at a non characterized unit, rather use %s.", function_for_positions);
        return 0;
    }
    if (unit_ref != 0)
    {
        const int32_t effector = read_target_effector(call, 4);
        if (!call.sound) return wrong_inputs_for_unit(call);
        constraint->target.effector = effector;
    }
    constraint->target.unitRef = unit_ref;
    return 0;
}

}  // namespace

int character_look_at_set_target_unit(ScriptCall& call)
{
    return set_target_unit<LookAtConstraint>(call, "character_look_at_set_target_position");
}

int character_look_at_set_target_position(ScriptCall& call)
{
    LookAtConstraint* constraint = accessed_constraint<LookAtConstraint>(call);
    if (!constraint) return 0;
    const Vec4 position = call.vector(3);
    if (!call.sound) return call.wrongInputs();
    constraint->target.position = position;
    return 0;
}

}  // namespace script
