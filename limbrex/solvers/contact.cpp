#include "limbrex/solvers/contact.h"

#include "limbrex/limbrex_debug.h"
#include "limbrex/math/float_scope.h"

namespace lbx
{
namespace
{

constexpr ContactRow hand(int extremity)
{
    const bool right = extremity == 1;
    return {right ? LBXNodeRightHand : LBXNodeLeftHand,
            right ? LBXNodeRightFingerBase : LBXNodeLeftFingerBase,
            right ? LBXEffectorRightWrist : LBXEffectorLeftWrist,
            right ? LBXEffectorRightHand : LBXEffectorLeftHand,
            LBXEffectorLeftHandThumb + kFingerCount * extremity,
            false,
            right,
            record::HandFloorContact,
            record::HandBottomToWrist,
            record::HandBackToWrist,
            record::HandMiddleToWrist,
            record::HandFrontToMiddle,
            record::HandInToWrist,
            record::HandOutToWrist,
            record::HandContactSize,
            record::HandContactType,
            record::ParamHandContactStiffness,
            record::AutomaticFingers,
            record::HandFloorPivot,
            right ? record::RightHandThumbTip : record::LeftHandThumbTip,
            record::FingerSolving,
            record::HandFingerContact,
            record::HandFingerContactMode,
            record::ParamHandFingerContactRollStiffness};
}

constexpr ContactRow foot(int extremity)
{
    const bool right = extremity == 3;
    return {right ? LBXNodeRightFoot : LBXNodeLeftFoot,
            right ? LBXNodeRightToeBase : LBXNodeLeftToeBase,
            right ? LBXEffectorRightAnkle : LBXEffectorLeftAnkle,
            right ? LBXEffectorRightFoot : LBXEffectorLeftFoot,
            LBXEffectorLeftHandThumb + kFingerCount * extremity,
            true,
            right,
            record::FloorContact,
            record::FootBottomToAnkle,
            record::FootBackToAnkle,
            record::FootMiddleToAnkle,
            record::FootFrontToMiddle,
            record::FootInToAnkle,
            record::FootOutToAnkle,
            record::ContactSize,
            record::FootContactType,
            record::ParamFootContactStiffness,
            record::AutomaticToes,
            record::FloorPivot,
            right ? record::RightFootThumbTip : record::LeftFootThumbTip,
            record::FingerSolving,
            record::FootFingerContact,
            record::FootFingerContactMode,
            record::ParamFootFingerContactRollStiffness};
}

constexpr std::array<ContactRow, kExtremityCount> kRows = {{hand(0), hand(1), foot(2), foot(3)}};

constexpr bool rows_agree_with_limbs()
{
    for (const LimbRow& limb : kLimbs)
    {
        const ContactRow& row = kRows[static_cast<size_t>(limb.contact)];
        if (row.node != limb.end || row.base != limb.extremity || row.endEffector != limb.endEffector ||
            row.extremityEffector != limb.extremityEffector)
            return false;
    }
    return true;
}
static_assert(rows_agree_with_limbs(), "a limb's contact is that of its own end");
static_assert(record::RightFootExtraFingerTip == record::RightFootThumbTip + kFingerCount - 1, "tip sizes follow one another");
static_assert(record::LeftHandExtraFingerTip == record::LeftHandThumbTip + kFingerCount - 1, "tip sizes follow one another");

constexpr float kLongest = 1e9f;  // its square, and the product of two such, is still a float
constexpr float kHalfRoot = 0.70710677f;
constexpr float kSideways = 0.5f;  // cosine: within 60 degrees of the x axis an extremity points sideways

// Lengths below nothing are nothing.
float length_of(const LBXPropertySet& properties, int32_t property)
{
    return min_of(max_of(value_of(properties, property), 0.0f), kLongest);
}

// Which way a hand points in the stance: +1 along x, -1 against it, 0 forwards as feet and the paws of fore legs do.
int sideways(const LBXCharacter& character, const ContactRow& row)
{
    if (row.isFoot) return 0;
    const int end = slot_of(character, row.node);
    const int base = slot_of(character, row.base);
    const int fore_arm = slot_of(character, row.isRight ? LBXNodeRightForeArm : LBXNodeLeftForeArm);
    const int from = base >= 0 ? end : fore_arm;
    const int to = base >= 0 ? base : end;
    if (from < 0 || to < 0) return 0;
    const float x = x_of(normalize3(stances(character)[to].stance.t - stances(character)[from].stance.t));
    return x > kSideways ? 1 : (x < -kSideways ? -1 : 0);
}

// From "across, up, forward" of the extremity into stance axes.
PointLanes in_stance_axes(const PointLanes& p, int side)
{
    if (side == 0) return p;
    return side > 0 ? PointLanes{p.z, p.y, -p.x} : PointLanes{-p.z, p.y, p.x};
}

PointLanes eighth_turn(const PointLanes& p) { return {(p.x + p.z) * kHalfRoot, p.y, (p.z - p.x) * kHalfRoot}; }

PointLanes shifted(const PointLanes& p, Vec4 by)
{
    return {p.x + lanes<0, 0, 0, 0>(by), p.y + lanes<1, 1, 1, 1>(by), p.z + lanes<2, 2, 2, 2>(by)};
}

}  // namespace

const std::array<ContactRow, kExtremityCount> kContacts = kRows;

ContactShape contact_shape(const LBXCharacter& character, const LBXPropertySet& properties, int extremity)
{
    const ContactRow& row = contact_row(extremity);
    const int end = slot_of(character, row.node);
    const int base = slot_of(character, row.base);
    const int type = rounded_value_of(properties, row.type);
    const float bottom = length_of(properties, row.bottom);
    const float back = length_of(properties, row.back);
    const float middle = length_of(properties, row.middle);
    const float front = length_of(properties, row.front);
    const float side = row.isRight ? -1.0f : 1.0f;
    const float inner = -side * length_of(properties, row.in);
    const float outer = side * length_of(properties, row.out);

    ContactShape shape = {};
    shape.hasBase = base >= 0;
    shape.soleOnBase = shape.hasBase && (type == kContactBase || type == kContactHoof);
    shape.tipsOnBase = shape.hasBase && type != kContactEnd;
    shape.tipsCount = type == kContactNormal;
    shape.soleLength = back + middle + front;
    shape.frontLength = front;
    const Vec4 width = vec4(inner, outer, inner, outer);
    shape.sole = {width, splat(-bottom), vec4(-back, -back, middle, middle)};
    shape.tips = {width, splat(-bottom), splat(middle + front)};
    if (type == kContactHoof && shape.hasBase)
    {
        shape.sole = eighth_turn(shape.sole);
        shape.tips = eighth_turn(shape.tips);
    }
    const int pointing = sideways(character, row);
    shape.sole = in_stance_axes(shape.sole, pointing);
    shape.tips = in_stance_axes(shape.tips, pointing);
    shape.across = pointing == 0 ? vec4(-1.0f, 0.0f, 0.0f) : vec4(0.0f, 0.0f, static_cast<float>(pointing));
    // One sole carried by two joints: its lengths are measured from the end joint, so what the base carries is seen from there in the stance. A foot
    // that stands flat has its tips on the ground with the rest.
    if (shape.tipsOnBase && !shape.soleOnBase)
        shape.tips = shifted(shape.tips, stances(character)[end].stance.t - stances(character)[base].stance.t);
    return shape;
}

PointLanes placed_points(const Tqs& carrier, const PointLanes& local)
{
    Vec4 x;
    Vec4 y;
    Vec4 z;
    quat_axes(carrier.q, x, y, z);
    const Vec4 sx = local.x * lanes<0, 0, 0, 0>(carrier.s);
    const Vec4 sy = local.y * lanes<1, 1, 1, 1>(carrier.s);
    const Vec4 sz = local.z * lanes<2, 2, 2, 2>(carrier.s);
    const auto row = [&](auto pick) { return pick(carrier.t) + pick(x) * sx + pick(y) * sy + pick(z) * sz; };
    return {row([](Vec4 v) { return lanes<0, 0, 0, 0>(v); }), row([](Vec4 v) { return lanes<1, 1, 1, 1>(v); }),
            row([](Vec4 v) { return lanes<2, 2, 2, 2>(v); })};
}

float lowest_height(const ContactShape& shape, const ContactPiece& piece)
{
    const float sole = smallest(placed_points(sole_carrier(shape, piece), shape.sole).y);
    if (!shape.tipsCount) return sole;
    return min_of(sole, smallest(placed_points(tips_carrier(shape, piece), shape.tips).y));
}

void lift(ContactPiece& piece, float height)
{
    const Vec4 by = vec4(0.0f, height, 0.0f);
    piece.end.t += by;
    piece.base.t += by;
}

FloorFrame floor_frame(const LBXEffectorSet& effectors, int extremity)
{
    const Tqs& contact = effectors.floorContacts[extremity];
    return {xyz(min4(max4(contact.t, splat(-kLongest)), splat(kLongest))), normalize_quat(contact.q)};
}

}  // namespace lbx

