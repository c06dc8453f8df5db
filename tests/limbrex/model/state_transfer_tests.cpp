// Whole poses in and out.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>

#include "limbrex/limbrex_debug.h"
#include "tests/limbrex/model/pose_oracle.h"

namespace
{

using namespace pose_oracle;

std::vector<Transform> read_pose(const Rig& rig, LBXCharacterState* state, int32_t space)
{
    const std::vector<int32_t> ids = list_of(rig.nodes);
    std::vector<Transform> pose(rig.nodes.size());
    const LBXDataDescription description = described(space, ids);
    LBXGetCharacterStateTransformTQS(rig.character, state, &description, pose.data());
    return pose;
}

// Absolute matrix of a node from host locals by the chain of its parents alone.
Matrix walked(const Rig& rig, const std::map<int, Transform>& locals, int node)
{
    const Matrix own = matrix_of(locals.at(node)) * matrix_of(parent_offset(rig.character, node));
    const int parent = LBXGetParentNodeId(rig.character, node);
    return parent < 0 ? own : own * walked(rig, locals, parent);
}

bool hangs_under(const Rig& rig, int node, int above)
{
    for (; node >= 0; node = LBXGetParentNodeId(rig.character, node))
    {
        if (node == above) return true;
    }
    return false;
}

TEST(PoseTransfer, LocalsPutEveryNodeWhereWalkingTheChainPutsItAndReadBackAsSet)
{
    for (uint32_t kind = 0; kind < kAwkwardKinds; ++kind)
    {
        const Rig rig = awkward_rig(kind);
        Random random(20 + kind);
        const StateOwner state = limbrex_test::make_state(rig.character);
        const std::vector<Transform> locals = random_locals(random, rig.nodes.size());
        const std::vector<int32_t> ids = list_of(rig.nodes);
        const LBXDataDescription description = described(1, ids);
        LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, locals.data());
        std::map<int, Transform> by_node;
        for (size_t i = 0; i < rig.nodes.size(); ++i) by_node[rig.nodes[i]] = locals[i];
        for (const int node : rig.nodes)
        {
            const Matrix found = matrix_of(node_global(rig.character, state.get(), node));
            EXPECT_LT(largest_difference(found, walked(rig, by_node, node)), 5e-5) << "kind " << kind << " node " << node;
        }
        EXPECT_LT(worst_local(rig, state.get()), 1e-5) << "kind " << kind;
        const std::vector<Transform> read = read_pose(rig, state.get(), 1);
        for (size_t i = 0; i < read.size(); ++i)
            EXPECT_LT(difference(read[i], locals[i]), 5e-5f) << "kind " << kind << " node " << rig.nodes[i];
    }
}

TEST(PoseTransfer, ReadingLocalsChangesNoBitAndScalesMayDifferByAxis)
{
    const Rig rig = awkward_rig(1);
    Random random(31);
    const StateOwner state = random_pose(random, rig);
    std::vector<Transform> locals = read_pose(rig, state.get(), 1);
    for (Transform& local : locals)
    {
        local.s[0] *= 1.02f;
        local.s[1] *= 0.97f;
    }
    const std::vector<int32_t> ids = list_of(rig.nodes);
    const LBXDataDescription description = described(1, ids);
    LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, locals.data());
    const std::vector<unsigned char> before = bytes_of(state.get());
    const std::vector<Transform> read = read_pose(rig, state.get(), 1);
    for (size_t i = 0; i < read.size(); ++i) EXPECT_LT(difference(read[i], locals[i]), 5e-5f) << rig.nodes[i];
    EXPECT_EQ(bytes_of(state.get()), before);
}

TEST(PoseTransfer, GlobalsReadBackAsSetAndAgreeWithOneNodeAtATime)
{
    for (uint32_t kind = 0; kind < kAwkwardKinds; ++kind)
    {
        const Rig rig = awkward_rig(kind);
        Random random(40 + kind);
        const StateOwner state = random_pose(random, rig);
        const StateOwner singly = limbrex_test::make_state(rig.character);
        std::vector<Transform> globals(rig.nodes.size());
        for (Transform& global : globals) global = random.transform();
        const std::vector<int32_t> ids = list_of(rig.nodes);
        const LBXDataDescription description = described(0, ids);
        LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, globals.data());
        const std::vector<Transform> read = read_pose(rig, state.get(), 0);
        for (size_t i = 0; i < read.size(); ++i) EXPECT_LT(difference(read[i], globals[i]), 2e-6f);

        std::vector<size_t> order(rig.nodes.size());
        for (size_t i = 0; i < order.size(); ++i) order[i] = i;
        std::shuffle(order.begin(), order.end(), random.engine);
        for (const size_t i : order)
            LBXSetNodeStateTQSfv(rig.character, singly.get(), rig.nodes[i], globals[i].t, globals[i].q, globals[i].s);
        // Bit by bit: also the locals, which no single write may leave behind.
        EXPECT_EQ(bytes_of(singly.get()), bytes_of(state.get()));
    }
}

