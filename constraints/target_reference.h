// What a head looks at or a hand aims at: a point of the world, or an effector of a character (also one's own). A unit is remembered by its
// reference and its context looked up in every frame, since unit and context may be deleted and declared anew at any time.
#pragma once

#include "contexts/character_context.h"
#include "contexts/script_call.h"

struct TargetReference
{
    uint32_t unitRef = 0;  // 0: none
    int32_t effector = -1;
    Vec4 position = kZero4;       // world
    bool useRawPosition = false;  // the position counts although there is a unit

    bool isPosition() const { return unitRef == 0 || useRawPosition; }
};

// A target for one frame. `context` is null for a position.
struct FrameTarget
{
    CharacterContext* context;
    int32_t effector;
    Vec4 position_world;

    // Where it is now. A character may be its own target, so its goals may move while they are read.
    Vec4 point_world() const;
};

// False when there is nothing to follow in this frame: the unit or its context is gone, not yet evaluated, or its rig does not fit.
bool find_target(const TargetReference& reference, FrameTarget& target);

// Reads the unit or nil at `argument`. True with the unit's reference, or 0 for none; false for a unit that is no character.
bool read_target_unit(const ScriptCall& call, int argument, uint32_t& unit_ref);

// A number, as scripts give the effector of a target; its fraction is dropped. An effector that does not exist makes the call unsound.
int32_t read_target_effector(ScriptCall& call, int argument);

// The unit and effector at two consecutive arguments of a push. False for a unit that is no character; the log says so, and what to do instead to
// `verb` ("look", "aim") at it.
bool read_pushed_target(ScriptCall& call, int argument, const char* verb, TargetReference& target);

// Draws the target and a line to it.
void draw_target(const CharacterContext& context, Vec4 from_world, Vec4 target_world);
