// What touches the floor: the sole of a foot, the palm of a hand, as six points that ride on the end joint or on the base of toes or fingers.
//
// Points are lanes: 0 to 3 are the corners of the sole (inner and outer heel, inner and outer ball), 4 and 5 the tips of the toes. Everything here is
// in the frame of the floor, whose plane is y = 0 with y up, unless a name says otherwise.
#pragma once

#include "limbrex/math/point_lanes.h"
#include "limbrex/solvers/solve.h"

namespace lbx
{

// An extremity and everything that is named after it, in the order of the floor contacts: left hand, right hand, left foot, right foot.
struct ContactRow
{
    int32_t node, base;                      // node ids
    int32_t endEffector, extremityEffector;  // effector ids
    int32_t firstTip;                        // effector of the thumb; the other five follow
    bool isFoot, isRight;
    // Property records from here on.
    int32_t enable;
    int32_t bottom, back, middle, front, in, out, size;
    int32_t type, stiffness, automaticBending, pivot;
    int32_t firstTipSize;
    int32_t fingerSolving, fingerContact, fingerContactMode, rollStiffness;
};
extern const std::array<ContactRow, kExtremityCount> kContacts;
inline const ContactRow& contact_row(int extremity) { return kContacts[static_cast<size_t>(extremity)]; }

enum ContactType : int
{
    kContactNormal = 0,  // sole on the end joint, tips on the base
    kContactEnd = 1,     // all on the end joint
    kContactBase = 2,    // all on the base
    kContactHoof = 3     // all on the base, an eighth of a turn round
};

inline float smallest(Vec4 v)
{
    const Vec4 pairs = min4(v, lanes<1, 0, 3, 2>(v));
    return x_of(min4(pairs, lanes<2, 3, 0, 1>(pairs)));
}
inline float largest(Vec4 v) { return -smallest(-v); }

// The points in the frames of the joints that carry them.
struct ContactShape
{
    PointLanes sole;  // 0, 1, 2, 3
    PointLanes tips;  // 4, 5, 4, 5
    bool hasBase;     // the rig has the base of toes or fingers
    bool soleOnBase;
    bool tipsOnBase;
    bool tipsCount;     // otherwise only the sole is held above the floor
    Vec4 across;        // unit, frame of the base: turning about it lifts the tips
    float soleLength;   // back to front
    float frontLength;  // ball to tip
};
ContactShape contact_shape(const LBXCharacter& character, const LBXPropertySet& properties, int extremity);

// The end joint and the base, where they stand or shall stand.
struct ContactPiece
{
    Tqs end;
    Tqs base;  // as the end without a base
};
inline const Tqs& sole_carrier(const ContactShape& shape, const ContactPiece& piece) { return shape.soleOnBase ? piece.base : piece.end; }
inline const Tqs& tips_carrier(const ContactShape& shape, const ContactPiece& piece) { return shape.tipsOnBase ? piece.base : piece.end; }

// T + R (S p), in whatever frame the carrier is given.
PointLanes placed_points(const Tqs& carrier, const PointLanes& local);
// Height of the lowest point that counts.
float lowest_height(const ContactShape& shape, const ContactPiece& piece);
void lift(ContactPiece& piece, float height);

// A floor plane as the effector set has it: its up axis is the y axis of its rotation.
struct FloorFrame
{
    Vec4 t;
    Quat q;
};
FloorFrame floor_frame(const LBXEffectorSet& effectors, int extremity);
inline Vec4 floor_up(const FloorFrame& floor) { return rotate(floor.q, vec4(0.0f, 1.0f, 0.0f)); }
inline float height_above(const FloorFrame& floor, Vec4 point_solver) { return dot3f(point_solver - floor.t, floor_up(floor)); }
inline Tqs to_floor(const FloorFrame& floor, const Tqs& solver)
{
    return {rotate_inverse(floor.q, solver.t - floor.t), quat_mul(conjugate(floor.q), solver.q), solver.s};
}
inline Tqs from_floor(const FloorFrame& floor, const Tqs& placed)
{
    return {floor.t + rotate(floor.q, placed.t), renormalized(quat_mul(floor.q, placed.q)), placed.s};
}

}  // namespace lbx