TEST(PoseTransfer, NodesThatAreNotListedFollowTheirParentsAndThoseBesideKeepEveryBit)
{
    const Rig rig = awkward_rig(2);
    Random random(50);
    const StateOwner state = random_pose(random, rig);
    for (int round = 0; round < 20; ++round)
    {
        const std::vector<Transform> locals_before = read_pose(rig, state.get(), 1);
        const std::vector<Transform> globals_before = read_pose(rig, state.get(), 0);
        std::vector<int32_t> ids;
        std::vector<Transform> records;
        std::vector<int> listed;
        for (int k = 0; k < 4; ++k)
        {
            listed.push_back(rig.nodes[static_cast<size_t>(random.index(static_cast<int>(rig.nodes.size())))]);
            ids.insert(ids.end(), {-1, 212, -3, std::numeric_limits<int32_t>::max(), listed.back()});
            records.resize(ids.size() - 1, Transform{{9e9f, 9e9f, 9e9f, 9e9f}, {1, 1, 1, 1}, {9e9f, 9e9f, 9e9f, 9e9f}});
            records.push_back(random_locals(random, 1)[0]);
        }
        ids.push_back(-2);
        const LBXDataDescription description = described(1, ids);
        LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, records.data());
        EXPECT_LT(worst_local(rig, state.get()), 1e-5) << round;
        const std::vector<Transform> locals = read_pose(rig, state.get(), 1);
        const std::vector<Transform> globals = read_pose(rig, state.get(), 0);
        for (size_t i = 0; i < rig.nodes.size(); ++i)
        {
            const int node = rig.nodes[i];
            const Transform* wanted = &locals_before[i];
            bool moves = false;
            for (size_t k = 0; k < listed.size(); ++k)
            {
                moves = moves || hangs_under(rig, node, listed[k]);
                if (listed[k] == node) wanted = &records[5 * k + 4];  // the last of a node listed twice counts
            }
            EXPECT_LT(difference(locals[i], *wanted), 5e-5f) << "round " << round << " node " << node;
            EXPECT_TRUE(moves || same_bits(&globals[i], &globals_before[i], sizeof(Transform))) << node;
        }
    }
}

TEST(PoseTransfer, EmptyListDoesNothingAndPassedOverRecordsAreNotWritten)
{
    const Rig rig = awkward_rig(1);
    Random random(60);
    const StateOwner state = random_pose(random, rig);
    const std::vector<unsigned char> before = bytes_of(state.get());
    const Transform canary{{-1, -2, -3, -4}, {-5, -6, -7, -8}, {-9, -10, -11, -12}};
    std::vector<Transform> records(4, canary);
    for (const int32_t space : {0, 1})
    {
        const std::vector<int32_t> none = {-2, LBXNodeHips, -2};
        const LBXDataDescription empty = described(space, none);
        LBXSetCharacterStateTransformTQS(rig.character, state.get(), &empty, records.data());
        LBXSetCharacterStateTransformTQ(rig.character, state.get(), &empty, records.data());
        LBXSetCharacterStateTransformMatrix(rig.character, state.get(), &empty, records.data());
        EXPECT_EQ(bytes_of(state.get()), before);

        const std::vector<int32_t> second = {-1, LBXNodeHead, 400, -2};
        const LBXDataDescription description = described(space, second);
        records.assign(4, canary);
        LBXGetCharacterStateTransformTQS(rig.character, state.get(), &description, records.data());
        for (const size_t i : {0, 2, 3}) EXPECT_TRUE(same_bits(&records[i], &canary, sizeof(canary))) << i;
        const Transform head = read_pose(
            rig, state.get(),
            space)[static_cast<size_t>(std::find(rig.nodes.begin(), rig.nodes.end(), static_cast<int>(LBXNodeHead)) - rig.nodes.begin())];
        EXPECT_TRUE(same_bits(&records[1], &head, sizeof(head)));
    }
    LBXDataDescription unknown_space = described(7, {});
    const std::vector<int32_t> hips = {LBXNodeHips, -2};
    unknown_space.nodeIds = hips.data();
    LBXSetCharacterStateTransformTQS(rig.character, state.get(), &unknown_space, records.data());
    LBXSetCharacterStateTransformTQS(rig.character, state.get(), nullptr, records.data());
    LBXSetCharacterStateTransformTQS(rig.character, state.get(), &unknown_space, nullptr);
    LBXGetCharacterStateTransformTQS(nullptr, state.get(), &unknown_space, records.data());
    EXPECT_EQ(bytes_of(state.get()), before);
}

