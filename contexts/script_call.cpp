#include "contexts/script_call.h"

#include <cmath>

#include "contexts/character_context.h"
#include "contexts/world_registry.h"
#include "resources/host_services.h"
#include "resources/log.h"

namespace
{

const HostScriptService& script() { return *host_services().script; }

}  // namespace

Unit* ScriptCall::unit(int argument) const { return script().is_unit(state, argument) ? script().unit(state, argument) : nullptr; }

bool ScriptCall::holdsUnit(int argument) const { return script().is_unit(state, argument) != 0; }

float ScriptCall::number(int argument)
{
    // A number beyond the range of floats is as little use as an infinite one.
    const float value = static_cast<float>(script().number(state, argument));
    sound = sound && std::isfinite(value);
    return value;
}

int32_t ScriptCall::integer(int argument) const { return script().integer(state, argument); }

bool ScriptCall::flag(int argument) const { return script().boolean(state, argument) != 0; }

int32_t ScriptCall::index(int argument) const { return script().index(state, argument); }

const char* ScriptCall::string(int argument, size_t& length) const
{
    length = 0;
    return script().string(state, argument, &length);
}

Vec4 ScriptCall::vector(int argument)
{
    const float* xyz = script().vector(state, argument);
    if (!xyz)
    {
        sound = false;
        return kZero4;
    }
    const Vec4 value = {xyz[0], xyz[1], xyz[2], 0.0f};
    sound = sound && is_finite3(value);
    return value;
}

int32_t ScriptCall::effector(int argument)
{
    const int32_t value = integer(argument);
    sound = sound && value >= 0 && value < LBXLastEffectorId;
    return value;
}

int32_t ScriptCall::node(int argument)
{
    const int32_t value = integer(argument);
    sound = sound && value >= 0 && value < LBXLastNodeId;
    return value;
}

CharacterContext* ScriptCall::findContext() const { return character_context_of_unit(unit(1)); }

CharacterContext* ScriptCall::requireContext() const
{
    CharacterContext* context = findContext();
    if (!context) log_error("%s: cannot find context for unit", name);
    return context;
}

int ScriptCall::push(float value) const
{
    script().push_number(state, static_cast<double>(value));
    return 1;
}

int ScriptCall::push(int32_t value) const
{
    script().push_integer(state, value);
    return 1;
}

int ScriptCall::push(bool value) const
{
    script().push_boolean(state, value ? 1 : 0);
    return 1;
}

int ScriptCall::push(const char* value) const
{
    script().push_string(state, value);
    return 1;
}

int ScriptCall::push(Vec4 value) const
{
    script().push_vector(state, &value.x);
    return 1;
}

int ScriptCall::push(Quat value) const
{
    script().push_quaternion(state, &value.x);
    return 1;
}

int ScriptCall::pushIndex(int32_t place) const
{
    script().push_index(state, place);
    return 1;
}

int ScriptCall::wrongInputs() const
{
    log_error("%s: wrong inputs", name);
    return 0;
}

IkConstraint* check_index_and_constraint(const ScriptCall& call, IkConstraintType expected)
{
    const CharacterContext* context = call.findContext();
    if (!context)
    {
        log_error("check_index_and_constraint: cannot find character context for unit");
        return nullptr;
    }
    const int32_t position = call.index(2);
    IkConstraint* constraint = constraint_at(context->constraintStack, position);
    if (!constraint)
    {
        log_error("check_index_and_constraint: constraint index out of range");
        return nullptr;
    }
    if (constraint->typeId() != expected)
    {
        log_error("check_index_and_constraint: constraint type does not match; at index %d, looked for %d, found %d", position,
                  static_cast<int>(expected), static_cast<int>(constraint->typeId()));
        return nullptr;
    }
    return constraint;
}
