#include "limbrex/model/template.h"

namespace lbx
{
namespace
{

constexpr EffectorRow on_node(int node, int mirror = -1) { return {node, mirror, EffectorKind::Node}; }

constexpr std::array<EffectorRow, kEffectorCount> make_effectors()
{
    std::array<EffectorRow, kEffectorCount> rows{};
    rows[LBXEffectorHips] = {LBXNodeHips, -1, EffectorKind::Hips};
    rows[LBXEffectorLeftAnkle] = on_node(LBXNodeLeftFoot, LBXEffectorRightAnkle);
    rows[LBXEffectorRightAnkle] = on_node(LBXNodeRightFoot);
    rows[LBXEffectorLeftWrist] = on_node(LBXNodeLeftHand, LBXEffectorRightWrist);
    rows[LBXEffectorRightWrist] = on_node(LBXNodeRightHand);
    rows[LBXEffectorLeftKnee] = on_node(LBXNodeLeftLeg, LBXEffectorRightKnee);
    rows[LBXEffectorRightKnee] = on_node(LBXNodeRightLeg);
    rows[LBXEffectorLeftElbow] = on_node(LBXNodeLeftForeArm, LBXEffectorRightElbow);
    rows[LBXEffectorRightElbow] = on_node(LBXNodeRightForeArm);
    rows[LBXEffectorChestOrigin] = on_node(LBXNodeSpine);
    rows[LBXEffectorChestEnd] = {LBXNodeSpine, -1, EffectorKind::ChestEnd};
    rows[LBXEffectorLeftFoot] = on_node(LBXNodeLeftToeBase, LBXEffectorRightFoot);
    rows[LBXEffectorRightFoot] = on_node(LBXNodeRightToeBase);
    rows[LBXEffectorLeftShoulder] = on_node(LBXNodeLeftArm, LBXEffectorRightShoulder);
    rows[LBXEffectorRightShoulder] = on_node(LBXNodeRightArm);
    rows[LBXEffectorHead] = on_node(LBXNodeHead);
    rows[LBXEffectorLeftHip] = on_node(LBXNodeLeftUpLeg, LBXEffectorRightHip);
    rows[LBXEffectorRightHip] = on_node(LBXNodeRightUpLeg);
    rows[LBXEffectorLeftHand] = on_node(LBXNodeLeftFingerBase, LBXEffectorRightHand);
    rows[LBXEffectorRightHand] = on_node(LBXNodeRightFingerBase);

    // Four hands and feet of six fingers; a left one's twin follows six places on.
    constexpr EffectorKind kinds[kExtremityCount] = {EffectorKind::LeftHandFinger, EffectorKind::RightHandFinger,
                                                     EffectorKind::LeftFootFinger, EffectorKind::RightFootFinger};
    for (int extremity = 0; extremity < kExtremityCount; ++extremity)
    {
        for (int finger = 0; finger < kFingerCount; ++finger)
        {
            const int id = LBXEffectorLeftHandThumb + kFingerCount * extremity + finger;
            const bool left = extremity % 2 == 0;
            rows[static_cast<size_t>(id)] = {finger, left ? id + kFingerCount : -1, kinds[extremity]};
        }
    }
    return rows;
}

constexpr bool twins_are_single(const std::array<EffectorRow, kEffectorCount>& rows)
{
    for (const EffectorRow& row : rows)
    {
        if (row.mirror >= 0 && rows[static_cast<size_t>(row.mirror)].mirror != -1) return false;
    }
    return true;
}

constexpr std::array<EffectorRow, kEffectorCount> kRows = make_effectors();
static_assert(twins_are_single(kRows), "only left effectors have a twin");

}  // namespace

const std::array<EffectorRow, kEffectorCount> kEffectors = kRows;

}  // namespace lbx
