#include "limbrex/solvers/contact_rest.h"

namespace lbx
{
namespace
{

constexpr int kSteps = 4;
constexpr int kPivotEnd = 1;
constexpr int kPivotBase = 2;
constexpr float kYieldingShare = 0.25f;  // of the sole's length
constexpr float kFrontYielding = 0.5f;   // of the front's length
// Of the first step's turn: all that the four may turn together. A turn that lengthens its own lever asks for more in the next step, and without this
// a hair would decide whether a steep foot falls flat.
constexpr float kFollowUp = 2.0f;
constexpr float kLargestTurn = 0.785f;  // radians
constexpr float kLargestBend = 1.2f;    // radians that toes or fingers give way upwards
constexpr float kLargestDroop = 0.5f;   // and downwards
constexpr float kTiptoe = -1.0f;        // radians below straight ahead: from here on toes that point down further give way less,
constexpr float kOnTheTips = -2.1f;     // and from here on not at all, so that a foot which leaves the floor rolls over them
constexpr float kRestShare = 0.25f;     // of the front's length: height of the ball at which the toes leave the floor with it

float smooth_step(float x)
{
    const float s = clamp01(x);
    return (3.0f - 2.0f * s) * s * s;
}

float depth_of(const ContactShape& shape, const ContactPiece& piece) { return max_of(-lowest_height(shape, piece), 0.0f); }

// How far to turn about a unit axis through `centre` to raise each point by its depth: the least-squares share of the turn against a lift, so that
// points straight above or below the centre, which no turn would raise, ask for none. No more than what a depth of `yielding` asks for at a time: what
// lies deep would turn by much for a little of a lever.
Vec4 asked_turns(const PointLanes& points, Vec4 centre, Vec4 axis, float yielding)
{
    // Height gained per radian: the y component of axis x (point - centre).
    const Vec4 lever =
        lanes<2, 2, 2, 2>(axis) * (points.x - lanes<0, 0, 0, 0>(centre)) - lanes<0, 0, 0, 0>(axis) * (points.z - lanes<2, 2, 2, 2>(centre));
    const Vec4 useful = max4(lever, zero4());
    const Vec4 square = useful * useful + splat(yielding * yielding);
    const Vec4 depth = min4(max4(-points.y, zero4()), splat(yielding));
    const Vec4 asked = depth * useful / max4(square, splat(1e-30f));
    return and4(asked, less4(zero4(), square));
}

// The joint that carries the sole, and the other one, which keeps its place relative to it.
struct Linked
{
    ContactPiece& piece;
    bool soleOnBase;
    Tqs relative;
    Tqs& mover() const { return soleOnBase ? piece.base : piece.end; }
    Tqs& rider() const { return soleOnBase ? piece.end : piece.base; }
    void bring_rider() const { global_from_local(rider(), relative, mover()); }
};

Linked link(const ContactShape& shape, ContactPiece& piece)
{
    Linked linked = {piece, shape.soleOnBase, tqs_identity()};
    local_from_global(linked.relative, linked.rider(), linked.mover());
    return linked;
}

struct Tilt
{
    Vec4 axis;    // turning about it brings the sole's normal upright
    float angle;  // 0 to pi
};
Tilt tilt_of(Quat sole)
{
    const Vec4 up = vec4(0.0f, 1.0f, 0.0f);
    const Vec4 normal = rotate(sole, up);
    const Vec4 cross = cross3(normal, up);
    return {normalize3(cross), atan2_approx(length3(cross), y_of(normal))};
}

// A sole turns until it is flat. One that is tilted further than the largest turn does so less and less, and from three times that not at all: it faces
// away from the floor, and which way round it should turn would be noise.
float allowed_turn(float tilt) { return min_of(tilt, max_of(1.5f * kLargestTurn - 0.5f * tilt, 0.0f)); }

// What the points on the sole ask of the joint that carries it. Tips that have a hinge of their own give way there: a heel that lifts over toes which
// stay on the floor would be pressed down again by them otherwise.
float asked_end_turn(const ContactShape& shape, const ContactOptions& options, const Linked& linked, const Tilt& tilt)
{
    const Tqs& mover = linked.mover();
    const Vec4 asked = asked_turns(placed_points(mover, shape.sole), mover.t, tilt.axis, options.yielding);
    if (!shape.tipsCount || shape.hasBase) return largest(asked);
    const PointLanes tips = placed_points(mover, shape.tips);
    return largest(max4(asked, asked_turns(tips, mover.t, tilt.axis, options.yielding)));
}

// Turns the end about itself toward lying flat, as far as its deepest points ask for, then lifts it until the sole is clear. The turn is judged at the
// height that the end came with: it undoes what an earlier step had to lift only because it had not turned yet. Returns the turn that is left.
float end_contact_step(const ContactShape& shape, const ContactOptions& options, const Linked& linked, float height, float allowed)
{
    Tqs& mover = linked.mover();
    mover.t = vec4(x_of(mover.t), height, z_of(mover.t));
    linked.bring_rider();
    const Tilt tilt = tilt_of(mover.q);
    const float turn = min_of(asked_end_turn(shape, options, linked, tilt), min_of(tilt.angle, allowed));
    mover.q = normalize_quat(quat_mul(quat_from_axis_angle(tilt.axis, turn), mover.q));
    const float depth = max_of(largest(-placed_points(mover, shape.sole).y), 0.0f);
    mover.t += vec4(0.0f, depth, 0.0f);
    linked.bring_rider();
    return allowed - turn;
}

void end_contact(const ContactShape& shape, const ContactOptions& options, const Linked& linked)
{
    const float height = y_of(linked.mover().t);
    const Tilt tilt = tilt_of(linked.mover().q);
    float allowed = min_of(allowed_turn(tilt.angle), kFollowUp * asked_end_turn(shape, options, linked, tilt));
    for (int step = 0; step < kSteps; ++step) allowed = end_contact_step(shape, options, linked, height, allowed);
}

// How far the tips may come down to lie on the floor: all the way while the ball rests on it, not at all once that has left.
float asked_droop(const ContactShape& shape, const ContactPiece& piece, const PointLanes& tips, Vec4 axis, float yielding)
{
    const float lowest = smallest(tips.y);
    if (shape.frontLength <= 0.0f || lowest <= 0.0f) return 0.0f;
    const Vec4 sole = placed_points(piece.end, shape.sole).y;
    const float ball = max_of(min_of(lane<2>(sole), lane<3>(sole)), 0.0f);
    const float resting = 1.0f - smooth_step(ball / (kRestShare * shape.frontLength));
    // What would raise tips that deep would lower tips that high.
    const PointLanes mirrored = {tips.x, -tips.y, tips.z};
    return resting * smallest(asked_turns(mirrored, piece.base.t, axis, yielding));
}

// How far the hinge of the tips has to bend to set each tip that is below the floor onto it. A tip travels on a circle about the hinge, at the height
// `centre` + radius * sin(angle), with angle 0 straight ahead. One that points down steeply is asked for less and less: past straight down it would have
// to go deeper first, and where it leaves the floor behind, it asks for none.
Vec4 asked_bends(const PointLanes& tips, Vec4 hinge, Vec4 axis)
{
    const Vec4 x = tips.x - lanes<0, 0, 0, 0>(hinge);
    const Vec4 y = tips.y - lanes<1, 1, 1, 1>(hinge);
    const Vec4 z = tips.z - lanes<2, 2, 2, 2>(hinge);
    const Vec4 ax = lanes<0, 0, 0, 0>(axis);
    const Vec4 ay = lanes<1, 1, 1, 1>(axis);
    const Vec4 az = lanes<2, 2, 2, 2>(axis);
    const Vec4 rise = y - ay * (ax * x + ay * y + az * z);
    const Vec4 lever = az * x - ax * z;
    const Vec4 centre = tips.y - rise;
    const Vec4 radius = max4(sqrt4(rise * rise + lever * lever), splat(1e-9f));
    const Vec4 wanted = asin4(min4(max4(-centre / radius, splat(-1.0f)), splat(1.0f)));
    const Vec4 current = atan2_4(rise, lever);
    const Vec4 past = (current + splat(kPi) + min4(wanted, zero4())) * (splat(1.0f) + max4(wanted, zero4()) * splat(1.0f / kHalfPi));
    const Vec4 give = min4(max4((current - splat(kOnTheTips)) * splat(1.0f / (kTiptoe - kOnTheTips)), zero4()), splat(1.0f));
    return max4(min4(wanted - current, past), zero4()) * give;
}

// What the tips ask of their own hinge, up from the floor and, when they bend by themselves, down onto it.
float asked_bend(const ContactShape& shape, const ContactOptions& options, const ContactPiece& piece, Vec4 axis)
{
    const PointLanes tips = placed_points(piece.base, shape.tips);
    const float up = largest(asked_bends(tips, piece.base.t, axis));
    return options.automaticBend ? up - asked_droop(shape, piece, tips, axis, kFrontYielding * shape.frontLength) : up;
}

struct BendRange
{
    float down, up;  // what is left of it
};

void extremity_contact_step(const ContactShape& shape, const ContactOptions& options, ContactPiece& piece, BendRange& range)
{
    const Vec4 axis = rotate(piece.base.q, shape.across);
    const float bend = clampf(asked_bend(shape, options, piece, axis), range.down, range.up);
    piece.base.q = normalize_quat(quat_mul(quat_from_axis_angle(axis, bend), piece.base.q));
    range = {range.down - bend, range.up - bend};
}

void extremity_contact(const ContactShape& shape, const ContactOptions& options, ContactPiece& piece)
{
    const float asked = asked_bend(shape, options, piece, rotate(piece.base.q, shape.across));
    BendRange range = {max_of(-kLargestDroop, kFollowUp * min_of(asked, 0.0f)), min_of(kLargestBend, max_of(asked, 0.0f))};
    for (int step = 0; step < kSteps; ++step) extremity_contact_step(shape, options, piece, range);
}

ContactPiece stiff_solution(const ContactShape& shape, ContactPiece piece)
{
    lift(piece, depth_of(shape, piece));
    return piece;
}

Vec4 pivot_point(const ContactShape& shape, const ContactOptions& options, const ContactPiece& piece)
{
    return options.pivot == kPivotBase && shape.hasBase ? piece.base.t : piece.end.t;
}

ContactPiece free_solution(const ContactShape& shape, const ContactOptions& options, ContactPiece piece)
{
    const bool rigid = !shape.soleOnBase;
    const Vec4 held = pivot_point(shape, options, piece);
    end_contact(shape, options, link(shape, piece));
    if (rigid && shape.hasBase && shape.tipsCount) extremity_contact(shape, options, piece);
    if (rigid && (options.pivot == kPivotEnd || options.pivot == kPivotBase))
    {
        const Vec4 back = (held - pivot_point(shape, options, piece)) * vec4(1.0f, 0.0f, 1.0f);
        piece.end.t += back;
        piece.base.t += back;
    }
    lift(piece, depth_of(shape, piece));  // what no bend reached
    return piece;
}

Tqs blended(const Tqs& from, const Tqs& to, float weight)
{
    return {lerp4(from.t, to.t, weight), quat_blend(from.q, to.q, weight), from.s};
}

}  // namespace

ContactOptions contact_options(const LBXPropertySet& properties, const ContactShape& shape, int extremity)
{
    const ContactRow& row = contact_row(extremity);
    const float size = clampf(value_of(properties, row.size) * 0.01f, 0.0f, 10.0f);  // percent
    return {clamp01(value_of(properties, row.stiffness)), kYieldingShare * shape.soleLength * size,
            mode_of(properties, row.automaticBending) != 0, rounded_value_of(properties, row.pivot)};
}

ContactPiece rest_on_floor(const ContactShape& shape, const ContactOptions& options, const ContactPiece& piece)
{
    const bool may_droop = options.automaticBend && options.stiffness < 1.0f && shape.tipsCount && shape.hasBase;
    const float in_touch = may_droop ? kRestShare * shape.frontLength : 0.0f;
    if (lowest_height(shape, piece) >= in_touch) return piece;
    if (options.stiffness >= 1.0f) return stiff_solution(shape, piece);
    if (options.stiffness <= 0.0f) return free_solution(shape, options, piece);
    const ContactPiece stiff = stiff_solution(shape, piece);
    const ContactPiece yielded = free_solution(shape, options, piece);
    const float weight = 1.0f - options.stiffness;
    ContactPiece rested = {blended(stiff.end, yielded.end, weight), blended(stiff.base, yielded.base, weight)};
    if (!shape.soleOnBase && shape.hasBase)
    {
        // The bone between them keeps its length, which a blend of its two ends would not.
        Tqs relative = tqs_identity();
        local_from_global(relative, piece.base, piece.end);
        rested.base.t = rested.end.t + rotate(rested.end.q, relative.t);
    }
    lift(rested, depth_of(shape, rested));  // a blend of two turns reaches a little below the blend of their heights
    return rested;
}

}  // namespace lbx
