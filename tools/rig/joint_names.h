// What a joint's name says: which side of the body, and which part of it.
//
// Conventions differ in separators (LeftUpLeg, thigh_l, "Bip01 L Thigh", lShldr), in where the side stands and in the word for a
// part; a few words mean one joint in one convention and its neighbour in another (a "shoulder" is a collar bone or the upper arm). A
// label keeps such words as ambiguous parts; the mapping decides them by the other joints of the same limb.
#pragma once

#include <string>
#include <string_view>

namespace limbrex_tools
{

enum class Side
{
    None,
    Left,
    Right,
};

enum class Part
{
    Unknown,
    Helper,  // carries other joints or tools, never a part of the body: hip joint spacers, IK handles
    Hips,
    Hip,  // the hips without a side, the thigh with one
    Spine,
    Neck,
    Head,
    Collar,
    Shoulder,  // collar bone, or upper arm where no other joint is called the arm
    UpperArm,
    Arm,  // the upper arm unless another joint is called the upper arm
    LowerArm,
    Hand,
    FingerBase,
    UpperLeg,
    Leg,  // the lower leg where a thigh is named, else the upper one
    LowerLeg,
    Foot,
    Toe,
    Finger,
};

struct JointLabel
{
    Side side = Side::None;
    Part part = Part::Unknown;
    int finger = -1;          // 0 thumb to 4 pinky, 5 extra; -1 for other parts
    bool metacarpal = false;  // the finger joint lies inside the hand or foot
    bool onFoot = false;      // the finger is a toe
    bool twist = false;       // a roll joint of the segment that begins at `part`
};

JointLabel read_joint_name(std::string_view name);

}  // namespace limbrex_tools
