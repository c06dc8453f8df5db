// Small bodies of our own for the rig tests: one adult of round measures, under the joint names of many conventions.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/animation/clip.h"
#include "limbrex/limbrex.h"

namespace limbrex_tests
{

// Joint names by convention; {S} is replaced by `left` or `right`. An empty name leaves the joint out.
struct NameConvention
{
    const char* title;
    const char *left, *right;
    std::vector<std::pair<int, const char*>> names;  // left nodes and middle ones, in the order of kBodyJoints
};

struct BodyJoint
{
    int node, parent;  // template nodes; parent -1 for the root
    float offset[3];   // from the parent, metres, in a T-pose facing +z
};

// Left side and trunk; the right side mirrors it. Hips at 1.0 m, soles a little under the toes at y = 0.
inline constexpr BodyJoint kBodyJoints[] = {
    {LBXNodeHips, -1, {0.0f, 1.0f, 0.0f}},
    {LBXNodeSpine, LBXNodeHips, {0.0f, 0.1f, 0.0f}},
    {LBXNodeSpine1, LBXNodeSpine, {0.0f, 0.2f, 0.0f}},
    {LBXNodeNeck, LBXNodeSpine1, {0.0f, 0.2f, 0.0f}},
    {LBXNodeHead, LBXNodeNeck, {0.0f, 0.1f, 0.0f}},
    {LBXNodeLeftShoulder, LBXNodeSpine1, {0.03f, 0.15f, 0.0f}},
    {LBXNodeLeftArm, LBXNodeLeftShoulder, {0.15f, 0.0f, 0.0f}},
    {LBXNodeLeftForeArm, LBXNodeLeftArm, {0.3f, 0.0f, 0.0f}},
    {LBXNodeLeftHand, LBXNodeLeftForeArm, {0.25f, 0.0f, 0.0f}},
    {LBX_NODE_FINGER(0, 0, 1), LBXNodeLeftHand, {0.02f, 0.0f, 0.03f}},
    {LBX_NODE_FINGER(0, 1, 1), LBXNodeLeftHand, {0.09f, 0.0f, 0.02f}},
    {LBX_NODE_FINGER(0, 1, 2), LBX_NODE_FINGER(0, 1, 1), {0.03f, 0.0f, 0.0f}},
    {LBXNodeLeftUpLeg, LBXNodeHips, {0.1f, -0.05f, 0.0f}},
    {LBXNodeLeftLeg, LBXNodeLeftUpLeg, {0.0f, -0.42f, 0.0f}},
    {LBXNodeLeftFoot, LBXNodeLeftLeg, {0.0f, -0.43f, 0.0f}},
    {LBXNodeLeftToeBase, LBXNodeLeftFoot, {0.0f, -0.07f, 0.13f}},
};

const std::vector<NameConvention>& name_conventions();

// The right node of a left one; middle nodes are their own twins.
int right_twin(int node);

std::string side_name(const char* pattern, const char* side);

// Joints by name with both sides; `names` pairs template nodes (left and middle) with patterns.
limbrex_host::Skeleton build_body(const NameConvention& convention);

// The body under template names.
limbrex_host::Skeleton plain_body();

int32_t joint_index(const limbrex_host::Skeleton& skeleton, const std::string& name);  // -1 when there is none

void set_rest_offset(limbrex_host::Skeleton& skeleton, const std::string& joint, float x, float y, float z);

}  // namespace limbrex_tests
