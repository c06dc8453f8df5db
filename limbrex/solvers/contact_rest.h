// Bringing one extremity to rest on its floor: as one stiff piece that is lifted, as one that turns and bends freely, or between the two.
#pragma once

#include "limbrex/solvers/contact.h"

namespace lbx
{

struct ContactOptions
{
    float stiffness;     // 1 stiff, 0 free
    float yielding;      // lever, in rig units, below which a point is lifted rather than turned away
    bool automaticBend;  // toes or fingers also come down to lie on the floor
    int pivot;           // the point that keeps its place along the floor: 1 the end joint, 2 the base; others none
};
ContactOptions contact_options(const LBXPropertySet& properties, const ContactShape& shape, int extremity);

// The piece, in the frame of its floor, with every point that counts on or above the floor. One that touches nothing returns as it came.
ContactPiece rest_on_floor(const ContactShape& shape, const ContactOptions& options, const ContactPiece& piece);

}  // namespace lbx
