// Creation under many definitions, held against rules written down a second time, by name and one node at a time.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "limbrex/limbrex.h"
#include "tests/support/double_math.h"
#include "tests/support/rig_queries.h"
#include "tests/support/solver_objects.h"

namespace
{

using double_math::Random;
using limbrex_test::CharacterOwner;
using limbrex_test::create;
using limbrex_test::joined;

// Who hangs under whom, by name.
struct Rules
{
    const LBXCharacterDefinition& definition;

    bool has(const std::string& name) const
    {
        const int id = LBXGetNodeIdFromName(name.c_str());
        return id >= 0 && (id == 0 || (definition.nodeFlags[id] & 1) != 0);
    }
    static std::string numbered(const std::string& stem, int n) { return n == 0 ? stem : stem + std::to_string(n); }
    std::string top_of(const std::string& stem) const  // "" without the first
    {
        std::string top;
        for (int n = 0; n <= 9 && has(numbered(stem, n)); ++n) top = numbered(stem, n);
        return top;
    }
    static bool starts_with(const std::string& name, const std::string& start) { return name.compare(0, start.size(), start) == 0; }

    std::string chain_parent(const std::string& name, const std::string& stem) const
    {
        for (int n = 1; n <= 9; ++n)
        {
            if (name != numbered(stem, n)) continue;
            for (int below = 0; below < n; ++below)
            {
                if (!has(numbered(stem, below))) return "";
            }
            return numbered(stem, n - 1);
        }
        return "";
    }
    std::string segment_parent(const std::string& name, const std::string& upper, const std::string& next) const
    {
        const bool leaves = has("Leaf" + upper + "Roll1");
        if (starts_with(name, "Leaf" + upper + "Roll")) return leaves ? upper : "";
        if (name == upper + "Roll") return leaves ? "" : upper;
        if (name == next) return !leaves && has(upper + "Roll") ? upper + "Roll" : upper;
        return "";
    }
    std::string finger_parent(const std::string& name, const std::string& extremity, const std::string& inside,
                              const std::string& base) const
    {
        for (const std::string finger : {"Thumb", "Index", "Middle", "Ring", "Pinky", "ExtraFinger"})
        {
            std::string root = finger != "Thumb" && has(base) ? base : extremity;
            if (name == inside + finger) return root;
            if (name == extremity + finger + "1") return has(inside + finger) ? inside + finger : root;
            for (int joint = 2; joint <= 4; ++joint)
            {
                if (name != extremity + finger + std::to_string(joint)) continue;
                for (int below = 1; below < joint; ++below)
                {
                    if (!has(extremity + finger + std::to_string(below))) return "";
                }
                return extremity + finger + std::to_string(joint - 1);
            }
        }
        return "";
    }
    std::string wanted_parent(const std::string& name) const
    {
        if (name == "HipsTranslation") return "Reference";
        if (name == "Hips") return has("HipsTranslation") ? "HipsTranslation" : "Reference";
        if (name == "LeftUpLeg" || name == "RightUpLeg" || name == "Spine") return "Hips";
        for (const std::string stem : {"Spine", "Neck"})
        {
            std::string parent = chain_parent(name, stem);
            if (!parent.empty()) return parent;
        }
        for (const std::string side : {"Left", "Right"})
        {
            const std::string bones[4][2] = {{"UpLeg", "Leg"}, {"Leg", "Foot"}, {"Arm", "ForeArm"}, {"ForeArm", "Hand"}};
            for (const auto& bone : bones)
            {
                std::string parent = segment_parent(name, side + bone[0], side + bone[1]);
                if (!parent.empty()) return parent;
            }
            if (name == side + "ToeBase") return side + "Foot";
            if (name == side + "FingerBase") return side + "Hand";
            if (name == side + "Shoulder") return top_of("Spine");
            if (name == side + "ShoulderExtra") return side + "Shoulder";
            if (name == side + "Arm")
            {
                if (!has(side + "Shoulder")) return top_of("Spine");
                return has(side + "ShoulderExtra") ? side + "ShoulderExtra" : side + "Shoulder";
            }
            for (const std::string kind : {"Hand", "Foot"})
            {
                const std::string base = side + (kind == "Hand" ? "FingerBase" : "ToeBase");
                std::string parent = finger_parent(name, side + kind, joined({side, "In", kind}), base);
                if (!parent.empty()) return parent;
            }
        }
        if (name == "Neck") return top_of("Spine");
        if (name == "Head") return has("Neck") ? top_of("Neck") : top_of("Spine");
        return "";
    }
    // -1 where the parent is missing, as for nodes that nothing links.
    int parent(int node) const
    {
        const std::string name = wanted_parent(LBXGetNodeNameFromId(node));
        return !name.empty() && has(name) ? LBXGetNodeIdFromName(name.c_str()) : -1;
    }
};

LBXCharacterDefinition random_definition(Random& random)
{
    LBXCharacterDefinition definition{};
    const double density = random.number(0.05, 1.0);
    for (uint32_t& flags : definition.nodeFlags)
    {
        flags = random.engine() & ~1u;  // every bit that means nothing is set at times
        if (random.number(0.0, 1.0) < density) flags |= 1u;
    }
    return definition;
}

void expect_hierarchy(const LBXCharacter* character, const LBXCharacterDefinition& definition)
{
    const Rules rules{definition};
    int children_of[212] = {};
    for (int node = 0; node < 212; ++node)
    {
        const bool used = node == 0 || (definition.nodeFlags[node] & 1) != 0;
        const int expected_parent = used && node != 0 ? rules.parent(node) : -1;
        ASSERT_EQ(LBXGetParentNodeId(character, node), expected_parent) << LBXGetNodeNameFromId(node);
        if (expected_parent >= 0) ++children_of[expected_parent];
        const uint32_t flags = definition.nodeFlags[node];
        const uint32_t expected_flags = (flags & 1) == 0 ? (node == 0 ? 1u : 0u) : ((flags & 4) != 0 ? 7u : 3u);
        ASSERT_EQ(LBXGetNodeFlags(character, node), expected_flags);
    }
    for (int node = 1; node < 212; ++node)
    {
        ASSERT_EQ(LBXGetChildNodeCount(character, node), children_of[node]) << LBXGetNodeNameFromId(node);
        bool seen[212] = {};
        for (int k = 0; k < children_of[node]; ++k)
        {
            const int child = LBXGetChildNodeId(character, node, k);
            ASSERT_GT(child, 0);
            ASSERT_FALSE(seen[child]);
            seen[child] = true;
            ASSERT_EQ(LBXGetParentNodeId(character, child), node);
        }
        ASSERT_EQ(LBXGetChildNodeId(character, node, children_of[node]), -1);
        ASSERT_EQ(LBXGetChildNodeId(character, node, -1), -1);
    }
    ASSERT_EQ(LBXGetChildNodeCount(character, 0), 1);
    ASSERT_EQ(LBXGetChildNodeId(character, 0, 7), (definition.nodeFlags[49] & 1) != 0 ? 49 : 1);
}

// Slot numbers, read off the order in which a bulk transfer without a list visits the nodes: each node gets a position of its own.
std::vector<int> nodes_in_slot_order(const LBXCharacter* character, const LBXCharacterDefinition& definition)
{
    auto state = limbrex_test::make_state(character);
    const float identity[4] = {0, 0, 0, 1};
    for (int node = 0; node < 212; ++node)
    {
        if (node > 0 && (definition.nodeFlags[node] & 1) == 0) continue;
        const float t[3] = {static_cast<float>(node), 0, 0};
        LBXSetNodeStateTQfv(character, state.get(), node, t, identity);
    }
    std::vector<float> buffer(size_t{12} * 213, -1.0f);
    const LBXDataDescription description{0, 0, 16, 32, 48, nullptr};
    LBXGetCharacterStateTransformTQS(character, state.get(), &description, buffer.data());
    std::vector<int> nodes;
    for (size_t i = 0; i < 213 && buffer[12 * i] >= 0.0f; ++i) nodes.push_back(static_cast<int>(buffer[12 * i]));
    return nodes;
}

}  // namespace

