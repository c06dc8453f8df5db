// A character's block: sizes, defaults, numbering and what can be asked about the hierarchy.

#include "limbrex/model/character.h"

#include <cstring>
#include <iterator>
#include <new>

#include "limbrex/math/float_scope.h"
#include "limbrex/model/hierarchy.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{

void* allocate_block(size_t size, LBXAllocateFunction allocate)
{
    if (!allocate || size > SIZE_MAX - kBlockSlack) return nullptr;
    void* raw = allocate(size + kBlockSlack);
    if (!raw) return nullptr;
    const auto first = reinterpret_cast<uintptr_t>(raw) + sizeof(void*);
    auto* object = static_cast<char*>(raw) + (((first + 15u) & ~uintptr_t{15}) - reinterpret_cast<uintptr_t>(raw));
    std::memcpy(object - sizeof(void*), &raw, sizeof(raw));
    return object;
}

void free_block(void* object, LBXFreeFunction free_function)
{
    if (!object || !free_function) return;
    void* raw = nullptr;
    std::memcpy(&raw, static_cast<char*>(object) - sizeof(void*), sizeof(raw));
    free_function(raw);
}

namespace
{

// Hands out the arrays of the block one after the other; each begins at a multiple of 16 bytes.
struct BlockLayout
{
    uint32_t size = sizeof(LBXCharacter);

