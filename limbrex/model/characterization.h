// The steps of characterization that other operations repeat.
#pragma once

#include "limbrex/model/character.h"

namespace lbx
{

// Carries every limit record's frame from the node's own space into the stance, and notes the offset from the parent. In place.
void carry_limits_into_stance(LBXCharacter& character);

// What carries a limit record's pre- and post-rotation into the stance: pre becomes pre-part * pre, post becomes post-part * post.
Quat stance_of_pre_rotation(const LBXCharacter& character, int slot);
Quat stance_of_post_rotation(const LBXCharacter& character, int slot);

// Frames, default bounds and rotation orders of all used nodes.
void build_joint_frames(LBXCharacter& character);

// Notes the plain frames of the limb's upper and middle joint and sets the limb up with them.
void set_up_limb(LBXCharacter& character, int limb);
// Brings pre-rotations and bend axis in step with the limb's inverted flag.
void apply_inversion(LBXCharacter& character, int limb);

}  // namespace lbx
