// Scripts: values and their arithmetic, calls of registered functions with any arguments, errors with their places, bounds.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "host/script.h"

namespace limbrex_host
{
namespace
{

using ::testing::HasSubstr;

// What `probe` was called with, read in every way that a plugin can.
struct Seen
{
    double number = 0.0;
    int32_t integer = 0;
    bool boolean = false;
    std::string string;
    int32_t index = 0;
    std::array<float, 3> vector{};
    uint32_t unit = 0;
};
std::vector<Seen> g_seen;

int probe(ScriptState* state)
{
    auto& call = *reinterpret_cast<ScriptCall*>(state);
    Seen seen;
    seen.number = script_arguments::number(call, 1);
    seen.integer = script_arguments::integer(call, 1);
    seen.boolean = script_arguments::boolean(call, 1);
    size_t length = 99;
    const char* const text = script_arguments::string(call, 1, &length);
    seen.string = text != nullptr ? std::string(text, length) : "(null)";
    seen.index = script_arguments::index(call, 1);
    const float* const vector = script_arguments::vector(call, 1);
    seen.vector = {vector[0], vector[1], vector[2]};
    seen.unit = script_arguments::unit(call, 1);
    g_seen.push_back(seen);
    return 0;
}

int give_all(ScriptState* state)
{
    auto& call = *reinterpret_cast<ScriptCall*>(state);
    call.push(script_value(1.5));
    call.push(script_value(int32_t{7}));
    call.push(script_value(true));
    call.push(script_value(std::string("text")));
    call.push(script_vector({1.0f, 2.0f, 3.0f}));
    return 5;
}

class Script : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_seen.clear();
        script.register_function("Test", "probe", probe);
        script.register_function("Test", "give_all", give_all);
        ASSERT_TRUE(script.open({1'000'000, size_t{16} * 1024 * 1024}));
    }
    // The script's own assertions decide; the message says which line failed.
    void expect_runs(const std::string& text)
    {
        std::string error;
        EXPECT_TRUE(script.run_text(text, "test.lua", error)) << error;
    }
    std::string error_of(const std::string& text)
    {
        std::string error;
        EXPECT_FALSE(script.run_text(text, "test.lua", error)) << text;
        return error;
    }
    HostLog log;
    HostUnits units;
    ScriptHost script{log, units};
};