TEST(Hierarchy, FollowsTheLinkingRulesForAnyDefinition)
{
    Random random(100);
    for (int i = 0; i < 300; ++i)
    {
        const LBXCharacterDefinition definition = random_definition(random);
        const auto character = create(definition);
        ASSERT_NE(character, nullptr);
        expect_hierarchy(character.get(), definition);
    }
    LBXCharacterDefinition everything{};
    for (uint32_t& flags : everything.nodeFlags) flags = 7;
    expect_hierarchy(create(everything).get(), everything);
}

TEST(Hierarchy, NumbersParentsBeforeChildrenAndSiblingsInARow)
{
    Random random(101);
    for (int i = 0; i < 100; ++i)
    {
        LBXCharacterDefinition definition = random_definition(random);
        definition.nodeFlags[0] |= 1;
        const auto character = create(definition);
        const std::vector<int> order = nodes_in_slot_order(character.get(), definition);
        std::vector<int> slot_of(212, -1);
        for (size_t slot = 0; slot < order.size(); ++slot) slot_of[static_cast<size_t>(order[slot])] = static_cast<int>(slot);
        ASSERT_EQ(order[0], 0);
        for (const int node : order)
        {
            const int parent = LBXGetParentNodeId(character.get(), node);
            if (parent >= 0) { ASSERT_LT(slot_of[static_cast<size_t>(parent)], slot_of[static_cast<size_t>(node)]); }
            if (node == 0) continue;
            for (int k = 1; k < LBXGetChildNodeCount(character.get(), node); ++k)
            {
                const int elder = LBXGetChildNodeId(character.get(), node, k - 1);
                const int younger = LBXGetChildNodeId(character.get(), node, k);
                ASSERT_EQ(slot_of[static_cast<size_t>(younger)], slot_of[static_cast<size_t>(elder)] + 1);
            }
        }
    }
}

