#include "plugin/script_debug_lists.h"

#include "contexts/character_context.h"
#include "contexts/script_call.h"
#include "contexts/solver_frame.h"
#include "resources/log.h"

namespace script
{

namespace
{

template <class Entry>
int answer_count(ScriptCall& call, DebugList<Entry> CharacterContext::*list)
{
    const CharacterContext* context = call.requireContext();
    return context ? call.push((context->*list).count) : 0;
}

// The entry that argument 2 names; null when there is no context or no such entry, and the log says which.
template <class Entry>
const Entry* named_entry(ScriptCall& call, const CharacterContext*& context, DebugList<Entry> CharacterContext::*list)
{
    context = call.requireContext();
    if (!context) return nullptr;
    const int32_t place = call.index(2);
    if (place >= 0 && place < (context->*list).count) return &(context->*list).entries[place];
    call.wrongInputs();
    return nullptr;
}

}  // namespace

int character_num_markers(ScriptCall& call) { return answer_count(call, &CharacterContext::debugPoints); }

int character_get_marker_position(ScriptCall& call)
{
    const CharacterContext* context = nullptr;
    const DebugPoint* point = named_entry(call, context, &CharacterContext::debugPoints);
    return point ? call.push(solver_to_world(*context, point->position)) : 0;
}

int character_num_lines(ScriptCall& call) { return answer_count(call, &CharacterContext::debugSegments); }

int character_get_line_position(ScriptCall& call)
{
    const CharacterContext* context = nullptr;
    const DebugSegment* segment = named_entry(call, context, &CharacterContext::debugSegments);
    if (!segment) return 0;
    const bool convert = segment->inUnitFrame != 0;
    const int starts = call.push(convert ? solver_to_world(*context, segment->start) : segment->start);
    return starts + call.push(convert ? solver_to_world(*context, segment->end) : segment->end);
}

int character_dump_effectors(ScriptCall& call)
{
    const CharacterContext* context = call.requireContext();
    if (!context) return 0;
    constexpr struct
    {
        LBXEffectorId effector;
        const char* name;
    } kRows[] = {{LBXEffectorHips, "HipsEffectorId"},
                 {LBXEffectorLeftAnkle, "LeftAnkleEffectorId"},
                 {LBXEffectorRightAnkle, "RightAnkleEffectorId"}};
    for (const auto& row : kRows)
    {
        Vec4 position = kZero4;
        Quat rotation = kIdentityRotation;
        Vec4 scale = kOne4;
        LBXGetEffectorStateTQSfv(context->effectorSet, row.effector, &position.x, &rotation.x, &scale.x);
        log_info("%s: Pos(%f %f %f)", row.name, static_cast<double>(position.x), static_cast<double>(position.y),
                 static_cast<double>(position.z));
    }
    return 0;
}

}  // namespace script
