// Finger and toe tips on the floor.
#pragma once

#include "limbrex/solvers/contact.h"

namespace lbx
{

// Where the tips stood before the extremity was brought to rest: what a reaching finger holds on to.
struct TipPlaces
{
    Vec4 at[kFingerCount];  // solver frame
};
TipPlaces tip_places(const Solve& solve, int extremity);

// Solves the fingers of an extremity in place so that their tips stand on or above the floor.
void contact_fingers(const Solve& solve, int extremity, const TipPlaces& before);

}  // namespace lbx
