#include "limbrex/solvers/limb_passes.h"

#include "limbrex/solvers/limb_extension.h"
#include "limbrex/solvers/limb_plane.h"
#include "limbrex/solvers/limb_twist.h"

namespace lbx
{
namespace
{

// Of the limb's length: an end this near its target stands on it. Bending a nearly straight limb by rounding noise would turn it visibly.
constexpr float kMet = 2e-6f;

BendPlane current_plane(const LimbChain& chain)
{
    return bend_plane(bend_axis(chain), at(chain, chain.upper), at(chain, chain.middle), at(chain, chain.end));
}

// An animated limb may bend beside its axis; a turn about the axis cannot take that out, so it leaves the limb short of its full length. What is still
// missing then is opened in the plane that the two segments span, up to straight. Continuous: it begins with no turn.
void open_beside_axis(const LimbChain& chain, float distance)
{
    const Vec4 upper = at(chain, chain.middle) - at(chain, chain.upper);
    const Vec4 lower = at(chain, chain.end) - at(chain, chain.middle);
    const Vec4 normal = cross3(upper, lower);
    const float a = length3(upper);
    const float b = length3(lower);
    if (length3(upper + lower) >= distance || length3(normal) <= kMet * a * b) return;
    const float straight = a + b;
    const auto bend = [&](float chord) { return acos_approx(clampf((chord * chord - a * a - b * b) / (2.0f * a * b), -1.0f, 1.0f)); };
    const float closing = bend(min_of(distance, straight)) - bend(length3(upper + lower));  // at or below 0
    turn_joint(chain, chain.middle, quat_from_axis_angle(normalize3(normal), closing));
}

// Opens or closes the middle joint about its axis so that the end stands as far from the upper joint as the target does.
void bend_to_distance(const LimbChain& chain, float distance)
{
    const BendPlane plane = current_plane(chain);
    const float square = distance * distance - plane.along * plane.along;
    const float flat = plane.a + plane.b;
    const float chord = min_of(sqrt_scalar(max_of(square, 0.0f)), flat);
    if (plane.a <= 0.0f || plane.b <= 0.0f) return;
    turn_joint(chain, chain.middle, quat_from_axis_angle(plane.axis, plane.angle - interior_angle(plane, chord)));
    if (square > flat * flat) open_beside_axis(chain, distance);
}

// Aim, bend, aim: the two bones bring the end onto a point.
void reach_with_end(const LimbChain& chain, Vec4 target)
{
    const Vec4 root = at(chain, chain.upper);
    const float reach = distance3(at(chain, chain.middle), root) + distance3(at(chain, chain.end), at(chain, chain.middle));
    if (distance3(target, at(chain, chain.end)) <= kMet * reach) return;
    aim_joint(chain, chain.upper, at(chain, chain.end), target);
    bend_to_distance(chain, distance3(target, root));
    aim_joint(chain, chain.upper, at(chain, chain.end), target);
}

// Where the end has to stand so that the extremity, which stands `tail` from it, comes onto its target: that much before it, and beyond the two bones'
// length where the straight limb and the tail make a triangle over the line to the target.
Vec4 end_within_length(const LimbChain& chain, Vec4 target, Vec4 tail)
{
    const Vec4 wanted = target - tail;
    const Vec4 root = at(chain, chain.upper);
    const float length = distance3(at(chain, chain.middle), root) + distance3(at(chain, chain.end), at(chain, chain.middle));
    const float distance = distance3(target, root);
    if (distance3(wanted, root) <= length || distance <= 0.0f || length <= 0.0f) return wanted;
    const Vec4 along = (target - root) * (1.0f / distance);
    const Vec4 beside = normalize3(reject3(wanted - root, along));
    const float cosine = clampf((length * length + distance * distance - length_squared3(tail)) / (2.0f * length * distance), -1.0f, 1.0f);
    return root + (along * cosine + beside * sqrt_scalar(1.0f - cosine * cosine)) * length;
}

// The two bones bring the end onto a point, and it keeps the rotation that it has.
void reach_with_end_held(const LimbChain& chain, Vec4 target)
{
    const Quat orientation = chain.solve.nodes[chain.end].global.q;
    reach_with_end(chain, target);
    chain.solve.nodes[chain.end].global.q = orientation;
    update_local_rotation(chain.solve, chain.end);
    follow(chain, chain.end);
}

Vec4 tail_of(const LimbChain& chain) { return at(chain, chain.extremity) - at(chain, chain.end); }

void aim_end_at_extremity_goal(const LimbChain& chain)
{
    if (chain.extremity < 0 || chain.extremityGoal.reachT <= 0.0f) return;
    const Vec4 tip = at(chain, chain.extremity);
    aim_joint(chain, chain.end, tip, asked_point(chain, tip, chain.extremityGoal.t, chain.extremityGoal.reachT));
}

// The target that a limb softly stops short of as it becomes straight. `tail`: what the end's length adds to the limb's.
Vec4 softened(const LimbChain& chain, int tip, Vec4 target, float tail)
{
    const SoftExtension soft = {chain.maximumExtension, chain.middleGoal.resist, chain.solve.effectors.retargetFlag == 1};
    if (chain.exact || soft.maximumExtension * soft.resist <= 0.0f) return target;
    const float longest = length_at_maximum_extension(chain.solve, chain.record, chain.maximumExtensionAngle) + tail;
    return soften_target(at(chain, chain.upper), at(chain, tip), target, longest, soft);
}

// Opens the middle joint so that the extremity, rigid with the lower segment, stands as far from the upper joint as its target does: the law of
// cosines with the bone from the middle joint to the extremity. Returns where that turn brings the end.
Vec4 end_for_extremity(const LimbChain& chain, Vec4 target)
{
    const Vec4 root = at(chain, chain.upper);
    const BendPlane whole = bend_plane(bend_axis(chain), root, at(chain, chain.middle), at(chain, chain.extremity));
    const float distance = distance3(target, root);
    const float square = distance * distance - whole.along * whole.along;
    const float chord = min_of(sqrt_scalar(max_of(square, 0.0f)), whole.a + whole.b);
    const Quat opening = quat_from_axis_angle(whole.axis, whole.angle - interior_angle(whole, chord));
    return at(chain, chain.middle) + rotate(opening, at(chain, chain.end) - at(chain, chain.middle));
}

}  // namespace

void end_pass(const LimbChain& chain)
{
    const Vec4 target = asked_point(chain, at(chain, chain.end), softened(chain, chain.end, chain.endGoal.t, 0.0f), chain.endGoal.reachT);
    reach_with_end(chain, target);
    turn_plane_to_middle_goal(chain);
    for (int again = 0; again < 2 && settles_forearm_twist(chain); ++again)
    {
        align_bend_plane(chain, chain.intoPlane);
        if (yields_to_forearm_twist(chain)) spend_forearm_twist(chain);
        reach_with_end(chain, target);
        turn_plane_to_middle_goal(chain);
    }
    orient_joint(chain, chain.end, chain.endGoal, false);
    aim_end_at_extremity_goal(chain);
}

void middle_pass(const LimbChain& chain)
{
    const Vec4 middle_target = asked_point(chain, at(chain, chain.middle), chain.middleGoal.t, chain.middleGoal.reachT);
    // The end travels with the middle joint, so that the lower segment keeps its direction, and toward its own goal as far as it reaches.
    const Vec4 carried = at(chain, chain.end) + (middle_target - at(chain, chain.middle));
    const Vec4 end_target = lerp4(carried, chain.endGoal.t, chain.endGoal.reachT);
    const Vec4 root = at(chain, chain.upper);

    aim_joint(chain, chain.upper, at(chain, chain.middle), middle_target);
    bend_to_distance(chain, distance3(end_target, root));
    // The middle joint stands on its target; what is left is a twist about the upper segment, which brings the end toward its own.
    turn_end_about_upper(chain, end_target);
    orient_joint(chain, chain.end, chain.endGoal, false);
    aim_end_at_extremity_goal(chain);
}

// A hand goes along with the forearm. A foot stands across its shin: carried along, its toes would first swing away from the hip as the knee opens, so that
// a straight leg could come nearer only by a knee bent at once, by twice the angle that they stand ahead. It keeps its slope, and the ankle takes the bend.
void extremity_pass(const LimbChain& chain)
{
    const Vec4 root = at(chain, chain.upper);
    const float tail = distance3(at(chain, chain.extremity), at(chain, chain.end));
    orient_joint(chain, chain.end, chain.endGoal, false);
    const Vec4 goal = softened(chain, chain.extremity, chain.extremityGoal.t, tail);
    const Vec4 target = asked_point(chain, at(chain, chain.extremity), goal, chain.extremityGoal.reachT);

    if (distance3(target, at(chain, chain.extremity)) > kMet * (tail + distance3(at(chain, chain.end), root)))
    {
        aim_joint(chain, chain.upper, at(chain, chain.extremity), target);
        if (chain.leg)
            reach_with_end_held(chain, end_within_length(chain, target, tail_of(chain)));
        else
        {
            bend_to_distance(chain, distance3(end_for_extremity(chain, target), root));
            aim_joint(chain, chain.upper, at(chain, chain.extremity), target);
        }
    }
    turn_plane_to_middle_goal(chain);
    if (chain.endGoal.reachR > 0.0f)
    {
        // Turning the end to its goal has moved the extremity off its own: the two bones bring it back with the end's orientation held.
        orient_joint(chain, chain.end, chain.endGoal, false);
        reach_with_end_held(chain, target - tail_of(chain));
    }
    aim_joint(chain, chain.end, at(chain, chain.extremity), target);
}

}  // namespace lbx
