// Lines recorded until the next flush.
#include <limits>

#include "debug/line_buffer.h"
#include "resources/host_services.h"
#include "resources/plugin_allocator.h"
#include "tests/plugin/plugin_services.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace plugin_test
{

namespace
{

using ::testing::ElementsAre;

class LineBuffer : public ::testing::Test
{
protected:
    LineBuffer()
    {
        acquire_host_services(PluginServices::get_api);
        EXPECT_TRUE(open_plugin_allocator());
        buffer = create_line_buffer();
    }
    ~LineBuffer() override
    {
        destroy_line_buffer(buffer);
        close_plugin_allocator();
    }
    void record(uint32_t colour, float start_x = 1.0f, float end_z = 2.0f)
    {
        const float start[3] = {start_x, 0.0f, 0.0f};
        const float end[3] = {0.0f, 0.0f, end_z};
        record_line(*buffer, colour, start, end);
    }

    PluginServices services;
    DebugLineBuffer* buffer;
};

TEST_F(LineBuffer, GrowsToTwiceItsRoomAndTen)
{
    EXPECT_EQ(buffer->colours.capacity, 0u);
    for (uint32_t i = 0; i < 31; ++i)
    {
        record(i);
        const uint32_t expected = i < 10 ? 10 : i < 30 ? 30 : 70;
        EXPECT_EQ(buffer->colours.capacity, expected);
        EXPECT_EQ(buffer->starts.capacity, expected);
        EXPECT_EQ(buffer->ends.capacity, expected);
        EXPECT_EQ(buffer->starts.count, i + 1);
    }
    for (uint32_t i = 0; i < 31; ++i) EXPECT_EQ(buffer->colours.values[i], i);
}

TEST_F(LineBuffer, FlushesEverythingInOneCallAndKeepsItsStorage)
{
    static char argument[] = "argument";
    ServiceWorld& world = services.addWorld();
    auto* drawing = reinterpret_cast<DrawingContext*>(world.handle());
    auto* lines = reinterpret_cast<LineObject*>(world.handle());
    record(7, 1.0f, 2.0f);
    record(8, 3.0f, 4.0f);
    services.events.clear();
    flush_lines(*buffer, drawing, argument, lines);
    EXPECT_THAT(services.events, ElementsAre("reset A", "line 7 from 1 to 2", "line 8 from 3 to 4", "dispatch A with argument"));
    EXPECT_EQ(buffer->colours.count + buffer->starts.count + buffer->ends.count, 0u);
    EXPECT_EQ(buffer->starts.capacity, 10u);
    services.events.clear();
    flush_lines(*buffer, drawing, argument, lines);
    EXPECT_THAT(services.events, ElementsAre("reset A", "dispatch A with argument"));
}

TEST_F(LineBuffer, DropsWhatIsNotFiniteAndWhatFindsNoMemory)
{
    record(1, std::numeric_limits<float>::quiet_NaN());
    record(2, 0.0f, std::numeric_limits<float>::infinity());
    EXPECT_EQ(buffer->starts.count, 0u);
    for (uint64_t failing = 1; failing <= 3; ++failing)
    {
        services.memory.fail_allocation(failing);
        while (buffer->colours.count < buffer->colours.capacity || buffer->ends.count < buffer->ends.capacity) record(3);
        record(4);
        services.memory.fail_allocation(0);
        EXPECT_EQ(buffer->colours.count, buffer->starts.count);
        EXPECT_EQ(buffer->colours.count, buffer->ends.count);
    }
    const uint32_t before = buffer->colours.count;
    record(5);
    EXPECT_EQ(buffer->colours.count, before + 1);
}

}  // namespace

}  // namespace plugin_test