TEST_F(Script, VectorsAndQuaternionsComputeAsGeometrySays)
{
    expect_runs(R"lua(
        local v, w = vec(1, 2, 3), vec(4, 5, 6)
        assert(v.x == 1 and v.y == 2 and v.z == 3 and v[1] == 1 and v[3] == 3 and #v == 3)
        assert(v + w == vec(5, 7, 9) and w - v == vec(3, 3, 3) and -v == vec(-1, -2, -3))
        assert(v * 2 == vec(2, 4, 6) and 2 * v == v * 2 and w / 2 == vec(2, 2.5, 3))
        assert(v + {1, 1, 1} == vec(2, 3, 4) and v + {x = 1, y = 0, z = 0} == vec(2, 2, 3))
        assert(vec(3, 4, 0):length() == 5 and vec(0, 0, 0):normalized() == vec(0, 0, 0))
        assert(math.abs(vec(3, 4, 12):normalized():length() - 1) < 1e-12)
        assert(v:dot(w) == 32 and v:cross(w) == vec(-3, 6, -3) and v:lerp(w, 0.5) == vec(2.5, 3.5, 4.5))
        assert(v:distance(w) == math.sqrt(27) and select("#", v:unpack()) == 3)
        v.x = 10; v[2] = 20
        assert(v == vec(10, 20, 3) and tostring(v) == "vec(10, 20, 3)" and v.none == nil)
        local q = quat_axis(vec(0, 0, 1), 90)
        assert((q * vec(1, 0, 0)):distance(vec(0, 1, 0)) < 1e-12)
        assert(((q * q) * vec(1, 0, 0)):distance(vec(-1, 0, 0)) < 1e-12)
        assert((q:conjugate() * (q * vec(1, 2, 3))):distance(vec(1, 2, 3)) < 1e-12)
        assert((quat(0, 0, 0, 1):lerp(q, 0.5) * vec(1, 0, 0)):distance(vec(math.sqrt(0.5), math.sqrt(0.5), 0)) < 1e-12)
        assert(q.w == q[4] and quat_axis(vec(0, 0, 0), 90).w == 1)
    )lua");
}

TEST_F(Script, ArgumentsReachPluginsAsWhatTheyAre)
{
    expect_runs(
        "Test.probe(3.9) Test.probe(true) Test.probe('abc') Test.probe(vec(1, 2, 3)) Test.probe({4, 5, 6}) Test.probe({x=7, y=8, z=9})");
    ASSERT_EQ(g_seen.size(), 6u);
    EXPECT_EQ(g_seen[0].number, 3.9);
    EXPECT_EQ(g_seen[0].integer, 3);
    EXPECT_EQ(g_seen[0].index, 2) << "scripts count from 1";
    EXPECT_TRUE(g_seen[0].boolean);
    EXPECT_TRUE(g_seen[1].boolean);
    EXPECT_EQ(g_seen[1].integer, 1);
    EXPECT_EQ(g_seen[2].string, "abc");
    EXPECT_EQ(g_seen[3].vector, (std::array<float, 3>{1.0f, 2.0f, 3.0f}));
    EXPECT_EQ(g_seen[4].vector, (std::array<float, 3>{4.0f, 5.0f, 6.0f}));
    EXPECT_EQ(g_seen[5].vector, (std::array<float, 3>{7.0f, 8.0f, 9.0f}));
    expect_runs(R"lua(
        local n, i, b, s, v = Test.give_all()
        assert(n == 1.5 and math.type(i) == "integer" and i == 7 and b == true and s == "text" and v == vec(1, 2, 3))
    )lua");
}

TEST_F(Script, WrongArgumentsAreNeutralAndWarnedOfOnceForEachPlace)
{
    expect_runs("for i = 1, 10 do\n  Test.probe({})\nend\nTest.probe()\nTest.probe(nil)\nTest.probe(print)\nTest.probe(setmetatable({}, "
                "{__index = error}))");
    ASSERT_EQ(g_seen.size(), 14u);
    for (const Seen& seen : g_seen)
    {
        EXPECT_EQ(seen.number, 0.0);
        EXPECT_EQ(seen.integer, 0);
        EXPECT_FALSE(seen.boolean);
        EXPECT_EQ(seen.string, "(null)");
        EXPECT_EQ(seen.index, -1);
        EXPECT_EQ(seen.vector, (std::array<float, 3>{}));
        EXPECT_EQ(seen.unit, 0u);
    }
    EXPECT_TRUE(log.contains("test.lua:2: Test.probe: argument 1: integer expected, got table"));
    EXPECT_TRUE(log.contains("test.lua:4: Test.probe: argument 1: vector expected, got nothing"));
    EXPECT_TRUE(log.contains("test.lua:6: Test.probe: argument 1: number expected, got function"));
    EXPECT_EQ(log.count(LogLevel::Warning), script.warnings());
}

TEST_F(Script, NumbersOutOfAnIntegersRangeAreHeldAtItsEnds)
{
    expect_runs("Test.probe(1e300) Test.probe(-math.huge) Test.probe(0/0) Test.probe(2^31)");
    constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
    constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(g_seen[0].integer, kHighest);
    EXPECT_EQ(g_seen[1].integer, kLowest);
    EXPECT_EQ(g_seen[2].integer, kLowest);
    EXPECT_EQ(g_seen[2].index, kLowest);
    EXPECT_TRUE(std::isnan(g_seen[2].number)) << "what to do with it is the plugin's decision";
    EXPECT_EQ(g_seen[3].integer, kHighest);
}

TEST_F(Script, ErrorsNameFileLineAndTheWayThere)
{
    const std::string error =
        error_of("local function inner()\n  error('broken')\nend\nlocal function outer()\n  inner()\n  return 1\nend\nouter()");
    EXPECT_THAT(error, HasSubstr("test.lua:2: broken"));
    EXPECT_THAT(error, HasSubstr("stack traceback"));
    EXPECT_THAT(error, HasSubstr("test.lua:5"));
    EXPECT_THAT(error_of("x ="), HasSubstr("test.lua:1:"));
    EXPECT_THAT(error_of("\n\nlocal v = vec(1, 2, 3) + 'a'"), HasSubstr("test.lua:3: bad argument #2"));
    EXPECT_THAT(error_of("error({})"), HasSubstr("table"));
    EXPECT_THAT(error_of("return vec(1, 2, 3) .. 'x'"), HasSubstr("test.lua:1"));
    std::string call_error;
    expect_runs("function update(time, step)\n assert(time == 2 and step == 0.5)\n local x = nil + 1\nend");
    EXPECT_FALSE(script.call_global("update", {2.0, 0.5}, call_error));
    EXPECT_THAT(call_error, HasSubstr("test.lua:3"));
    EXPECT_TRUE(script.call_global("no_such_function", {}, call_error));
    expect_runs("setmetatable(_G, {__index = function(_, name) error('unknown global ' .. name) end})");
    EXPECT_TRUE(script.call_global("no_such_function", {}, call_error)) << call_error;
}

TEST_F(Script, EndlessAndGreedyScriptsAreStoppedEvenWhenTheyCatchErrors)
{
    EXPECT_THAT(error_of("while true do end"), HasSubstr("instructions"));
    EXPECT_THAT(error_of("while true do pcall(function() while true do end end) end"), HasSubstr("instructions"));
    EXPECT_THAT(error_of("local c = coroutine.wrap(function() while true do end end) c()"), HasSubstr("instructions"));
    EXPECT_THAT(error_of("local t = {} while true do t[#t + 1] = string.rep('x', 100000) .. #t end"), HasSubstr("memory"));
    expect_runs("assert(1 + 1 == 2)");
}

TEST_F(Script, ReachNoFilesAndCannotFoolTheTypesOfValues)
{
    expect_runs("assert(io == nil and os == nil and require == nil and dofile == nil and load == nil and debug == nil)");
    EXPECT_THAT(error_of("getmetatable(vec(1, 2, 3)).__index(quat(0, 0, 0, 1), 1)"), HasSubstr("vec expected"));
    EXPECT_THAT(error_of("getmetatable(quat()).__newindex(vec(1, 2, 3), 4, 1)"), HasSubstr("quat expected"));
    EXPECT_THAT(error_of("local v = vec(1, 2, 3) v.foo = 1"), HasSubstr("no component"));
}

}  // namespace
}  // namespace limbrex_host