TEST(Hierarchy, OfAFewJointsIsWhatOneWouldDraw)
{
    LBXCharacterDefinition definition{};
    const auto use = [&definition](std::initializer_list<const char*> names)
    {
        for (const char* name : names) definition.nodeFlags[LBXGetNodeIdFromName(name)] = 1;
    };
    use({"Hips", "Spine", "Spine1", "Spine3", "Neck", "Head", "LeftShoulder", "LeftArm", "LeftForeArm", "LeftForeArmRoll", "LeftHand",
         "LeafLeftArmRoll1", "LeafLeftArmRoll3", "LeftArmRoll", "RightArm", "LeftHandIndex1", "LeftHandIndex3", "LeftInHandIndex",
         "LeftHandThumb1"});
    const auto character = create(definition);
    const auto parent = [&character](const char* name)
    {
        const char* found = LBXGetNodeNameFromId(LBXGetParentNodeId(character.get(), LBXGetNodeIdFromName(name)));
        return std::string(found ? found : "none");
    };
    EXPECT_EQ(parent("Hips"), "Reference");
    EXPECT_EQ(parent("Spine3"), "none") << "behind a gap";
    EXPECT_EQ(parent("Neck"), "Spine1");
    EXPECT_EQ(parent("LeftShoulder"), "Spine1");
    EXPECT_EQ(parent("RightArm"), "Spine1");
    EXPECT_EQ(parent("LeftForeArm"), "LeftArm") << "leaf twist joints lie beside the bone";
    EXPECT_EQ(parent("LeafLeftArmRoll3"), "LeftArm");
    EXPECT_EQ(parent("LeftArmRoll"), "none");
    EXPECT_EQ(parent("LeftHand"), "LeftForeArmRoll");
    EXPECT_EQ(parent("LeftHandIndex1"), "LeftInHandIndex");
    EXPECT_EQ(parent("LeftInHandIndex"), "LeftHand");
    EXPECT_EQ(parent("LeftHandIndex3"), "none");
    EXPECT_EQ(parent("LeftHandThumb1"), "LeftHand");

    LBXCharacterDefinition hips_alone{};
    hips_alone.nodeFlags[LBXNodeHips] = 1;
    const auto two = create(hips_alone);
    EXPECT_EQ(LBXCharacterStateGetSizeFromDefinition(&hips_alone), LBXCharacterStateGetSize(two.get()));
    hips_alone.nodeFlags[LBXNodeReference] = 1;
    EXPECT_EQ(LBXCharacterStateGetSizeFromDefinition(&hips_alone), LBXCharacterStateGetSize(two.get()))
        << "Reference takes its slot either way";
}

