#include "host/script_call.h"

#include <cmath>
#include <limits>
#include <utility>

namespace limbrex_host
{
namespace
{

constexpr double kLowestInt = static_cast<double>(std::numeric_limits<int32_t>::min());
constexpr double kHighestInt = static_cast<double>(std::numeric_limits<int32_t>::max());

int32_t to_int(double number)
{
    if (std::isnan(number) || number <= kLowestInt) { return std::numeric_limits<int32_t>::min(); }
    return number >= kHighestInt ? std::numeric_limits<int32_t>::max() : static_cast<int32_t>(number);
}

const char* kind_name(const ScriptValue& value)
{
    switch (value.kind)
    {
    case ScriptValue::Kind::None: return "nothing";
    case ScriptValue::Kind::Nil: return "nil";
    case ScriptValue::Kind::Boolean: return "boolean";
    case ScriptValue::Kind::Number: return "number";
    case ScriptValue::Kind::String: return "string";
    case ScriptValue::Kind::Vector: return "vector";
    case ScriptValue::Kind::Quaternion: return "quaternion";
    case ScriptValue::Kind::Unit: return "unit";
    case ScriptValue::Kind::Other: break;
    }
    return value.text.c_str();
}

}  // namespace

ScriptValue script_value(double number)
{
    ScriptValue value;
    value.kind = ScriptValue::Kind::Number;
    value.number = number;
    return value;
}

ScriptValue script_value(int32_t integer)
{
    ScriptValue value = script_value(static_cast<double>(integer));
    value.integral = true;
    return value;
}

ScriptValue script_value(bool flag)
{
    ScriptValue value;
    value.kind = ScriptValue::Kind::Boolean;
    value.boolean = flag;
    return value;
}

ScriptValue script_value(const std::string& text)
{
    ScriptValue value;
    value.kind = ScriptValue::Kind::String;
    value.text = text;
    return value;
}

ScriptValue script_vector(const std::array<float, 3>& vector)
{
    ScriptValue value;
    value.kind = ScriptValue::Kind::Vector;
    value.vector = {vector[0], vector[1], vector[2], 0.0f};
    return value;
}

ScriptValue script_unit(uint32_t referenceId)
{
    ScriptValue value;
    value.kind = ScriptValue::Kind::Unit;
    value.unit = referenceId;
    return value;
}

const ScriptValue& ScriptCall::argument(int number) const
{
    static const ScriptValue kNothing;
    const bool there = number >= 1 && static_cast<size_t>(number) <= arguments.size();
    return there ? arguments[static_cast<size_t>(number) - 1] : kNothing;
}

void ScriptCall::fault(int number, const char* expected) { faults.push_back({number, expected, kind_name(argument(number))}); }

void ScriptCall::push(ScriptValue value)
{
    if (results.size() < kResultLimit) { results.push_back(std::move(value)); }
}

namespace script_arguments
{

double number(ScriptCall& call, int argument)
{
    const ScriptValue& value = call.argument(argument);
    if (value.kind == ScriptValue::Kind::Number) { return value.number; }
    call.fault(argument, "number");
    return 0.0;
}

int32_t integer(ScriptCall& call, int argument)
{
    const ScriptValue& value = call.argument(argument);
    if (value.kind == ScriptValue::Kind::Number) { return to_int(value.number); }
    if (value.kind == ScriptValue::Kind::Boolean) { return value.boolean ? 1 : 0; }
    call.fault(argument, "integer");
    return 0;
}

bool boolean(ScriptCall& call, int argument)
{
    const ScriptValue& value = call.argument(argument);
    if (value.kind == ScriptValue::Kind::Boolean) { return value.boolean; }
    if (value.kind == ScriptValue::Kind::Number) { return value.number != 0.0; }
    if (value.kind != ScriptValue::Kind::Nil) { call.fault(argument, "boolean"); }
    return false;
}

const char* string(ScriptCall& call, int argument, size_t* length)
{
    const ScriptValue& value = call.argument(argument);
    const bool text = value.kind == ScriptValue::Kind::String;
    if (length != nullptr) { *length = text ? value.text.size() : 0; }
    if (!text) { call.fault(argument, "string"); }
    return text ? value.text.c_str() : nullptr;
}

int32_t index(ScriptCall& call, int argument)
{
    const ScriptValue& value = call.argument(argument);
    if (value.kind == ScriptValue::Kind::Number)
    {
        const int32_t counted_from_one = to_int(value.number);
        return counted_from_one == std::numeric_limits<int32_t>::min() ? counted_from_one : counted_from_one - 1;
    }
    call.fault(argument, "index");
    return -1;
}

const float* vector(ScriptCall& call, int argument)
{
    static constexpr std::array<float, 4> kZeros{};
    const ScriptValue& value = call.argument(argument);
    if (value.kind == ScriptValue::Kind::Vector) { return value.vector.data(); }
    call.fault(argument, "vector");
    return kZeros.data();
}

uint32_t unit(ScriptCall& call, int argument)
{
    const ScriptValue& value = call.argument(argument);
    if (value.kind == ScriptValue::Kind::Unit) { return value.unit; }
    if (value.kind != ScriptValue::Kind::Nil) { call.fault(argument, "unit"); }
    return 0;
}

}  // namespace script_arguments

}  // namespace limbrex_host
