#include "plugin/script_limits.h"

#include "contexts/character_context.h"
#include "contexts/node_limits.h"
#include "contexts/script_call.h"
#include "contexts/solver_frame.h"
#include "debug/limit_arcs.h"

namespace script
{

namespace
{

// The context of argument 1 when argument 2 is a node; otherwise the log says what is wrong.
const CharacterContext* context_for_node(ScriptCall& call, int32_t& node)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return nullptr;
    node = call.node(2);
    if (call.sound) return context;
    call.wrongInputs();
    return nullptr;
}

}  // namespace

int character_node_has_limits(ScriptCall& call)
{
    int32_t node = 0;
    const CharacterContext* context = context_for_node(call, node);
    if (!context) return 0;
    return call.push(rig_has_limits(*context, node));
}

int character_node_get_limits(ScriptCall& call)
{
    int32_t node = 0;
    const CharacterContext* context = context_for_node(call, node);
    if (!context) return 0;
    NodeLimits limits;
    find_node_limits(*context, node, limits);
    int results = call.push(limits.minimum_rad);
    results += call.push(limits.maximum_rad);
    return results + call.push(limits.preRotation);
}

int character_node_get_limits_draw_info(ScriptCall& call)
{
    int32_t node = 0;
    const CharacterContext* context = context_for_node(call, node);
    if (!context) return 0;
    trace_limit_arcs(*context, node, limit_arcs());
    return call.push(limit_arcs().segmentCount);
}

int character_node_get_limits_draw_line(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return 0;
    const LimitArcTable& table = limit_arcs();
    const int32_t place = call.index(2);
    if (place < 0 || place >= table.segmentCount) return call.wrongInputs();
    const LimitSegment& segment = table.segments[place];
    int results = call.push(solver_to_world(*context, segment.start));
    results += call.push(solver_to_world(*context, segment.end));
    results += call.push(segment.colour.red);
    results += call.push(segment.colour.green);
    return results + call.push(segment.colour.blue);
}

}  // namespace script