    // Offset of element 0 of an array with `spare` more elements in front of it.
    template <class T>
    uint32_t add(uint32_t count, uint32_t spare)
    {
        const auto element = static_cast<uint32_t>(sizeof(T));
        const uint32_t offset = size + spare * element;
        size = (offset + count * element + 15u) & ~15u;
        return offset;
    }
};

struct Counts
{
    uint32_t used = 0;  // every used node can have a parent offset
    uint32_t limits = 0;
};
Counts count_nodes(const LBXCharacterDefinition& definition)
{
    Counts counts;
    for (const uint32_t flags : definition.nodeFlags)
    {
        if ((flags & LBXNodeUsed) == 0) continue;
        ++counts.used;
        if ((flags & LBXNodeHasLimits) != 0) ++counts.limits;
    }
    return counts;
}

// The header of a character with these counts, its offsets and total size filled in. The spare int32 in front of an array takes 16 bytes, so
// that element 0 stays aligned.
void lay_out(LBXCharacter& c, uint32_t slot_count, const Counts& counts)
{
    constexpr uint32_t int_spare = 4;
    BlockLayout layout;
    c.slotCount = slot_count;
    c.parentOffsetCount = counts.used;
    c.limitCount = counts.limits;
    c.characterizationOffset = layout.add<CharacterizationEntry>(slot_count, 1);
    c.nodeOffset = layout.add<NodeRecord>(slot_count, 1);
    c.parentOffsetOffset = layout.add<Tqs>(counts.used, 0);
    c.limitOffset = layout.add<LimitRecord>(counts.limits, 0);
    c.parentsOffset = layout.add<int32_t>(slot_count, int_spare);
    c.orderOffset = layout.add<int32_t>(slot_count, int_spare);
    c.placeOffset = layout.add<int32_t>(slot_count, int_spare);
    c.subtreeOffset = layout.add<int32_t>(slot_count, int_spare);
    c.limitedOffset = layout.add<int32_t>(counts.limits, 0);
    c.byteSize = layout.size;
}

int32_t* ints(LBXCharacter& c, uint32_t offset) { return block_array<int32_t>(c, offset); }

NodeRecord unlinked_record(int slot, int node)
{
    NodeRecord record{};
    record.joint = joint_frame_identity();
    record.limit = record.parentOffset = record.parent = record.firstChild = -1;
    record.slot = slot;
    record.node = node;
    return record;
}

LimitRecord default_limit()
{
    LimitRecord limit{};
    limit.joint = joint_frame_identity();
    limit.reference = vec4(1.0f, 0.0f, 0.0f);
    limit.minimumFactor = limit.maximumFactor = 1.0f;
    return limit;
}

void set_defaults(LBXCharacter& c)
{
    const auto slots = static_cast<int>(c.slotCount);
    for (int slot = -1; slot < slots; ++slot)
    {
        stances(c)[slot] = {tqs_identity(), slot >= 0 ? 1u : 0u, {}};
        node_records(c)[slot] = unlinked_record(slot, -1);
        ints(c, c.parentsOffset)[slot] = -1;
    }
    for (uint32_t i = 0; i < c.parentOffsetCount; ++i) parent_offsets(c)[i] = tqs_identity();
    for (uint32_t i = 0; i < c.limitCount; ++i) limit_records(c)[i] = default_limit();
}

void number_slots(LBXCharacter& c, const Hierarchy& h)
{
    for (int32_t& slot : c.slotOfNode) slot = -1;
    for (int slot = 0; slot < h.slotCount; ++slot)
    {
        c.slotOfNode[h.order[slot]] = slot;
        node_records(c)[slot].node = h.order[slot];
        node_records(c)[slot].rollSegment = h.rollSegment[h.order[slot]] ? 1 : 0;
    }
    for (int slot = 0; slot < h.slotCount; ++slot)
    {
        const int parent = slot_of(c, h.parent[h.order[slot]]);
        ints(c, c.parentsOffset)[slot] = node_records(c)[slot].parent = parent;
        if (parent < 0) continue;
        NodeRecord& above = node_records(c)[parent];
        if (above.firstChild < 0) above.firstChild = slot;
        ++above.childCount;
    }
}

// Offsets and limits are numbered by node id.
void number_entries(LBXCharacter& c, const LBXCharacterDefinition& definition)
{
    int next_offset = 0;
    int next_limit = 0;
    for (int node = 0; node < kNodeCount; ++node)
    {
        const uint32_t flags = definition.nodeFlags[node];
        if ((flags & LBXNodeUsed) == 0) continue;
        NodeRecord& record = node_records(c)[slot_of(c, node)];
        record.parentOffset = next_offset++;
        if ((flags & LBXNodeHasLimits) != 0) record.limit = next_limit++;
    }
}

// Slots are numbered parents first, so sizes add up from the last slot, and each node's place follows from its elder siblings'.
void order_depth_first(LBXCharacter& c)
{
    const auto slots = static_cast<int>(c.slotCount);
    int32_t* sizes = ints(c, c.subtreeOffset);
    int32_t* places = ints(c, c.placeOffset);
    int32_t* order = ints(c, c.orderOffset);
    sizes[-1] = 0;
    places[-1] = order[-1] = -1;
    for (int slot = 0; slot < slots; ++slot) sizes[slot] = 1;
    for (int slot = slots - 1; slot >= 0; --slot)
    {
        if (parents(c)[slot] >= 0) sizes[parents(c)[slot]] += sizes[slot];
    }
    int next_root = 0;
    for (int slot = 0; slot < slots; ++slot)
    {
        if (parents(c)[slot] < 0)
        {
            places[slot] = next_root;
            next_root += sizes[slot];
        }
        order[places[slot]] = slot;
        const NodeRecord& record = node_records(c)[slot];
        int place = places[slot] + 1;
        for (int child = record.firstChild; child < record.firstChild + record.childCount; ++child)
        {
            places[child] = place;
            place += sizes[child];
        }
    }
    int limited = 0;
    for (int place = 0; place < slots; ++place)
    {
        if (node_records(c)[order[place]].limit >= 0) ints(c, c.limitedOffset)[limited++] = order[place];
    }
}

void copy_chain(const LBXCharacter& c, ChainRecord& chain, const int32_t* nodes, int count)
{
    chain.count = count;
    for (int i = 0; i < static_cast<int>(std::size(chain.slots)); ++i) chain.slots[i] = i < count ? slot_of(c, nodes[i]) : -1;
}

// A segment's leaf twist joints from the fifth down to the first, then its single one.
void place_rolls(const LBXCharacter& c, int32_t* slots, int segment)
{
    for (int i = 0; i < kLeafRollCount; ++i) slots[i] = slot_of(c, leaf_roll_node(segment, kLeafRollCount - i));
    slots[kLeafRollCount] = slot_of(c, roll_node(segment));
}

void place_limb(LBXCharacter& c, int limb)
{
    const LimbRow& row = kLimbs[static_cast<size_t>(limb)];
    LimbRecord& record = c.limbs[limb];
    record.slots[kLimbUpper] = slot_of(c, row.upper);
    record.slots[kLimbMiddle] = slot_of(c, row.middle);
    record.slots[kLimbEnd] = slot_of(c, row.end);
    record.slots[kLimbExtremity] = slot_of(c, row.extremity);
    record.slots[kLimbParent] = parents(c)[record.slots[kLimbUpper]];
    place_rolls(c, &record.slots[kLimbFirstUpperRoll], row.upperSegment);
    place_rolls(c, &record.slots[kLimbFirstLowerRoll], row.lowerSegment);
    record.middleParent = parents(c)[record.slots[kLimbMiddle]];
    record.endParent = parents(c)[record.slots[kLimbEnd]];
    record.upperRoll = node_records(c)[record.slots[kLimbUpper]].rollSegment;
    record.lowerRoll = node_records(c)[record.slots[kLimbMiddle]].rollSegment;
    record.bendAxis = zero4();
    record.plainPre[0] = record.plainPre[1] = quat_identity();
}

void place_chains_and_limbs(LBXCharacter& c, const Hierarchy& h)
{
    copy_chain(c, c.spine, h.spine, h.spineCount);
    copy_chain(c, c.neck, h.neck, h.neckCount);
    std::memcpy(c.fingerJointCount, h.fingerJointCount, sizeof(c.fingerJointCount));
    for (int limb = 0; limb < kLimbCount; ++limb) place_limb(c, limb);
}

}  // namespace
}  // namespace lbx

