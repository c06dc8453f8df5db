// Rig sources as parsed trees, and resources from compile to release. The tree is read back by an independent walk over its words.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/murmur.h"
#include "host/resources.h"
#include "host/source_tree.h"

namespace limbrex_host
{
namespace
{

using ::testing::HasSubstr;
using ::testing::StartsWith;
using nlohmann::json;

std::string text_at(const std::vector<uint32_t>& tree, uint32_t offset) { return reinterpret_cast<const char*>(tree.data()) + offset; }

json read_value(const std::vector<uint32_t>& tree, uint32_t type, uint32_t value)
{
    const uint32_t* const record = tree.data() + value / 4;
    float number = 0.0f;
    std::memcpy(&number, &value, sizeof number);
    json out;
    switch (type)
    {
    case kSourceBoolean: return value != 0;
    case kSourceInteger: return static_cast<int32_t>(value);
    case kSourceFloat: return number;
    case kSourceString: return text_at(tree, value);
    case kSourceArray:
        out = json::array();
        for (uint32_t i = 0; i < record[1]; ++i) { out.push_back(read_value(tree, record[0], record[2 + i])); }
        return out;
    case kSourceObject:
        out = json::object();
        for (uint32_t i = 0; i < record[0]; ++i)
        {
            out[text_at(tree, record[1 + 3 * i])] = read_value(tree, record[2 + 3 * i], record[3 + 3 * i]);
        }
        return out;
    default: return nullptr;
    }
}

json random_json(std::mt19937& random, int depth)
{
    switch (depth > 0 ? random() % 6 : random() % 4)
    {
    case 0: return static_cast<int32_t>(random());
    case 1: return static_cast<float>(static_cast<int>(random() % 2000) - 1000) / 8.0f;
    case 2: return std::string(random() % 9, 'x');
    case 3: return random() % 2 == 0;
    case 4:
    {
        json array = json::array();
        const json first = random_json(random, depth - 1);
        for (unsigned i = 0; i < random() % 5; ++i) { array.push_back(first); }
        return array;
    }
    default:
    {
        json object = json::object();
        for (unsigned i = 0; i < random() % 5; ++i) { object["key" + std::to_string(i)] = random_json(random, depth - 1); }
        return object;
    }
    }
}

TEST(SourceTree, EveryDocumentReadsBackAsItWasWritten)
{
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i)
    {
        json document = json::object();
        document["a"] = random_json(random, 4);
        document["b"] = random_json(random, 4);
        std::vector<uint32_t> tree;
        std::string error;
        ASSERT_TRUE(parse_source(document.dump(), "test", tree, error)) << error;
        ASSERT_EQ(tree[0], uint32_t{kSourceObject});
        ASSERT_EQ(read_value(tree, tree[0], tree[1]), document);
    }
}

TEST(SourceTree, CommentsRepeatedKeysAndMixedNumbersAreTakenAsTheyStand)
{
    std::vector<uint32_t> tree;
    std::string error;
    ASSERT_TRUE(parse_source("{ // why\n \"n\": [1, 2.5], /* x */ \"k\": 1, \"k\": 2, \"big\": 4294967296 }", "test", tree, error))
        << error;
    const uint32_t* const object = tree.data() + tree[1] / 4;
    ASSERT_EQ(object[0], 4u);
    EXPECT_EQ(read_value(tree, object[2], object[3]), json::parse("[1.0, 2.5]"));
    EXPECT_EQ(text_at(tree, object[4]), "k");
    EXPECT_EQ(object[6], 1u) << "the first of two members with one key comes first";
    EXPECT_EQ(object[11], uint32_t{kSourceFloat}) << "an integer beyond 32 bits is a float";
}

TEST(SourceTree, BrokenTextIsRefusedWithItsPlace)
{
    const auto fault = [](const std::string& text)
    {
        std::vector<uint32_t> tree;
        std::string error;
        EXPECT_FALSE(parse_source(text, "rig.character", tree, error)) << text;
        EXPECT_TRUE(tree.empty());
        return error;
    };
    EXPECT_THAT(fault("{\n  \"a\": 1,\n  \"b\" 2\n}"), StartsWith("rig.character:3:7: "));
    EXPECT_THAT(fault(""), StartsWith("rig.character:1:"));
    EXPECT_THAT(fault("{\"a\": NaN}"), StartsWith("rig.character:1:"));
    EXPECT_THAT(fault("{\"a\": 1e300}"), HasSubstr("too large"));
    EXPECT_THAT(fault("{\"bones_mapping\": [{\"id\": 1}, 7]}"), HasSubstr("bones_mapping[1]"));
    EXPECT_THAT(fault(std::string(1000, '[') + std::string(1000, ']')), HasSubstr("levels"));
    const std::string whole = "{\"a\": [1, 2, {\"b\": \"c\"}], \"d\": -1.5e3}";
    for (size_t length = 0; length < whole.size(); ++length) { fault(whole.substr(0, length)); }
}

// A compiler as a plugin would register it: copies the tree into the output. What it needs of the engine stands in these two.
HostMemory* g_memory = nullptr;
HostResources* g_resources = nullptr;
bool g_leak = false;

CompileResult* copy_compiler(CompileResult* result, CompileJob* job)
{
    auto& host_job = *reinterpret_cast<HostCompileJob*>(job);
    CompileResult source;
    g_resources->read_source(&source, host_job);
    *result = source;
    if (source.error != 0) { return result; }
    result->data = g_memory->allocate(host_job.allocator, source.size, 4);
    std::memcpy(result->data, source.data, source.size);
    if (g_leak) { g_memory->allocate(host_job.allocator, 16, 4); }
    return result;
}

class Resources : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_memory = &memory;
        g_resources = &resources;
        g_leak = false;
        resources.register_compiler("character", 1, copy_compiler);
        resources.declare_type("character");
    }
    HostMemory memory;
    HostLog log;
    HostResources resources{memory, log};
    std::string error;
};

