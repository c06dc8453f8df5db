// One finger or toe toward a point: the last joint that the rig has is its tip.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

bool has_fingers(const LBXCharacter& character, int extremity);
int finger_joints(const LBXCharacter& character, int extremity, int finger);
// Slot of the tip; -1 without a joint.
int tip_slot(const LBXCharacter& character, int extremity, int finger);
// Sum of the bones from the first joint to the tip, as posed.
float finger_length(const Solve& solve, int extremity, int finger);

// Brings the tip as near the target as lengths and limits allow. Everything below the first joint is current afterwards. A finger whose tip is on the
// target, or that has a single joint, is not touched.
void solve_finger(const Solve& solve, int extremity, int finger, Vec4 target);
// All fingers whose effectors reach, toward them.
void solve_fingers(const Solve& solve, int extremity);

}  // namespace lbx
