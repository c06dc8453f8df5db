// A character as lines in the world: where its solver frame stands, the pose before and after the solve, its goals and how hard they act.
// Drawing reads the context and changes nothing; whether rigs are drawn at all is the caller's question. Nothing is drawn for an engine without
// a line service.
#pragma once

struct CharacterContext;

enum class RigMoment
{
    Intermediate,  // after a solve in the middle of the stack: the solved pose and the goals it went for
    Final,         // with the pose from before the constraints beneath
};

void draw_rig(const CharacterContext& context, RigMoment moment);
void draw_root_frame(const CharacterContext& context);