TEST_F(Resources, AreFoundByNameAndByKeyUntilTheirTypeIsReleased)
{
    ASSERT_TRUE(resources.compile("character", "hero", "{\"a\": 1}", "hero.character", error)) << error;
    const HostResource* const found = resources.find("character", "hero");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, resources.find(0x394e4fef3b347ba9u, murmur64("hero")));
    EXPECT_EQ(resources.find("character", "Hero"), nullptr);
    EXPECT_EQ(resources.find("creature", "hero"), nullptr);
    ASSERT_TRUE(resources.compile("character", "hero", "{\"a\": 1, \"b\": 2}", "hero.character", error));
    EXPECT_EQ(memory.live_blocks(), 1u) << "the second takes the place of the first";
    resources.release_type("character");
    EXPECT_EQ(resources.find("character", "hero"), nullptr);
    EXPECT_EQ(memory.live_blocks(), 0u);
    EXPECT_FALSE(resources.compile("character", "hero", "{}", "hero.character", error));
    EXPECT_THAT(error, HasSubstr("no compiler for type \"character\""));
    EXPECT_THAT(memory.faults(), ::testing::IsEmpty());
}

TEST_F(Resources, FailuresLeaveNothingBehindAndSayWhere)
{
    EXPECT_FALSE(resources.compile("character", "hero", "{\"a\": }", "bad.character", error));
    EXPECT_THAT(error, StartsWith("bad.character:1:"));
    EXPECT_FALSE(resources.load_file("character", "hero", "/nowhere/x.character", error));
    EXPECT_THAT(error, HasSubstr("/nowhere/x.character"));
    EXPECT_EQ(memory.live_blocks(), 0u);
    g_leak = true;
    EXPECT_TRUE(resources.compile("character", "leaky", "{}", "leaky.character", error));
    EXPECT_TRUE(log.contains("left 1 blocks"));
}

TEST_F(Resources, AWriteIntoABlockIsNoticed)
{
    ASSERT_TRUE(resources.compile("character", "hero", "{\"a\": 1}", "hero.character", error));
    static_cast<char*>(resources.find("character", "hero")->block)[2] ^= 1;
    resources.unload_all();
    EXPECT_TRUE(log.contains("was written into"));
}

TEST_F(Resources, CompiledCharactersAreLoadedWholeOrNotAtAll)
{
    // One mapping and one stance record behind the header.
    std::vector<uint32_t> words((128 + 8 + 48) / 4, 0u);
    words[0] = 0xBD25BE6Fu;
    words[1] = 1;
    const uint32_t places[8] = {128, 1, 136, 1, 184, 0, 184, 0};
    std::memcpy(&words[2], places, sizeof places);
    const std::string whole(reinterpret_cast<const char*>(words.data()), words.size() * 4);
    ASSERT_TRUE(resources.load_compiled("character", "hero", whole, "hero.bin", error)) << error;
    EXPECT_EQ(resources.find("character", "hero")->size, whole.size());
    for (size_t length = 0; length < whole.size(); ++length)
    {
        ASSERT_FALSE(resources.load_compiled("character", "cut", whole.substr(0, length), "cut.bin", error)) << length;
    }
    EXPECT_THAT(error, HasSubstr("cut or damaged"));
    words[3] = 0xFFFFFFFFu;
    const std::string wild(reinterpret_cast<const char*>(words.data()), words.size() * 4);
    EXPECT_FALSE(resources.load_compiled("character", "wild", wild, "wild.bin", error));
}

}  // namespace
}  // namespace limbrex_host
