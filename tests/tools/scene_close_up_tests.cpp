// Close-ups of hand-made recordings: what they show fills its panel, and what cannot be shown is told in words.
#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include <unistd.h>

#include "tests/tools/report_fixture.h"
#include "tools/commands/close_up.h"

namespace limbrex_tools
{
namespace
{

using limbrex_host::Recording;
using ::testing::HasSubstr;

constexpr size_t kLeftForeArm = 8;
constexpr size_t kLeftUpLeg = 14;

class CloseUps : public testing::Test
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::path(testing::TempDir()) / ("limbrex_close_up_" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string path(const std::string& name) const { return (folder / name).string(); }

    struct Picture
    {
        int width = 0, height = 0;
        size_t blue = 0, red = 0;  // pixels of left and right limbs
    };
    Picture read(const std::string& name) const
    {
        Picture picture;
        cairo_surface_t* const surface = cairo_image_surface_create_from_png(path(name).c_str());
        EXPECT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS);
        picture.width = cairo_image_surface_get_width(surface);
        picture.height = cairo_image_surface_get_height(surface);
        const unsigned char* const data = cairo_image_surface_get_data(surface);
        for (int y = 0; y < picture.height; ++y)
        {
            for (int x = 0; x < picture.width; ++x)
            {
                const unsigned char* const bgr = data + y * cairo_image_surface_get_stride(surface) + 4 * x;
                picture.blue += bgr[0] > bgr[2] + 60 ? 1 : 0;
                picture.red += bgr[2] > bgr[0] + 60 ? 1 : 0;
            }
        }
        cairo_surface_destroy(surface);
        return picture;
    }

    std::filesystem::path folder;
    std::string error;
};

TEST_F(CloseUps, ShowOneLimbAndNothingOfTheOthers)
{
    Recording run = walking_run(30, 0.0);
    run.goals.clear();  // their marks are near the colour of the right side
    run.closeUps = {{"left leg", 0, kLeftUpLeg}};
    ASSERT_TRUE(write_close_ups(path("leg.png"), "leg", run, error)) << error;
    const Picture leg = read("leg.png");
    EXPECT_GT(leg.blue, size_t{20000});
    EXPECT_EQ(leg.red, 0u);
    // One row more for one part more, as wide as before.
    run.closeUps.push_back({"left arm", 0, kLeftForeArm});
    ASSERT_TRUE(write_close_ups(path("both.png"), "both", run, error)) << error;
    const Picture both = read("both.png");
    EXPECT_EQ(both.width, leg.width);
    EXPECT_GT(both.height, leg.height + 300);
    // A part without anything on it still makes a picture.
    run.closeUps = {{"tip", 0, run.units[0].skeleton.joints.size() - 1}};
    EXPECT_TRUE(write_close_ups(path("tip.png"), "tip", run, error)) << error;
}

TEST_F(CloseUps, OfNothingOrOfWhatIsNotThereLeaveNoFile)
{
    Recording run = walking_run(5, 0.0);
    EXPECT_TRUE(write_close_ups(path("none.png"), "none", run, error));
    run.closeUps = {{"hoof", 0, 99}};
    EXPECT_FALSE(write_close_ups(path("none.png"), "none", run, error));
    EXPECT_THAT(error, HasSubstr("close-up \"hoof\": the unit has no such joint"));
    run.closeUps = {{"hoof", 7, 0}};
    EXPECT_FALSE(write_close_ups(path("none.png"), "none", run, error));
    EXPECT_FALSE(std::filesystem::exists(path("none.png")));
}

}  // namespace
}  // namespace limbrex_tools
