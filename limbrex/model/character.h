// One rig on the template, characterized. One relocatable block: arrays are reached through byte offsets from its start, so the block may be
// copied or saved as bytes. Read-only while solving.
//
// Slots number the used nodes: Reference 0, parents before children, the children of a node consecutive. Every per-slot array has a spare
// element in front, which slot -1, the slot of every unused node, addresses: an operation on an absent node touches only that.
#pragma once

#include "limbrex/math/tqs.h"
#include "limbrex/model/joint_frame.h"
#include "limbrex/model/template.h"

namespace lbx
{

struct CharacterizationEntry
{
    Tqs stance;  // global
    uint32_t recorded;
    uint32_t unused[3];
};

struct NodeRecord
{
    JointFrame joint;      // built-in frame and default bounds, which limit nothing by themselves
    int32_t limit;         // index of the limit record, -1 none
    int32_t parentOffset;  // index of the parent-offset entry, -1 none
    int32_t parent;        // slot, -1 none
    int32_t firstChild;    // slot; children are firstChild .. firstChild + childCount - 1
    int32_t childCount;
    int32_t slot;
    int32_t node;         // node id
    int32_t rollSegment;  // 1 when twist joints hang on this joint's bone
};

struct LimitRecord
{
    JointFrame joint;     // carried into the stance by characterization
    Vec4 reference;       // offset from the parent in the stance
    float minimumFactor;  // of the reference length, for the translation limit
    float maximumFactor;
    uint32_t translationOn;
    uint32_t unused;
};

inline constexpr int kLimbSlotCount = 17;
enum LimbSlot : int  // places in LimbRecord::slots
{
    kLimbParent = 0,
    kLimbUpper = 1,
    kLimbFirstUpperRoll = 2,  // leaf roll nodes 5 to 1, then the roll node at 7
    kLimbUpperRoll = 7,
    kLimbMiddle = 8,
    kLimbFirstLowerRoll = 9,  // leaf roll nodes 5 to 1, then the roll node at 14
    kLimbLowerRoll = 14,
    kLimbEnd = 15,
    kLimbExtremity = 16
};

struct LimbRecord
{
    int32_t slots[kLimbSlotCount];  // -1 where the rig has no such node
    int32_t middleParent;           // slot of the middle joint's parent: the upper joint, or its roll node
    int32_t endParent;
    int32_t upperRoll, lowerRoll;  // 1 when the segment carries twist joints
    int32_t inverted;
    Vec4 bendAxis;     // unit, stored frame of middleParent
    Quat plainPre[2];  // pre-rotations of upper and middle joint as characterized, put back when the inversion ends
    bool complete() const { return slots[kLimbUpper] >= 0 && slots[kLimbMiddle] >= 0 && slots[kLimbEnd] >= 0; }
};

// A chain of slots, bottom first.
struct ChainRecord
{
    int32_t count;  // used nodes before the first gap; 0 when the first is absent
    int32_t slots[10];
};

}  // namespace lbx

struct alignas(16) LBXCharacter
{
    uint32_t slotCount;  // N, Reference included
    uint32_t byteSize;
    uint32_t parentOffsetCount;
    uint32_t limitCount;
    uint32_t characterized;
    uint32_t characterizationOffset, nodeOffset, parentOffsetOffset, limitOffset;  // bytes from the start of the block to element 0
    uint32_t parentsOffset;                                                        // int32 per slot: parent slot
    uint32_t orderOffset;    // int32 per slot: all slots depth first, parents before children
    uint32_t placeOffset;    // int32 per slot: place in that order
    uint32_t subtreeOffset;  // int32 per slot: nodes in its subtree, itself included
    uint32_t limitedOffset;  // int32 per limit record: slots with limits, in depth-first order
    uint32_t unused[2];
    int32_t slotOfNode[lbx::kNodeCount];
    lbx::ChainRecord spine;                                             // Spine ... chest
    lbx::ChainRecord neck;                                              // Neck ... last neck node
    int32_t fingerJointCount[lbx::kExtremityCount][lbx::kFingerCount];  // joints before the first gap
    lbx::LimbRecord limbs[lbx::kLimbCount];
};

namespace lbx
{

template <class T>
inline const T* block_array(const LBXCharacter& c, uint32_t offset)
{
    return reinterpret_cast<const T*>(reinterpret_cast<const char*>(&c) + offset);
}
template <class T>
inline T* block_array(LBXCharacter& c, uint32_t offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<char*>(&c) + offset);
}

inline int slot_of(const LBXCharacter& c, int node) { return is_node(node) ? c.slotOfNode[node] : -1; }
inline bool has_node(const LBXCharacter& c, int node) { return slot_of(c, node) >= 0; }

// Indexed by slot, -1 the spare.
inline const NodeRecord* node_records(const LBXCharacter& c) { return block_array<NodeRecord>(c, c.nodeOffset); }
inline NodeRecord* node_records(LBXCharacter& c) { return block_array<NodeRecord>(c, c.nodeOffset); }
inline const CharacterizationEntry* stances(const LBXCharacter& c)
{
    return block_array<CharacterizationEntry>(c, c.characterizationOffset);
}
inline CharacterizationEntry* stances(LBXCharacter& c) { return block_array<CharacterizationEntry>(c, c.characterizationOffset); }
inline const int32_t* parents(const LBXCharacter& c) { return block_array<int32_t>(c, c.parentsOffset); }
inline const int32_t* depth_first(const LBXCharacter& c) { return block_array<int32_t>(c, c.orderOffset); }
inline const int32_t* place_in_order(const LBXCharacter& c) { return block_array<int32_t>(c, c.placeOffset); }
inline const int32_t* subtree_size(const LBXCharacter& c) { return block_array<int32_t>(c, c.subtreeOffset); }
inline const int32_t* limited_slots(const LBXCharacter& c) { return block_array<int32_t>(c, c.limitedOffset); }
// Indexed by the index that a node record holds.
inline const LimitRecord* limit_records(const LBXCharacter& c) { return block_array<LimitRecord>(c, c.limitOffset); }
inline LimitRecord* limit_records(LBXCharacter& c) { return block_array<LimitRecord>(c, c.limitOffset); }
inline const Tqs* parent_offsets(const LBXCharacter& c) { return block_array<Tqs>(c, c.parentOffsetOffset); }
inline Tqs* parent_offsets(LBXCharacter& c) { return block_array<Tqs>(c, c.parentOffsetOffset); }

// Null when the node has none.
inline const LimitRecord* limit_of_slot(const LBXCharacter& c, int slot)
{
    const int32_t index = slot >= 0 ? node_records(c)[slot].limit : -1;
    return index >= 0 ? &limit_records(c)[index] : nullptr;
}
// Slot of the top of the spine, -1 when the rig has no Spine.
inline int chest_slot(const LBXCharacter& c) { return c.spine.count > 0 ? c.spine.slots[c.spine.count - 1] : -1; }

// Object blocks: aligned to 16 bytes inside what the caller's function returned, the raw pointer in the 8 bytes in front.
inline constexpr size_t kBlockSlack = 8 + 15;
void* allocate_block(size_t size, LBXAllocateFunction allocate);
void free_block(void* object, LBXFreeFunction free_function);

}  // namespace lbx
