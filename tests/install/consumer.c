// A program that knows nothing of this tree but the installed header: describes a stick figure, asks its left wrist to
// reach a point, solves, and checks that the wrist came. Metres, y up, facing +z, left side on +x.
#include <limbrex/limbrex.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static const struct Joint
{
    int node;
    float position[3];
} kStance[] = {
    // clang-format off
    {LBXNodeReference, {0.0f, 0.0f, 0.0f}},
    {LBXNodeHips, {0.0f, 1.0f, 0.0f}},
    {LBXNodeSpine, {0.0f, 1.1f, 0.0f}},
    {LBXNodeHead, {0.0f, 1.6f, 0.0f}},
    {LBXNodeLeftUpLeg, {0.1f, 0.95f, 0.0f}},
    {LBXNodeLeftLeg, {0.1f, 0.5f, 0.02f}},
    {LBXNodeLeftFoot, {0.1f, 0.08f, 0.0f}},
    {LBXNodeRightUpLeg, {-0.1f, 0.95f, 0.0f}},
    {LBXNodeRightLeg, {-0.1f, 0.5f, 0.02f}},
    {LBXNodeRightFoot, {-0.1f, 0.08f, 0.0f}},
    {LBXNodeLeftArm, {0.2f, 1.45f, 0.0f}},
    {LBXNodeLeftForeArm, {0.48f, 1.45f, -0.01f}},
    {LBXNodeLeftHand, {0.74f, 1.45f, 0.0f}},
    {LBXNodeRightArm, {-0.2f, 1.45f, 0.0f}},
    {LBXNodeRightForeArm, {-0.48f, 1.45f, -0.01f}},
    {LBXNodeRightHand, {-0.74f, 1.45f, 0.0f}},
    // clang-format on
};
enum
{
    kJointCount = sizeof kStance / sizeof kStance[0]
};

int main(void)
{
    const float no_turn[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    const float no_scale[3] = {1.0f, 1.0f, 1.0f};

    LBXCharacterDefinition definition = {{0}};
    for (int i = 0; i < kJointCount; ++i) { definition.nodeFlags[kStance[i].node] = LBXNodeUsed; }
    LBXCharacter* character = LBXCharacterCreate(&definition, malloc);
    for (int i = 0; i < kJointCount; ++i)
    {
        LBXSetCharacterizeNodeStateTQSfv(character, kStance[i].node, kStance[i].position, no_turn, no_scale);
    }
    LBXCharacterize(character);

    LBXCharacterState* state = LBXCharacterStateCreate(character, malloc);
    LBXPropertySet* properties = LBXPropertySetCreate(malloc);
    LBXEffectorSet* goals = LBXEffectorSetCreate(malloc);
    LBXGetCharacterizeState(character, state);

    const float goal[3] = {0.4f, 1.2f, 0.35f};
    LBXEffectorSetFromState(character, goals, state, properties);
    LBXSetEffectorStateTQSfv(goals, LBXEffectorLeftWrist, goal, no_turn, no_scale);
    LBXSetEffectorReachT(goals, LBXEffectorLeftWrist, 1.0f);
    LBXSolveForEffectorSet(character, state, goals, properties);

    float wrist[4];
    float turn[4];
    float scale[4];
    LBXGetNodeStateTQSfv(character, state, LBXNodeLeftHand, wrist, turn, scale);
    const float miss = sqrtf((wrist[0] - goal[0]) * (wrist[0] - goal[0]) + (wrist[1] - goal[1]) * (wrist[1] - goal[1]) +
                             (wrist[2] - goal[2]) * (wrist[2] - goal[2]));
    printf("the wrist is %.4f m from its goal\n", (double)miss);

    LBXEffectorSetDestroy(goals, free);
    LBXPropertySetDestroy(properties, free);
    LBXCharacterStateDestroy(state, free);
    LBXCharacterDestroy(character, free);
    return miss < 0.01f ? EXIT_SUCCESS : EXIT_FAILURE;
}
