// The names of all nodes and effectors, put together from the vocabularies while compiling.

#include <cstddef>
#include <iterator>

#include "limbrex/model/template.h"

namespace lbx
{
namespace
{

constexpr size_t kLongestName = 31;
struct Name
{
    char text[kLongestName + 1];
};

// Appends a word; a name that outgrows its place does not compile.
constexpr size_t append(Name& name, size_t at, const char* word)
{
    while (*word != 0) name.text[at++] = *word++;
    return at;
}
constexpr Name joined(const char* a, const char* b = "", const char* c = "", int number = 0)
{
    Name name{};
    const size_t at = append(name, append(name, append(name, 0, a), b), c);
    if (number > 0) name.text[at] = static_cast<char>('0' + number);
    return name;
}

constexpr const char* kNamedNodes[] = {
    "Reference",   "Hips",         "LeftUpLeg",    "LeftLeg",       "LeftFoot", "RightUpLeg",     "RightLeg",        "RightFoot",
    "Spine",       "LeftArm",      "LeftForeArm",  "LeftHand",      "RightArm", "RightForeArm",   "RightHand",       "Head",
    "LeftToeBase", "RightToeBase", "LeftShoulder", "RightShoulder", "Neck",     "LeftFingerBase", "RightFingerBase",
};
static_assert(std::size(kNamedNodes) == LBXNodeSpine1, "numbered spine and neck nodes follow");
constexpr const char* kNamedEffectors[] = {
    "Hips",          "LeftAnkle",  "RightAnkle",  "LeftWrist", "RightWrist", "LeftKnee",  "RightKnee",
    "LeftElbow",     "RightElbow", "ChestOrigin", "ChestEnd",  "LeftFoot",   "RightFoot", "LeftShoulder",
    "RightShoulder", "Head",       "LeftHip",     "RightHip",  "LeftHand",   "RightHand",
};
static_assert(std::size(kNamedEffectors) == LBXEffectorLeftHandThumb, "finger effectors follow");
constexpr const char* kExtremityNames[kExtremityCount] = {"LeftHand", "RightHand", "LeftFoot", "RightFoot"};
constexpr const char* kInExtremityNames[kExtremityCount] = {"LeftInHand", "RightInHand", "LeftInFoot", "RightInFoot"};
constexpr const char* kFingerNames[kFingerCount] = {"Thumb", "Index", "Middle", "Ring", "Pinky", "ExtraFinger"};
constexpr const char* kSegmentNames[kSegmentCount] = {"LeftUpLeg", "LeftLeg",     "RightUpLeg", "RightLeg",
                                                      "LeftArm",   "LeftForeArm", "RightArm",   "RightForeArm"};

struct NameTable
{
    Name effectors[kEffectorCount];
    Name nodes[kNodeCount];
};

constexpr void name_extremity(NameTable& table, int extremity)
{
    for (int finger = 0; finger < kFingerCount; ++finger)
    {
        for (int joint = 1; joint <= kFingerJointCount; ++joint)
        {
            table.nodes[finger_node(extremity, finger, joint)] = joined(kExtremityNames[extremity], kFingerNames[finger], "", joint);
        }
        table.nodes[in_extremity_node(extremity, finger)] = joined(kInExtremityNames[extremity], kFingerNames[finger]);
        table.effectors[LBXEffectorLeftHandThumb + kFingerCount * extremity + finger] =
            joined(kExtremityNames[extremity], kFingerNames[finger], "Effector");
    }
}

constexpr NameTable make_names()
{
    NameTable table{};
    for (size_t id = 0; id < std::size(kNamedEffectors); ++id) table.effectors[id] = joined(kNamedEffectors[id], "Effector");
    for (size_t id = 0; id < std::size(kNamedNodes); ++id) table.nodes[id] = joined(kNamedNodes[id]);
    for (int n = 1; n <= kFurtherSpineCount; ++n) table.nodes[spine_node(n)] = joined("Spine", "", "", n);
    for (int n = 1; n <= kFurtherNeckCount; ++n) table.nodes[neck_node(n)] = joined("Neck", "", "", n);
    table.nodes[LBXNodeHipsTranslation] = joined("HipsTranslation");
    table.nodes[LBXNodeLeftShoulderExtra] = joined("LeftShoulderExtra");
    table.nodes[LBXNodeRightShoulderExtra] = joined("RightShoulderExtra");
    for (int extremity = 0; extremity < kExtremityCount; ++extremity) name_extremity(table, extremity);
    for (int segment = 0; segment < kSegmentCount; ++segment)
    {
        table.nodes[roll_node(segment)] = joined(kSegmentNames[segment], "Roll");
        for (int n = 1; n <= kLeafRollCount; ++n)
            table.nodes[leaf_roll_node(segment, n)] = joined("Leaf", kSegmentNames[segment], "Roll", n);
    }
    return table;
}
constexpr NameTable kNames = make_names();

// Effectors first, nodes after them, then a null entry.
struct NamePointers
{
    const char* effectors[kEffectorCount];
    const char* nodes[kNodeCount + 1];
};
constexpr NamePointers point_at_names()
{
    NamePointers pointers{};
    for (int id = 0; id < kEffectorCount; ++id) pointers.effectors[id] = kNames.effectors[id].text;
    for (int id = 0; id < kNodeCount; ++id) pointers.nodes[id] = kNames.nodes[id].text;
    return pointers;
}
constexpr NamePointers kNamePointers = point_at_names();

constexpr bool same_name(const char* a, const char* b)
{
    while (*a != 0 && *a == *b)
    {
        ++a;
        ++b;
    }
    return *a == *b;
}
constexpr int find_name(const char* const* names, int count, const char* name)
{
    if (!name) return -1;
    for (int id = 0; id < count; ++id)
    {
        if (same_name(names[id], name)) return id;
    }
    return -1;
}

constexpr bool all_named_once(const char* const* names, int count)
{
    for (int id = 0; id < count; ++id)
    {
        if (names[id][0] == 0 || find_name(names, count, names[id]) != id) return false;
    }
    return true;
}
static_assert(all_named_once(kNamePointers.effectors, kEffectorCount), "every effector has a name of its own");
static_assert(find_name(kNamePointers.nodes, kNodeCount, "") == -1, "every node has a name");

}  // namespace
}  // namespace lbx

int LBXGetNodeIdFromName(const char* name) { return lbx::find_name(lbx::kNamePointers.nodes, lbx::kNodeCount, name); }
int LBXGetEffectorIdFromName(const char* name) { return lbx::find_name(lbx::kNamePointers.effectors, lbx::kEffectorCount, name); }
const char* LBXGetNodeNameFromId(int node) { return lbx::is_node(node) ? lbx::kNamePointers.nodes[node] : nullptr; }
const char* LBXGetEffectorNameFromId(int effector) { return lbx::is_effector(effector) ? lbx::kNamePointers.effectors[effector] : nullptr; }
