#include "plugin/script_fingers.h"

#include "constraints/fingers_control_constraint.h"
#include "plugin/script_accessors.h"

namespace script
{

// (unit, constraint index, finger). 1 to 6: thumb, index, middle, ring, pinky, extra finger; any other number: the global factor.
int character_fingers_get_factor(ScriptCall& call)
{
    FingersControlConstraint* fingers = accessed_constraint<FingersControlConstraint>(call);
    return fingers ? call.push(fingers->factor(call.integer(3))) : 0;
}

// (unit, constraint index, finger, factor).
int character_fingers_set_factor(ScriptCall& call)
{
    FingersControlConstraint* fingers = accessed_constraint<FingersControlConstraint>(call);
    if (!fingers) return 0;
    const float value = call.number(4);
    if (!call.sound) return call.wrongInputs();
    fingers->factor(call.integer(3)) = value;
    return 0;
}

}  // namespace script