namespace
{

size_t allocated = 0;
void* allocate_counting(size_t size)
{
    allocated = size;
    return std::malloc(size);
}
void* allocate_nothing(size_t) { return nullptr; }
// One byte off every alignment, the block's start remembered in front of it.
void* allocate_askew(size_t size)
{
    char* block = static_cast<char*>(std::malloc(size + 1));
    return block ? block + 1 : nullptr;
}
void free_askew(void* block) { std::free(static_cast<char*>(block) - 1); }

}  // namespace

TEST(CharacterBlock, IsOneAlignedAllocationOfTheStatedSizeAndFailsQuietly)
{
    Random random(102);
    for (int i = 0; i < 50; ++i)
    {
        const LBXCharacterDefinition definition = random_definition(random);
        LBXCharacter* character = LBXCharacterCreate(&definition, allocate_counting);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(character) % 16, 0u);
        EXPECT_EQ(LBXCharacterGetSize(character) + 23, allocated);
        LBXCharacterDestroy(character, std::free);
        LBXCharacter* askew = LBXCharacterCreate(&definition, allocate_askew);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(askew) % 16, 0u);
        LBXCharacterDestroy(askew, free_askew);
        EXPECT_EQ(LBXCharacterCreate(&definition, allocate_nothing), nullptr);
    }
    const LBXCharacterDefinition definition{};
    EXPECT_EQ(LBXCharacterCreate(nullptr, std::malloc), nullptr);
    EXPECT_EQ(LBXCharacterCreate(&definition, nullptr), nullptr);
    LBXCharacterDestroy(nullptr, std::free);
    EXPECT_EQ(LBXCharacterGetSize(nullptr), 0u);
}

TEST(CharacterBlock, WorksWhereverItIsCopiedTo)
{
    Random random(103);
    LBXCharacterDefinition definition = random_definition(random);
    definition.nodeFlags[LBXNodeLeftLeg] = 7;
    auto original = create(definition);
    const float t[3] = {1, 2, 3}, q[4] = {0.5f, 0.5f, 0.5f, 0.5f}, s[3] = {1, 1, 1};
    LBXSetCharacterizeNodeStateTQSfv(original.get(), LBXNodeLeftLeg, t, q, s);
    LBXCharacterize(original.get());
    const size_t size = LBXCharacterGetSize(original.get());
    void* memory = std::aligned_alloc(16, (size + 15) / 16 * 16);
    std::memcpy(memory, original.get(), size);
    std::memset(static_cast<void*>(original.get()), 0xEE, size);  // whoever still looks at the original reads rubbish
    auto* copy = static_cast<LBXCharacter*>(memory);
    expect_hierarchy(copy, definition);
    float t_read[4], q_read[4], s_read[4];
    LBXGetCharacterizeNodeStateTQSfv(copy, LBXNodeLeftLeg, t_read, q_read, s_read);
    EXPECT_EQ(t_read[1], 2.0f);
    EXPECT_EQ(q_read[0], 0.5f);
    LBXSetLimbInverted(copy, 0, true);
    EXPECT_TRUE(LBXGetLimbInverted(copy, 0));
    auto state = limbrex_test::make_state(copy);
    LBXGetNodeStateTQfv(copy, state.get(), LBXNodeLeftLeg, t_read, q_read);
    EXPECT_NEAR(t_read[2], 3.0f, 1e-6f);
    std::free(memory);
}

TEST(CharacterBlock, TwoOfOneRigAreTheSameBytes)
{
    Random random(104);
    const LBXCharacterDefinition definition = random_definition(random);
    const auto a = create(definition);
    const auto b = create(definition);
    LBXCharacterize(a.get());
    LBXCharacterize(b.get());
    ASSERT_EQ(LBXCharacterGetSize(a.get()), LBXCharacterGetSize(b.get()));
    EXPECT_EQ(std::memcmp(a.get(), b.get(), LBXCharacterGetSize(a.get())), 0);
}
