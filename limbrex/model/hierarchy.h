// Who hangs under whom in a rig, and in which order its nodes are numbered. Decided once, when a character is created.
#pragma once

#include "limbrex/model/template.h"

namespace lbx
{

struct Hierarchy
{
    bool used[kNodeCount];
    int32_t parent[kNodeCount];             // node id; -1 for Reference, for unused nodes and for nodes that nothing links
    bool rollSegment[kNodeCount];           // twist joints hang on this node's bone
    int32_t spine[kFurtherSpineCount + 1];  // the chain from Spine up to the first gap, node ids
    int32_t spineCount;
    int32_t neck[kFurtherNeckCount + 1];
    int32_t neckCount;
    int32_t fingerJointCount[kExtremityCount][kFingerCount];  // joints before the first gap
    int32_t order[kNodeCount];  // slot to node id: parents first, children of one node in a row, then what nothing links
    int32_t slotCount;          // Reference included, used or not
};

Hierarchy link_nodes(const LBXCharacterDefinition& definition);

}  // namespace lbx
