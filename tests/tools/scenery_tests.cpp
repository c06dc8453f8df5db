// Colliders as reports draw them.
#include <gtest/gtest.h>

#include <limits>

#include "host/colliders.h"
#include "tools/report/scenery.h"

namespace
{

using limbrex_host::ColliderRecording;
using limbrex_host::Recording;
using limbrex_host::Vec3d;
using limbrex_tools::Facet;
using limbrex_tools::scenery_at;

ColliderRecording box_at(std::array<float, 3> place)
{
    ColliderRecording box;
    limbrex_host::triangulate(limbrex_host::box_shape(1.0f, 2.0f, 4.0f), 1.0f, box);
    box.poses_world.resize(1);
    box.poses_world[0].position = place;
    return box;
}

}  // namespace

TEST(Scenery, ABoxHasItsFacesWhereItStandsAllTurnedOutward)
{
    Recording recording;
    recording.colliders.push_back(box_at({10.0f, 0.0f, 2.0f}));
    // A quarter turn about z: what was long across is long along x.
    recording.colliders[0].poses_world[0].rotation = {0.0f, 0.0f, 0.70710678f, 0.70710678f};
    const std::vector<std::vector<Facet>> scenery = scenery_at(recording, 7);
    ASSERT_EQ(scenery.size(), 1u);
    ASSERT_EQ(scenery[0].size(), 12u);
    double area = 0.0;
    for (const Facet& facet : scenery[0])
    {
        const Vec3d middle = (facet.corners[0] + facet.corners[1] + facet.corners[2]) * (1.0 / 3.0) - Vec3d{10.0, 0.0, 2.0};
        EXPECT_GT(dot(facet.normal, middle), 0.0);
        for (const Vec3d& corner : facet.corners)
        {
            EXPECT_NEAR(std::fabs(corner.x - 10.0), 1.0, 1e-6);
            EXPECT_NEAR(std::fabs(corner.y), 0.5, 1e-6);
        }
        area += 0.5 * length(cross(facet.corners[1] - facet.corners[0], facet.corners[2] - facet.corners[0]));
    }
    EXPECT_NEAR(area, 2.0 * (2.0 + 4.0 + 8.0), 1e-5);
}

TEST(Scenery, WhatHasNoSoundShapeOrPlaceIsLeftOut)
{
    Recording recording;
    recording.colliders = {box_at({0.0f, 0.0f, 0.0f}), box_at({0.0f, 0.0f, 0.0f}), box_at({0.0f, 0.0f, 0.0f}), box_at({0.0f, 0.0f, 0.0f})};
    recording.colliders[0].plane = true;
    recording.colliders[1].poses_world[0].position[1] = std::numeric_limits<float>::quiet_NaN();
    recording.colliders[2].poses_world.resize(3);
    recording.colliders[3].triangles[0][1] = 1000000u;
    EXPECT_EQ(scenery_at(recording, 2).size(), 2u) << "the moving one, and one without facets";
    EXPECT_TRUE(scenery_at(recording, 2)[1].empty());
    EXPECT_EQ(scenery_at(recording, 3).size(), 1u) << "past the moving one's last pose";
}
