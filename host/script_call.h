// One call of a registered function: its arguments as plain values, its results, and what was odd about the arguments.
//
// The plugin holds this record as ScriptState. No script engine is touched between the call and its return, so nothing a script did, no
// failed allocation in the script engine and no metamethod can leave the plugin's functions by the back door.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace limbrex_host
{

struct ScriptValue
{
    enum class Kind : uint8_t
    {
        None,  // no argument was given
        Nil,
        Boolean,
        Number,
        String,
        Vector,
        Quaternion,
        Unit,
        Other,
    };
    Kind kind = Kind::None;
    bool boolean = false;
    bool integral = false;  // a number to be passed on as an integer
    double number = 0.0;
    std::string text;               // of a string; of anything else its type's name
    std::array<float, 4> vector{};  // x, y, z of a vector, x, y, z, w of a quaternion
    uint32_t unit = 0;              // reference id
};

ScriptValue script_value(double number);
ScriptValue script_value(int32_t integer);
ScriptValue script_value(bool flag);
ScriptValue script_value(const std::string& text);
ScriptValue script_vector(const std::array<float, 3>& vector);
ScriptValue script_unit(uint32_t referenceId);

// Argument `argument` (from 1) was read as something that it is not. The function got a neutral answer.
struct ArgumentFault
{
    int argument = 0;
    const char* expected = "";
    std::string got;
};

struct ScriptCall
{
    static constexpr int kArgumentLimit = 64;
    static constexpr size_t kResultLimit = 64;

    std::string function;  // "Limbrex.character_push_pull"
    std::vector<ScriptValue> arguments;
    std::vector<ScriptValue> results;
    std::vector<ArgumentFault> faults;

    const ScriptValue& argument(int number) const;  // kind None outside
    void fault(int number, const char* expected);
    void push(ScriptValue value);
};

// The answers that the script service gives. A wrong type is answered neutrally (0, false, null, zeros) and noted as a fault.
namespace script_arguments
{

double number(ScriptCall& call, int argument);
// Rounded towards zero and held within an int; a number that is none becomes the lowest int, which nothing accepts. true is 1.
int32_t integer(ScriptCall& call, int argument);
// nil and 0 are false.
bool boolean(ScriptCall& call, int argument);
const char* string(ScriptCall& call, int argument, size_t* length);  // null for anything else
int32_t index(ScriptCall& call, int argument);                       // counted from 0; -1 for anything else
const float* vector(ScriptCall& call, int argument);                 // never null; valid until the call returns
uint32_t unit(ScriptCall& call, int argument);                       // reference id, 0 for anything else; nil is no fault

}  // namespace script_arguments

}  // namespace limbrex_host