using namespace lbx;

int LBXDebugGetContactPoints(const LBXCharacter* character, const LBXCharacterState* state, const LBXPropertySet* properties, int contact,
                             float* points24)
{
    const bool known = character && state && properties && points24 && contact >= 0 && contact < kExtremityCount &&
                       state->slotCount == character->slotCount;
    if (!known || !has_node(*character, contact_row(contact).node)) return 0;
    const SolverFloatScope scope;
    const ContactShape shape = contact_shape(*character, *properties, contact);
    const StateNode* nodes = state_nodes(*state);
    const Tqs& end = nodes[slot_of(*character, contact_row(contact).node)].global;
    const ContactPiece piece = {end, shape.hasBase ? nodes[slot_of(*character, contact_row(contact).base)].global : end};
    const PointLanes lanes_of[2] = {placed_points(sole_carrier(shape, piece), shape.sole),
                                    placed_points(tips_carrier(shape, piece), shape.tips)};
    for (size_t group = 0; group < 2; ++group)
    {
        Vec4 p[4] = {lanes_of[group].x, lanes_of[group].y, lanes_of[group].z, zero4()};
        transpose4(p[0], p[1], p[2], p[3]);
        for (size_t i = 0; i < (group == 0 ? 4u : 2u); ++i) store4(points24 + 4 * (4 * group + i), p[i]);
    }
    return shape.tipsCount ? 6 : 4;
}
