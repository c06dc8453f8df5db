// A grown-up human of 1.75 m in a T-stance, made with the public interface alone: y up, facing +z, left side on +x, metres, feet on y = 0.
// Solver tests and benches share it. The same options always give the same rig.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "limbrex/limbrex.h"

namespace limbrex_test
{

struct RigOptions
{
    int spineNodes = 3;  // Spine, Spine1, ... ; 0 to 10
    int neckNodes = 2;   // Neck, Neck1, ... ; 0 to 10
    bool shoulders = true;
    bool shoulderExtras = false;
    bool hands = true;
    bool fingerBases = true;  // LeftFingerBase, RightFingerBase, in front of the fingers
    bool fingers = true;      // five of three joints on each hand
    bool fingerTips = false;  // and a fourth
    bool inHands = false;     // a metacarpal in front of each finger
    bool toeBases = true;
    bool toes = false;  // five of two joints on each foot
    bool hipsTranslation = false;
    bool armRolls = false;  // one twist joint on each arm segment
    bool legRolls = false;
    int leafRolls = 0;  // 0 to 5 leaf twist joints on every segment; then the roll nodes above are not linked
    bool straightLimbs =
        false;  // knees and elbows exactly on the line from root to end; otherwise a few degrees bent, as captured skeletons are
    bool awkwardRotations = false;                          // random node orientations in the stance instead of none
    bool parentOffsets = false;                             // random parent offsets (turned, shifted, unscaled) on every node
    uint32_t seed = 1;                                      // of the random rotations and offsets
    float scale = 1.0f;                                     // length unit: 1 metres, 100 centimetres
    std::vector<int> limitedNodes;                          // nodes with a limit record, added to those above
    std::function<void(LBXCharacter*)> beforeCharacterize;  // sets limits, changes the stance
};
// The rig that the benches measure: arm rolls on, 60 nodes with Reference.
RigOptions sixty_nodes();

struct RigJoint
{
    std::array<float, 4> t{0, 0, 0, 0};
    std::array<float, 4> q{0, 0, 0, 1};
    std::array<float, 4> s{1, 1, 1, 1};
};

struct Rig
{
    LBXCharacter* character = nullptr;  // characterized
    LBXCharacterDefinition definition{};
    std::vector<int> nodes;              // used node ids, ascending, Reference first
    std::array<RigJoint, 212> stance{};  // global, by node id; identity where unused

    Rig() = default;
    Rig(Rig&& other) noexcept;
    Rig& operator=(Rig&& other) noexcept;
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;
    ~Rig();
    bool uses(int node) const { return (definition.nodeFlags[node] & LBXNodeUsed) != 0; }
};

Rig make_rig(const RigOptions& options = {});

}  // namespace limbrex_test
