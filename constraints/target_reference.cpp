#include "constraints/target_reference.h"

#include "constraints/effector_goal.h"
#include "contexts/solver_frame.h"
#include "contexts/world_registry.h"
#include "debug/debug_shapes.h"
#include "resources/host_services.h"
#include "resources/log.h"

namespace
{

constexpr uint32_t kTargetColour = 0xb0ffb00eu;
constexpr float kTargetMarker = 0.5f;

}  // namespace

Vec4 FrameTarget::point_world() const
{
    return context ? solver_to_world(*context, read_goal(*context, effector).translation) : position_world;
}

bool find_target(const TargetReference& reference, FrameTarget& target)
{
    target = {nullptr, reference.effector, reference.position};
    if (reference.isPosition()) return true;
    Unit* unit = host_services().unitHandle->resolve(reference.unitRef);
    target.context = unit ? character_context_of_unit(unit) : nullptr;
    return target.context && !target.context->declared && target.context->active;
}

bool read_target_unit(const ScriptCall& call, int argument, uint32_t& unit_ref)
{
    unit_ref = 0;
    if (!call.holdsUnit(argument)) return true;
    Unit* unit = call.unit(argument);
    if (!character_context_of_unit(unit)) return false;
    unit_ref = host_services().unit->reference_id(unit);
    return true;
}

int32_t read_target_effector(ScriptCall& call, int argument)
{
    const float number = call.number(argument);
    if (number > -1.0f && number < static_cast<float>(LBXLastEffectorId)) return static_cast<int32_t>(number);
    call.sound = false;
    return -1;
}

bool read_pushed_target(ScriptCall& call, int argument, const char* verb, TargetReference& target)
{
    if (!read_target_unit(call, argument, target.unitRef))
    {
        log_error("%s: only CHARACTERIZED units can be set as target", call.name);
        log_error("If the unit IS characterized, make sure it has been declared before that call (Limbrex Character flow node)");
        log_error("If you want to %s at a non characterized unit, rather use character_look_at_set_target_position.", verb);
        return false;
    }
    if (target.unitRef != 0) target.effector = read_target_effector(call, argument + 1);
    return true;
}

void draw_target(const CharacterContext& context, Vec4 from_world, Vec4 target_world)
{
    draw_marker(&context, target_world, kTargetMarker, kTargetColour);
    draw_line(&context, from_world, target_world, kTargetColour);
}
