#include "limbrex/model/characterization_tables.h"

namespace lbx
{

// clang-format off
const std::array<TemplateRow, 14> kTemplateRows = {{
    // node               axis        pre-rotation       minimum             maximum           twist and swing
    {LBXNodeHips,         {1, 0, 0},  {90, 0, 90},       {-180, -150, -150}, {180, 150, 150}, true},
    {LBXNodeLeftUpLeg,    {0, 0, 1},  {0, -60, -90},     {-90, -90, -45},    {90, 120, 90},   true},
    {LBXNodeLeftLeg,      {1, 0, 0},  {-90, 60, -90},    {-55, 0, -60},      {55, 0, 100},    false},
    {LBXNodeLeftToeBase,  {1, 0, 0},  {-90, -90, -90},   {0, 0, -60},        {0, 0, 60},      false},
    {LBXNodeRightUpLeg,   {0, 0, -1}, {180, -60, -90},   {-90, -120, -45},   {90, 90, 90},    true},
    {LBXNodeRightLeg,     {1, 0, 0},  {-90, 60, -90},    {-55, 0, -60},      {55, 0, 100},    false},
    {LBXNodeRightToeBase, {1, 0, 0},  {-90, -90, -90},   {0, 0, -60},        {0, 0, 60},      false},
    {LBXNodeLeftArm,      {0, 0, 1},  {-20, -30, -30},   {-90, -120, -120},  {90, 120, 120},  true},
    {LBXNodeLeftForeArm,  {0, 1, 0},  {-90, -100, 0},    {-90, 0, -60},      {90, 0, 100},    false},
    {LBXNodeLeftHand,     {0, 0, 1},  {0, 0, 0},         {0, -45, -85},      {0, 45, 85},     true},
    {LBXNodeRightArm,     {0, 0, -1}, {-160, -30, -150}, {-90, -120, -120},  {90, 120, 120},  true},
    {LBXNodeRightForeArm, {0, -1, 0}, {-90, -100, 180},  {-90, 0, -60},      {90, 0, 100},    false},
    {LBXNodeRightHand,    {0, 0, -1}, {180, 0, 180},     {0, -45, -85},      {0, 45, 85},     true},
    {LBXNodeHead,         {1, 0, 0},  {90, -15, 90},     {-120, -120, -120}, {120, 120, 120}, true},
}};

// minimum, maximum, twist and swing, twist of the pre-rotation
const BoundsRow kFootBounds         = {{-30, -15, -45}, {30, 15, 45}, true,  30};
const BoundsRow kRollBounds         = {{-90, 0, 0},     {90, 0, 0},   false, 0};
const BoundsRow kSpineBounds        = {{-30, -30, -30}, {30, 30, 30}, true,  0};
const BoundsRow kNeckBounds         = {{-30, -30, -30}, {30, 30, 30}, true,  0};
const BoundsRow kInExtremityBounds  = {{0, -5, -5},     {0, 5, 5},    true,  0};
const BoundsRow kThumbRootBounds    = {{-25, -25, -25}, {25, 25, 25}, true,  -25};
const BoundsRow kFingerRootBounds   = {{-25, -25, -45}, {25, 25, 45}, true,  45};
const BoundsRow kFingerMiddleBounds = {{0, 0, -45},     {0, 0, 45},   false, 45};
const BoundsRow kFingerTipBounds    = {{0, 0, 0},       {0, 0, 0},    false, 0};

const std::array<FingerAxes, kExtremityCount> kFingerAxes = {{
    // thumb       finger       in-hand thumb and finger     lone joint
    {{0, 1, 0},  {0, 0, -1}, {0, 1, 0}, {0, 0, -1}, {1, 0, 0}},
    {{0, -1, 0}, {0, 0, 1},  {0, 1, 0}, {0, 0, 1},  {-1, 0, 0}},
    {{0, 1, 0},  {1, 0, 0},  {1, 0, 0}, {1, 0, 0},  {0, 0, 1}},
    {{0, -1, 0}, {1, 0, 0},  {1, 0, 0}, {1, 0, 0},  {0, 0, 1}},
}};

const std::array<std::array<float, 3>, kSegmentCount> kRollAxes = {{
    {1, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 0, 0},   // legs
    {0, 1, 0}, {0, -1, 0},                        // left arm, left forearm
    {0, -1, 0}, {0, 1, 0},                        // right
}};
// clang-format on

const TemplateRow* find_template_row(int node)
{
    for (const TemplateRow& row : kTemplateRows)
    {
        if (row.node == node) return &row;
    }
    return nullptr;
}

const BoundsRow& finger_bounds(int finger, int joint)
{
    if (joint == 1) return finger == 0 ? kThumbRootBounds : kFingerRootBounds;
    return joint < kFingerJointCount ? kFingerMiddleBounds : kFingerTipBounds;
}

}  // namespace lbx