TEST(PoseTransfer, RecordsMayLieAnywhereAndOnlyThreeNumbersOfTranslationAndScaleAreRead)
{
    const Rig rig = awkward_rig(3);
    Random random(70);
    const std::vector<Transform> locals = random_locals(random, rig.nodes.size());
    const std::vector<int32_t> ids = list_of(rig.nodes);
    const StateOwner wanted = limbrex_test::make_state(rig.character);
    const LBXDataDescription plain = described(1, ids);
    LBXSetCharacterStateTransformTQS(rig.character, wanted.get(), &plain, locals.data());

    // Ten floats a record at an odd address: rotation, scale, translation. The block ends with the last translation's z.
    const LBXDataDescription odd = {1, 28, 0, 16, 40, ids.data()};
    std::vector<unsigned char> block(1 + 40 * locals.size());
    for (size_t i = 0; i < locals.size(); ++i)
    {
        std::memcpy(&block[1 + 40 * i], locals[i].q, 16);
        std::memcpy(&block[1 + 40 * i + 16], locals[i].s, 12);
        std::memcpy(&block[1 + 40 * i + 28], locals[i].t, 12);
    }
    block.shrink_to_fit();
    const StateOwner state = limbrex_test::make_state(rig.character);
    LBXSetCharacterStateTransformTQS(rig.character, state.get(), &odd, block.data() + 1);
    EXPECT_EQ(bytes_of(state.get()), bytes_of(wanted.get()));

    // A stride of nothing: every node gets the one record, and the last node's transform is what remains of a read.
    std::vector<Transform> one(1);
    LBXDataDescription same = described(0, ids);
    same.stride = 0;
    LBXGetCharacterStateTransformTQS(rig.character, state.get(), &same, one.data());
    const Transform last = node_global(rig.character, state.get(), rig.nodes.back());
    EXPECT_TRUE(same_bits(one.data(), &last, sizeof(last)));
}

TEST(PoseTransfer, WithoutAListRecordsFollowTheUsedNodesParentsFirst)
{
    for (const bool reference : {true, false})
    {
        LBXCharacterDefinition definition{};
        for (const int node : {1, 2, 3, 8, 15, 20}) definition.nodeFlags[node] = LBXNodeUsed;
        definition.nodeFlags[LBXNodeReference] = static_cast<uint32_t>(reference ? LBXNodeUsed : 0);
        LBXCharacter* character = LBXCharacterCreate(&definition, std::malloc);
        ASSERT_NE(character, nullptr);
        LBXCharacterize(character);
        const StateOwner state = limbrex_test::make_state(character);
        const float turn[4] = {0, 0, 0, 1};
        for (const int node : {0, 1, 2, 3, 8, 15, 20})
        {
            const float t[3] = {static_cast<float>(node), 0.5f, 0.25f};
            LBXSetNodeStateTQfv(character, state.get(), node, t, turn);
        }
        const size_t count = reference ? 7 : 6;
        std::vector<Transform> records(count);  // exactly as many as there are used nodes
        LBXDataDescription description = described(0, {});
        description.nodeIds = nullptr;
        LBXGetCharacterStateTransformTQS(character, state.get(), &description, records.data());
        std::vector<int> seen;
        for (const Transform& record : records)
        {
            const int node = static_cast<int>(record.t[0]);
            const int parent = LBXGetParentNodeId(character, node);
            EXPECT_TRUE(parent <= 0 || std::count(seen.begin(), seen.end(), parent) == 1) << node << " before its parent";
            seen.push_back(node);
        }
        EXPECT_EQ(seen.front(), reference ? 0 : 1);
        std::sort(seen.begin(), seen.end());
        EXPECT_EQ(seen, reference ? (std::vector<int>{0, 1, 2, 3, 8, 15, 20}) : (std::vector<int>{1, 2, 3, 8, 15, 20}));
        const std::vector<unsigned char> before = bytes_of(state.get());
        LBXSetCharacterStateTransformTQS(character, state.get(), &description, records.data());
        EXPECT_EQ(bytes_of(state.get()), before);
        LBXCharacterDestroy(character, std::free);
    }
}

