#include "plugin/script_targets.h"

#include "constraints/aim_constraint.h"
#include "constraints/look_at_constraint.h"
#include "resources/log.h"

namespace script
{

namespace
{

// How a function refuses its inputs. Three of the four name the unit.
using Refusal = int (*)(const ScriptCall& call);

int refuse(const ScriptCall& call) { return call.wrongInputs(); }

int refuse_for_unit(const ScriptCall& call)
{
    log_error("%s: wrong inputs (unit %p)", call.name, static_cast<const void*>(call.unit()));
    return 0;
}

template <class Kind>
Kind* targeting_constraint(const ScriptCall& call, Refusal refusal)
{
    IkConstraint* constraint = check_index_and_constraint(call, Kind::kType);
    if (constraint) return static_cast<Kind*>(constraint);
    if (call.requireContext()) refusal(call);
    return nullptr;
}

// (unit, constraint index, position).
template <class Kind>
int set_target_position(ScriptCall& call, Refusal refusal)
{
    Kind* constraint = targeting_constraint<Kind>(call, refusal);
    if (!constraint) return 0;
    const Vec4 position = call.vector(3);
    if (!call.sound) return refusal(call);
    constraint->target.position = position;
    return 0;
}

// (unit, constraint index, target unit or nil, target effector). Without a unit the position counts from now on.
template <class Kind>
int set_target_unit(ScriptCall& call, const char* function_for_positions)
{
    Kind* constraint = targeting_constraint<Kind>(call, refuse_for_unit);
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
        if (!call.sound) return refuse_for_unit(call);
        constraint->target.effector = effector;
    }
    constraint->target.unitRef = unit_ref;
    return 0;
}

}  // namespace

int character_aim_set_target_position(ScriptCall& call) { return set_target_position<AimConstraint>(call, refuse_for_unit); }

int character_aim_set_target_unit(ScriptCall& call) { return set_target_unit<AimConstraint>(call, "character_aim_set_target_position"); }

int character_look_at_set_target_unit(ScriptCall& call)
{
    return set_target_unit<LookAtConstraint>(call, "character_look_at_set_target_position");
}

int character_look_at_set_target_position(ScriptCall& call) { return set_target_position<LookAtConstraint>(call, refuse); }

}  // namespace script
