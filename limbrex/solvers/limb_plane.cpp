#include "limbrex/solvers/limb_plane.h"

namespace lbx
{
namespace
{

// Cosines between which a turn of the plane fades out: a nearly straight limb has no plane to speak of.
struct Fade
{
    float begins, ends;
};
constexpr Fade kAlignmentFade = {0.8660254f, 0.9659258f};   // 30 and 15 degrees between the segments
constexpr Fade kPlaneTurnFade = {0.9396926f, 0.99939082f};  // 20 and 2 degrees between the upper segment and the line to the end

// 0 keeps the whole turn, 1 removes it.
float fade_of(const Fade& fade, Vec4 a, Vec4 b)
{
    const float k = dot3f(normalize3(a), normalize3(b));
    const float s = clamp01((k - fade.begins) / (fade.ends - fade.begins));
    return (3.0f - 2.0f * s) * s * s;
}

}  // namespace

void unbend(const LimbChain& chain, float weight)
{
    const Vec4 n = bend_axis(chain);
    const Vec4 u = reject3(at(chain, chain.middle) - at(chain, chain.upper), n);
    const Vec4 l = reject3(at(chain, chain.end) - at(chain, chain.middle), n);
    if (dot3f(cross3(u, l), n) >= 0.0f) return;
    turn_joint(chain, chain.middle, faded_turn(shortest_arc(l, u), 1.0f - weight));
}

Quat align_bend_plane(const LimbChain& chain, float weight)
{
    const Vec4 u = at(chain, chain.middle) - at(chain, chain.upper);
    const Vec4 l = at(chain, chain.end) - at(chain, chain.middle);
    const Vec4 wanted = reject3(bend_axis(chain), normalize3(u));
    const float kept = (1.0f - fade_of(kAlignmentFade, u, l)) * weight;
    const Quat turn = faded_turn(shortest_arc(cross3(u, l), wanted), 1.0f - kept);
    turn_joint(chain, chain.upper, turn);
    return turn;
}

void turn_plane_to_middle_goal(const LimbChain& chain)
{
    if (chain.middleGoal.reachT <= 0.0f) return;
    const Vec4 root = at(chain, chain.upper);
    const Vec4 a = at(chain, chain.end) - root;
    const Vec4 b = at(chain, chain.middle) - root;
    const Vec4 c = lerp4(at(chain, chain.middle), chain.middleGoal.t, chain.middleGoal.reachT) - root;
    turn_joint(chain, chain.upper, faded_turn(shortest_arc(cross3(b, a), cross3(c, a)), fade_of(kPlaneTurnFade, a, b)));
}

void turn_end_about_upper(const LimbChain& chain, Vec4 end_target)
{
    const Vec4 root = at(chain, chain.upper);
    const Vec4 upper = at(chain, chain.middle) - root;
    const Vec4 along = normalize3(upper);
    const Vec4 to_end = at(chain, chain.end) - root;
    const Quat turn = shortest_arc(reject3(to_end, along), reject3(end_target - root, along));
    turn_joint(chain, chain.upper, faded_turn(turn, fade_of(kPlaneTurnFade, to_end, upper)));
}

void swing_middle(const LimbChain& chain, float angle)
{
    const Vec4 line = normalize3(at(chain, chain.end) - at(chain, chain.upper));
    const Quat orientation = chain.solve.nodes[chain.end].global.q;
    turn_joint(chain, chain.upper, quat_from_axis_angle(line, angle));
    chain.solve.nodes[chain.end].global.q = orientation;
    update_local_rotation(chain.solve, chain.end);
    follow(chain, chain.end);
}

}  // namespace lbx
