#include "limbrex/solvers/fingers.h"

#include "limbrex/solvers/contact.h"
#include "limbrex/solvers/stages.h"

namespace lbx
{
namespace
{

constexpr float kNoTurn = 1e-4f;      // sine of half an angle: below it the axis is noise
constexpr float kMet = 1e-5f;         // of the finger's length: a tip this near its target stands on it
constexpr float kOpenBase = -45.0f;   // degrees: the base of a finger that folds further opens to let the tip travel
constexpr float kOpening = 3.0f;      // of the way that is left, in finger lengths
constexpr float kTurnsOver = 45.0f;   // degrees before half a turn, where the angle's sign is about to flip
constexpr float kLargestCurl = 2.0f;  // radians that a joint folds
constexpr float kBackwards = 0.03f;   // radians that a joint is bent backwards by when it folds no more
constexpr int kSweeps = 4;
constexpr int kRootSteps = 12;

struct FingerChain
{
    const Solve& solve;
    int slots[kFingerJointCount];
    int count;
    float length;
    int tip() const { return slots[count - 1]; }
    Vec4 at(int joint) const { return solve.nodes[slots[joint]].global.t; }
};

FingerChain finger_chain(const Solve& solve, int extremity, int finger)
{
    FingerChain chain = {solve, {}, finger_joints(solve.character, extremity, finger), 0.0f};
    for (int joint = 0; joint < chain.count; ++joint) chain.slots[joint] = slot_of(solve, finger_node(extremity, finger, joint + 1));
    for (int joint = 1; joint < chain.count; ++joint) chain.length += distance3(chain.at(joint), chain.at(joint - 1));
    return chain;
}

void follow(const FingerChain& chain, int joint)
{
    for (int below = joint + 1; below < chain.count; ++below) update_global(chain.solve, chain.slots[below]);
}

void turn(const FingerChain& chain, int joint, Quat by)
{
    if (turn_node(chain.solve, chain.slots[joint], by)) follow(chain, joint);
}

void aim(const FingerChain& chain, int joint, Vec4 target)
{
    const Vec4 from = chain.at(joint);
    turn(chain, joint, shortest_arc(chain.at(chain.count - 1) - from, target - from));
}

// A base that is folded further than the bound opens toward it, the more the further the tip has to travel.
void open_base(const FingerChain& chain, float distance)
{
    const int slot = chain.slots[0];
    const LimitRecord* limit = limit_of_slot(chain.solve.character, slot);
    const JointFrame& frame = limit != nullptr ? limit->joint : chain.solve.records[slot].joint;
    StateNode& node = chain.solve.nodes[slot];
    const Vec4 angles = angles_from_rotation(frame, node.local.q);
    const float bound = kOpenBase * kDegToRad;
    const float fold = z_of(angles);
    if (!(fold < bound)) return;
    // Angles flip their signs at half a turn of the fold and at a quarter turn of the swing beside it.
    const float swing = y_of(angles) < 0.0f ? -y_of(angles) : y_of(angles);
    const float margin = kTurnsOver * kDegToRad;
    const float trust = clamp01((fold + kPi) / margin) * clamp01((kHalfPi - swing) / margin);
    const float share = clamp01(kOpening * distance / chain.length) * trust;
    if (share <= 0.0f) return;
    const Vec4 opened = vec4(x_of(angles), y_of(angles), fold + (bound - fold) * share);
    node.local.q = normalize_quat(rotation_from_angles(frame, opened));
    update_global(chain.solve, slot);
    enforce_limit(chain.solve, slot);
    follow(chain, 0);
}

// The axis that a joint curls about, in its stored frame: in the stance palms and soles face down, and fingers that hang curl backwards.
Vec4 curl_axis(const FingerChain& chain, int joint)
{
    const CharacterizationEntry* stance = stances(chain.solve.character);
    const Vec4 bone = normalize3(stance[chain.slots[joint + 1]].stance.t - stance[chain.slots[joint]].stance.t);
    const bool hangs = y_of(bone) > 0.9f || y_of(bone) < -0.9f;
    return normalize3(cross3(bone, hangs ? vec4(0.0f, 0.0f, -1.0f) : vec4(0.0f, -1.0f, 0.0f)));
}

// The joints above the base, each with its axis in the solver frame and its bend about it.
struct Curls
{
    Vec4 axis[kFingerJointCount];
    float bend[kFingerJointCount];
    // Amount -1 straightens every joint, 1 folds it as far as it goes. A joint that bends backwards would first straighten and then fold over to the other
    // side, so it takes no part in folding.
    float turn_of(int joint, float amount) const
    {
        const float folds = max_of(kLargestCurl - bend[joint], 0.0f) * clamp01(1.0f + bend[joint] / kBackwards);
        return amount * (amount < 0.0f ? bend[joint] : folds);
    }
};

Curls curls_of(const FingerChain& chain)
{
    Curls curls = {};
    for (int joint = 1; joint + 1 < chain.count; ++joint)
    {
        const Vec4 axis = rotate(chain.solve.nodes[chain.slots[joint]].global.q, curl_axis(chain, joint));
        const Vec4 before = reject3(chain.at(joint) - chain.at(joint - 1), axis);
        const Vec4 after = reject3(chain.at(joint + 1) - chain.at(joint), axis);
        curls.axis[joint] = axis;
        curls.bend[joint] = atan2_approx(dot3f(cross3(before, after), axis), dot3f(before, after));
    }
    return curls;
}

// Distance from base to tip when every joint between them is curled by an amount.
float curled_distance(const FingerChain& chain, const Curls& curls, float amount)
{
    Vec4 tip = chain.at(chain.count - 1);
    for (int joint = chain.count - 2; joint >= 1; --joint)
    {
        const Quat by = quat_from_axis_angle(curls.axis[joint], curls.turn_of(joint, amount));
        tip = chain.at(joint) + rotate(by, tip - chain.at(joint));
    }
    return distance3(tip, chain.at(0));
}

// The amount between none and `limit` at which the tip is as far from the base as the target, by false position; the nearer end when none is.
float curl_amount(const FingerChain& chain, const Curls& curls, float wanted, float limit)
{
    float a = 0.0f;
    float b = limit;
    float at_a = curled_distance(chain, curls, a) - wanted;
    float at_b = curled_distance(chain, curls, b) - wanted;
    const float near_enough = kMet * chain.length;
    if (at_a * at_b >= 0.0f) return (at_b < 0.0f ? -at_b : at_b) < (at_a < 0.0f ? -at_a : at_a) ? b : a;
    for (int step = 0; step < kRootSteps; ++step)
    {
        const float c = a + (b - a) * (at_a / (at_a - at_b));
        const float at_c = curled_distance(chain, curls, c) - wanted;
        if (at_c < near_enough && at_c > -near_enough) return c;
        if (at_c * at_b < 0.0f)
        {
            a = b;
            at_a = at_b;
        }
        else { at_a *= 0.5f; }
        b = c;
        at_b = at_c;
    }
    return b;
}

void curl_to_distance(const FingerChain& chain, float wanted)
{
    const Curls curls = curls_of(chain);
    const float current = distance3(chain.at(chain.count - 1), chain.at(0));
    const float amount = curl_amount(chain, curls, wanted, wanted > current ? -1.0f : 1.0f);
    if (amount == 0.0f) return;
    float turns[kFingerJointCount] = {};
    for (int joint = 1; joint + 1 < chain.count; ++joint) turns[joint] = curls.turn_of(joint, amount);
    // From the tip inwards each joint still stands where its axis was taken.
    for (int joint = chain.count - 2; joint >= 1; --joint) turn(chain, joint, quat_from_axis_angle(curls.axis[joint], turns[joint]));
}

bool met(const FingerChain& chain, Vec4 target) { return distance3(chain.at(chain.count - 1), target) <= kMet * chain.length; }

// A finger whose effector is asked for a rotation curls: every joint up to the one that the effector turns with takes an equal share of the turn.
void curl_finger(const Solve& solve, int extremity, int finger, Quat rotation, float reach)
{
    const FingerChain chain = finger_chain(solve, extremity, finger);
    const int sharing = turning_finger_joint(chain.count);
    const Quat current = solve.nodes[chain.slots[sharing - 1]].global.q;
    const Quat whole = turn_between(current, quat_blend(current, rotation, reach));
    if (length3(whole) <= kNoTurn) return;
    const Quat facing = whole * sign_one(lanes<3, 3, 3, 3>(whole));
    const float half_angle = atan2_approx(length3(facing), w_of(facing));
    const Quat share = quat_from_axis_half_angle(normalize3(facing), half_angle / static_cast<float>(sharing));
    for (int joint = 0; joint < sharing; ++joint) turn(chain, joint, share);
    update_descendants(solve, chain.slots[0]);
}

}  // namespace

bool has_fingers(const LBXCharacter& character, int extremity)
{
    for (int finger = 0; finger < kFingerCount; ++finger)
        if (character.fingerJointCount[extremity][finger] > 0) return true;
    return false;
}

int finger_joints(const LBXCharacter& character, int extremity, int finger) { return character.fingerJointCount[extremity][finger]; }

int tip_slot(const LBXCharacter& character, int extremity, int finger)
{
    const int joints = finger_joints(character, extremity, finger);
    return joints > 0 ? slot_of(character, finger_node(extremity, finger, joints)) : -1;
}

float finger_length(const Solve& solve, int extremity, int finger) { return finger_chain(solve, extremity, finger).length; }

void solve_finger(const Solve& solve, int extremity, int finger, Vec4 target)
{
    const FingerChain chain = finger_chain(solve, extremity, finger);
    if (chain.count < 2 || chain.length <= 0.0f || met(chain, target)) return;
    if (chain.count == 2)
        aim(chain, 0, target);
    else
    {
        open_base(chain, distance3(chain.at(chain.count - 1), target));
        curl_to_distance(chain, distance3(target, chain.at(0)));
        for (int sweep = 0; sweep < kSweeps && !met(chain, target); ++sweep)
            for (int joint = 0; joint + 1 < chain.count; ++joint) aim(chain, joint, target);
    }
    update_descendants(solve, chain.slots[0]);
}

void solve_fingers(const Solve& solve, int extremity)
{
    const ContactRow& row = contact_row(extremity);
    if (mode_of(solve.properties, row.fingerSolving) != 1) return;
    for (int finger = 0; finger < kFingerCount; ++finger)
    {
        const int effector = row.firstTip + finger;
        const int tip = tip_slot(solve.character, extremity, finger);
        if (tip < 0) continue;
        const float reach_r = weight_of<kReachR>(solve.effectors, effector);
        if (reach_r > 0.0f) curl_finger(solve, extremity, finger, solve.effectors.targets[effector].q, reach_r);
        const float reach = weight_of<kReachT>(solve.effectors, effector);
        if (reach > 0.0f) solve_finger(solve, extremity, finger, lerp4(position(solve, tip), goal_point(solve.effectors, effector), reach));
    }
}

void fingers_stage(const Solve& solve)
{
    struct Turn
    {
        uint32_t bit;
        int extremity;
    };
    static constexpr Turn kOrder[] = {{LBXSolvingStepLeftFootToes, 2},
                                      {LBXSolvingStepRightFootToes, 3},
                                      {LBXSolvingStepLeftHandFingers, 0},
                                      {LBXSolvingStepRightHandFingers, 1}};
    for (const Turn& turn : kOrder)
        if (solve.mask & turn.bit) solve_fingers(solve, turn.extremity);
}

}  // namespace lbx