TEST(PoseTransfer, TranslationsAndRotationsAloneMeanScaleOne)
{
    const Rig rig = awkward_rig(0);
    Random random(80);
    for (const int32_t space : {0, 1})
    {
        std::vector<Transform> records = random_locals(random, rig.nodes.size());
        const std::vector<int32_t> ids = list_of(rig.nodes);
        const LBXDataDescription description = described(space, ids);
        const StateOwner plain = limbrex_test::make_state(rig.character);
        LBXSetCharacterStateTransformTQ(rig.character, plain.get(), &description, records.data());
        for (Transform& record : records) record.s[0] = record.s[1] = record.s[2] = 1.0f;
        const StateOwner full = limbrex_test::make_state(rig.character);
        LBXSetCharacterStateTransformTQS(rig.character, full.get(), &description, records.data());
        EXPECT_EQ(bytes_of(plain.get()), bytes_of(full.get()));
    }
}

// Wild numbers, ids and layouts within a block; the sanitizers watch the edges.
TEST(PoseTransfer, RandomDescriptionsStayInsideTheirBlocksAndFiniteNumbersStayFinite)
{
    const Rig rig = awkward_rig(2);
    Random random(99);
    const float wild[] = {0.0f, -0.0f, 1e-42f, 3e18f, -3e18f, NAN, INFINITY, -INFINITY};
    for (int round = 0; round < 3000; ++round)
    {
        const bool finite = round % 3 != 0;
        const StateOwner state = random_pose(random, rig);
        std::vector<int32_t> ids;
        const int count = random.index(12);
        for (int i = 0; i < count; ++i)
        {
            int32_t id = random.index(216) - 1;
            if (random.index(6) == 0) id = static_cast<int32_t>(random.engine());
            if (random.coin()) id = rig.nodes[static_cast<size_t>(random.index(static_cast<int>(rig.nodes.size())))];
            ids.push_back(id == -2 ? -3 : id);
        }
        ids.push_back(-2);
        const auto offset = [&] { return static_cast<uint32_t>(random.index(40)); };
        const LBXDataDescription description = {random.index(4) == 0 ? 2 - random.index(5) : random.index(2),
                                                offset(),
                                                offset(),
                                                offset(),
                                                static_cast<uint32_t>(random.index(60)),
                                                ids.data()};
        const size_t largest = 40 + 64 + 60 * static_cast<size_t>(count);
        std::vector<float> numbers(largest / 4 + 1);
        for (float& v : numbers) v = !finite && random.index(8) == 0 ? wild[random.index(8)] : random.number(-2.0f, 2.0f);
        std::vector<unsigned char> block(largest);
        std::memcpy(block.data(), numbers.data(), largest);
        switch (random.index(3))
        {
        case 0: LBXSetCharacterStateTransformTQS(rig.character, state.get(), &description, block.data()); break;
        case 1: LBXSetCharacterStateTransformTQ(rig.character, state.get(), &description, block.data()); break;
        default: LBXSetCharacterStateTransformMatrix(rig.character, state.get(), &description, block.data()); break;
        }
        LBXGetCharacterStateTransformTQS(rig.character, state.get(), &description, block.data());
        const bool aligned = (description.offsetT | description.offsetQ | description.offsetS | description.stride) % 4 == 0;
        if (!finite || !aligned) continue;  // bytes across two numbers may be any number
        for (const int node : rig.nodes)
        {
            const Transform found = node_global(rig.character, state.get(), node);
            for (int i = 0; i < 4; ++i) ASSERT_FALSE(std::isnan(found.t[i]) || std::isnan(found.q[i]) || std::isnan(found.s[i])) << round;
        }
    }
}

}  // namespace
