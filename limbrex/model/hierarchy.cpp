#include "limbrex/model/hierarchy.h"

namespace lbx
{
namespace
{

// Hangs a used node under a used parent; anything else stays unlinked.
void link(Hierarchy& h, int node, int parent)
{
    if (node > 0 && parent >= 0 && h.used[node] && h.used[parent]) h.parent[node] = parent;
}

int used_or(const Hierarchy& h, int node, int otherwise) { return h.used[node] ? node : otherwise; }

void link_hips(Hierarchy& h)
{
    link(h, LBXNodeHipsTranslation, LBXNodeReference);
    link(h, LBXNodeHips, used_or(h, LBXNodeHipsTranslation, LBXNodeReference));
    for (const int node : {LBXNodeLeftUpLeg, LBXNodeRightUpLeg, LBXNodeSpine}) link(h, node, LBXNodeHips);
}

// Each used node of a numbered chain under the one before it, up to the first gap. Returns how many there are.
int link_chain(Hierarchy& h, int32_t* chain, int (*node_at)(int), int longest)
{
    int count = 0;
    while (count < longest && h.used[node_at(count)])
    {
        chain[count] = node_at(count);
        if (count > 0) link(h, chain[count], chain[count - 1]);
        ++count;
    }
    return count;
}

// Leaf twist joints lie beside the next joint, a single twist joint between the two.
void link_segment(Hierarchy& h, int segment)
{
    const int upper = kSegments[static_cast<size_t>(segment)].node;
    const int next = kSegments[static_cast<size_t>(segment)].next;
    if (h.used[leaf_roll_node(segment, 1)])
    {
        link(h, next, upper);
        for (int n = 1; n <= kLeafRollCount; ++n) link(h, leaf_roll_node(segment, n), upper);
        h.rollSegment[upper] = true;
        return;
    }
    const int roll = roll_node(segment);
    link(h, roll, upper);
    link(h, next, used_or(h, roll, upper));
    h.rollSegment[upper] = h.used[roll];
}

void link_arm(Hierarchy& h, int shoulder, int extra, int arm, int chest)
{
    if (!h.used[shoulder])
    {
        link(h, arm, chest);
        return;
    }
    link(h, shoulder, chest);
    link(h, extra, shoulder);
    link(h, arm, used_or(h, extra, shoulder));
}

// The thumb grows from the hand or foot itself, the other fingers from its base when there is one.
void link_fingers(Hierarchy& h, int extremity)
{
    const ExtremityRow& row = kExtremities[static_cast<size_t>(extremity)];
    link(h, row.base, row.node);
    for (int finger = 0; finger < kFingerCount; ++finger)
    {
        const int root = finger == 0 ? row.node : used_or(h, row.base, row.node);
        const int inside = in_extremity_node(extremity, finger);
        link(h, inside, root);
        int parent = used_or(h, inside, root);
        int count = 0;
        while (count < kFingerJointCount && h.used[finger_node(extremity, finger, count + 1)])
        {
            ++count;
            link(h, finger_node(extremity, finger, count), parent);
            parent = finger_node(extremity, finger, count);
        }
        h.fingerJointCount[extremity][finger] = count;
    }
}

// Siblings, and nodes that nothing links, are numbered in this order: trunk and legs, feet, spine, arms, hands, neck and head.
struct Precedence
{
    int32_t nodes[kNodeCount];
};
struct PrecedenceWriter
{
    Precedence& list;
    int count = 0;
    constexpr void add(int node) { list.nodes[count++] = node; }
    constexpr void add_segment(int segment)
    {
        add(roll_node(segment));
        for (int n = 1; n <= kLeafRollCount; ++n) add(leaf_roll_node(segment, n));
        add(kSegments[static_cast<size_t>(segment)].next);
    }
    constexpr void add_fingers(int extremity)
    {
        for (int finger = 0; finger < kFingerCount; ++finger)
        {
            add(in_extremity_node(extremity, finger));
            for (int joint = 1; joint <= kFingerJointCount; ++joint) add(finger_node(extremity, finger, joint));
        }
    }
};
constexpr Precedence make_precedence()
{
    Precedence list{};
    PrecedenceWriter writer{list};
    for (const int node : {LBXNodeReference, LBXNodeHips, LBXNodeHipsTranslation, LBXNodeLeftUpLeg, LBXNodeRightUpLeg, LBXNodeSpine})
        writer.add(node);
    for (int segment = 0; segment < 4; ++segment) writer.add_segment(segment);
    for (const int node : {LBXNodeLeftToeBase, LBXNodeRightToeBase}) writer.add(node);
    for (const int extremity : {2, 3}) writer.add_fingers(extremity);
    for (int n = 1; n <= kFurtherSpineCount; ++n) writer.add(spine_node(n));
    for (const int node :
         {LBXNodeLeftShoulder, LBXNodeRightShoulder, LBXNodeLeftShoulderExtra, LBXNodeRightShoulderExtra, LBXNodeLeftArm, LBXNodeRightArm})
    {
        writer.add(node);
    }
    for (int segment = 4; segment < kSegmentCount; ++segment) writer.add_segment(segment);
    for (const int node : {LBXNodeLeftFingerBase, LBXNodeRightFingerBase}) writer.add(node);
    for (const int extremity : {0, 1}) writer.add_fingers(extremity);
    for (int n = 0; n <= kFurtherNeckCount; ++n) writer.add(neck_node(n));
    writer.add(LBXNodeHead);
    return list;
}
constexpr Precedence kPrecedence = make_precedence();

constexpr bool lists_every_node_once(const Precedence& list)
{
    bool seen[kNodeCount] = {};
    for (const int node : list.nodes)
    {
        if (seen[node]) return false;
        seen[node] = true;
    }
    return true;
}
static_assert(lists_every_node_once(kPrecedence), "212 places, 212 nodes");

// Breadth first from each root: a node's children join the list together, after the node.
void number_nodes(Hierarchy& h)
{
    for (const int root : kPrecedence.nodes)
    {
        if (!h.used[root] || h.parent[root] >= 0) continue;
        int next = h.slotCount;
        h.order[h.slotCount++] = root;
        for (; next < h.slotCount; ++next)
        {
            for (const int node : kPrecedence.nodes)
            {
                if (h.parent[node] == h.order[next]) h.order[h.slotCount++] = node;
            }
        }
    }
}

}  // namespace

Hierarchy link_nodes(const LBXCharacterDefinition& definition)
{
    Hierarchy h{};
    for (int node = 0; node < kNodeCount; ++node)
    {
        h.used[node] = node == LBXNodeReference || (definition.nodeFlags[node] & LBXNodeUsed) != 0;
        h.parent[node] = -1;
    }
    link_hips(h);
    h.spineCount = link_chain(h, h.spine, spine_node, kFurtherSpineCount + 1);
    h.neckCount = link_chain(h, h.neck, neck_node, kFurtherNeckCount + 1);
    for (int segment = 0; segment < kSegmentCount; ++segment) link_segment(h, segment);

    const int chest = h.spineCount > 0 ? h.spine[h.spineCount - 1] : -1;
    link_arm(h, LBXNodeLeftShoulder, LBXNodeLeftShoulderExtra, LBXNodeLeftArm, chest);
    link_arm(h, LBXNodeRightShoulder, LBXNodeRightShoulderExtra, LBXNodeRightArm, chest);
    link(h, LBXNodeNeck, chest);
    link(h, LBXNodeHead, h.neckCount > 0 ? h.neck[h.neckCount - 1] : chest);
    for (int extremity = 0; extremity < kExtremityCount; ++extremity) link_fingers(h, extremity);
    number_nodes(h);
    return h;
}

}  // namespace lbx
