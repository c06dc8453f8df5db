// Turns of a limb about its own length: what a knee follows of its foot, what an elbow yields to its hand, and how a twist is handed down.
#pragma once

#include "limbrex/solvers/limb_chain.h"

namespace lbx
{

// How far the middle joint swings about the line from upper joint to end so as to follow the end's wanted orientation: radians, by the realistic
// weight and the end's rotation reach. 0 when kill pitch is in effect.
float realistic_swing(const LimbChain& chain);

// Whether the arm is brought into its plane again and again: realistic arm mode and a forearm limited both ways in twist.
bool settles_forearm_twist(const LimbChain& chain);
// Whether the elbow makes room for the hand: that, and a hand that turns.
bool yields_to_forearm_twist(const LimbChain& chain);
// Swings the elbow by the part of the hand's twist that the forearm's limit does not allow.
void spend_forearm_twist(const LimbChain& chain);

// Ends the solve of a limb without the realistic arm mode: the realistic swing is made, and the twist that aligned the upper joint is taken off the
// lower segment again, about that segment. The end keeps its place and its orientation.
void final_twist(const LimbChain& chain, float swing, Quat kept_turn);

}  // namespace lbx