using namespace lbx;

LBXCharacter* LBXCharacterCreate(const LBXCharacterDefinition* definition, LBXAllocateFunction allocate)
{
    if (!definition) return nullptr;
    const SolverFloatScope scope;
    const Hierarchy hierarchy = link_nodes(*definition);
    LBXCharacter header{};
    lay_out(header, static_cast<uint32_t>(hierarchy.slotCount), count_nodes(*definition));
    void* block = allocate_block(header.byteSize, allocate);
    if (!block) return nullptr;
    std::memset(block, 0, header.byteSize);  // padding too: a block saved as bytes is the same on every run
    auto* character = new (block) LBXCharacter(header);
    set_defaults(*character);
    number_slots(*character, hierarchy);
    number_entries(*character, *definition);
    order_depth_first(*character);
    place_chains_and_limbs(*character, hierarchy);
    return character;
}

void LBXCharacterDestroy(LBXCharacter* character, LBXFreeFunction free_function) { free_block(character, free_function); }

size_t LBXCharacterGetSize(const LBXCharacter* character) { return character ? character->byteSize : 0; }

uint32_t LBXGetNodeFlags(const LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    if (slot < 0) return 0;
    const NodeRecord& record = node_records(*character)[slot];
    if (record.limit >= 0) return LBXNodeUsed | LBXNodeHasParentOffset | LBXNodeHasLimits;
    return record.parentOffset >= 0 ? LBXNodeUsed | LBXNodeHasParentOffset : LBXNodeUsed;
}

int LBXGetParentNodeId(const LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    return slot < 0 ? -1 : node_records(*character)[parents(*character)[slot]].node;
}

int LBXGetChildNodeCount(const LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    if (slot < 0) return 0;
    return node == LBXNodeReference ? 1 : node_records(*character)[slot].childCount;
}

int LBXGetChildNodeId(const LBXCharacter* character, int node, int k)
{
    if (!character) return -1;
    if (node == LBXNodeReference) return has_node(*character, LBXNodeHipsTranslation) ? LBXNodeHipsTranslation : LBXNodeHips;
    const int slot = slot_of(*character, node);
    if (slot < 0) return -1;
    const NodeRecord& record = node_records(*character)[slot];
    return k >= 0 && k < record.childCount ? node_records(*character)[record.firstChild + k].node : -1;
}
