// Rays against shapes whose hits are worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/units.h"
#include "host/world.h"

namespace limbrex_host
{
namespace
{

using Point = std::array<float, 3>;

NodePose at(float x, float y, float z, float heading_deg = 0.0f)
{
    NodePose pose;
    pose.position = {x, y, z};
    const float half_rad = heading_deg * 3.14159265f / 360.0f;
    pose.rotation = {0.0f, 0.0f, std::sin(half_rad), std::cos(half_rad)};
    return pose;
}

void expect_near(const Point& got, const Point& wanted, float tolerance)
{
    for (size_t i = 0; i < 3; ++i) { EXPECT_NEAR(got[i], wanted[i], tolerance) << "component " << i; }
}

// Height of the scenery under (x, y), from 10 m above; -100 when there is none.
float height_at(const HostPhysics& physics, float x, float y)
{
    RayHit hit;
    return physics.cast({x, y, 10.0f}, {0.0f, 0.0f, -1.0f}, 30.0f, nullptr, hit) ? hit.position[2] : -100.0f;
}

TEST(Rays, HitEveryShapeWhereGeometrySays)
{
    HostPhysics physics;
    add_ground(physics, -1.0f);
    physics.add(box_shape(2.0f, 4.0f, 1.0f), at(10.0f, 0.0f, 0.5f));
    physics.add(sphere_shape(0.5f), at(20.0f, 0.0f, 0.0f));
    physics.add(capsule_shape(0.25f, 2.0f), at(30.0f, 0.0f, 1.0f));
    physics.add(ramp_shape(4.0f, 2.0f, 2.0f), at(40.0f, 0.0f, 0.0f));
    physics.add(stairs_shape(3, 0.5f, 0.2f, 1.0f), at(50.0f, 0.0f, 0.0f));

    EXPECT_NEAR(height_at(physics, 0.0f, 0.0f), -1.0f, 1e-4f);
    EXPECT_NEAR(height_at(physics, 10.9f, -1.9f), 1.0f, 1e-4f);
    EXPECT_NEAR(height_at(physics, 11.1f, 0.0f), -1.0f, 1e-4f);
    EXPECT_NEAR(height_at(physics, 20.3f, 0.0f), 0.4f, 1e-3f);
    EXPECT_NEAR(height_at(physics, 30.0f, 0.0f), 2.0f, 1e-3f);
    EXPECT_NEAR(height_at(physics, 41.0f, 0.5f), 0.5f, 1e-4f);
    EXPECT_NEAR(height_at(physics, 50.25f, 0.0f), 0.2f, 1e-4f);
    EXPECT_NEAR(height_at(physics, 51.25f, 0.4f), 0.6f, 1e-4f);

    RayHit hit;
    ASSERT_TRUE(physics.cast({41.0f, 0.0f, 10.0f}, {0.0f, 0.0f, -1.0f}, 30.0f, nullptr, hit));
    expect_near(hit.normal, {-std::sqrt(0.2f), 0.0f, std::sqrt(0.8f)}, 1e-4f);
    ASSERT_TRUE(physics.cast({18.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}, 5.0f, nullptr, hit)) << "the direction's length does not matter";
    EXPECT_NEAR(hit.distance, 1.5f, 1e-3f);
    expect_near(hit.normal, {-1.0f, 0.0f, 0.0f}, 1e-3f);
    EXPECT_FALSE(physics.cast({18.0f, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f}, 1.4f, nullptr, hit)) << "too short";
}

TEST(Rays, FollowMovedTurnedAndRemovedColliders)
{
    HostPhysics physics;
    const size_t box = physics.add(box_shape(4.0f, 1.0f, 1.0f), at(0.0f, 0.0f, 0.0f));
    EXPECT_NEAR(height_at(physics, 1.9f, 0.0f), 0.5f, 1e-4f);
    ASSERT_TRUE(physics.move(box, at(0.0f, 0.0f, 2.0f, 90.0f)));
    EXPECT_NEAR(height_at(physics, 1.9f, 0.0f), -100.0f, 1e-4f);
    EXPECT_NEAR(height_at(physics, 0.0f, 1.9f), 2.5f, 1e-4f);
    ASSERT_TRUE(physics.remove(box));
    EXPECT_NEAR(height_at(physics, 0.0f, 0.0f), -100.0f, 1e-4f);
    EXPECT_FALSE(physics.move(box, at(0.0f, 0.0f, 0.0f)));
    EXPECT_FALSE(physics.remove(99));
}

TEST(Rays, KeepOffTheUnitTheirFilterNamesAndNoOther)
{
    HostPhysics physics;
    add_ground(physics, 0.0f);
    physics.add(capsule_shape(0.3f, 1.8f), at(0.0f, 0.0f, 0.9f), 11);
    physics.add(capsule_shape(0.3f, 1.0f), at(0.0f, 0.0f, 0.5f), 22);
    const auto height_for = [&physics](uint32_t unit)
    {
        const CollisionFilter filter{unit};
        RayHit hit;
        EXPECT_TRUE(physics.cast({0.0f, 0.0f, 5.0f}, {0.0f, 0.0f, -1.0f}, 10.0f, &filter, hit));
        return hit.position[2];
    };
    EXPECT_NEAR(height_for(0), 1.8f, 1e-3f);
    EXPECT_NEAR(height_for(11), 1.0f, 1e-3f);
    EXPECT_NEAR(height_for(22), 1.8f, 1e-3f);
}

TEST(Rays, NumbersThatAreNoneHitNothingAndShapesThatAreNoneAreRefused)
{
    HostPhysics physics;
    add_ground(physics, 0.0f);
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    RayHit hit;
    EXPECT_FALSE(physics.cast({0.0f, 0.0f, kNan}, {0.0f, 0.0f, -1.0f}, 10.0f, nullptr, hit));
    EXPECT_FALSE(physics.cast({0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, -kInfinity}, 10.0f, nullptr, hit));
    EXPECT_FALSE(physics.cast({0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, 0.0f}, 10.0f, nullptr, hit));
    EXPECT_FALSE(physics.cast({0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, -1.0f}, kInfinity, nullptr, hit));
    EXPECT_FALSE(physics.cast({0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, -1.0f}, -1.0f, nullptr, hit));
    EXPECT_EQ(physics.add(sphere_shape(-1.0f), at(0.0f, 0.0f, 0.0f)), HostPhysics::kNone);
    EXPECT_EQ(physics.add(sphere_shape(1.0f), at(kNan, 0.0f, 0.0f)), HostPhysics::kNone);
    ColliderShape mesh;
    mesh.kind = ColliderKind::Mesh;
    mesh.vertices = {{0.0f, 0.0f, 0.0f}};
    mesh.triangles = {{0, 0, 7}};
    EXPECT_EQ(physics.add(mesh, at(0.0f, 0.0f, 0.0f)), HostPhysics::kNone);
}

TEST(Units, HandlesGoStaleOnDeletionAndTheSlotsNextTenantHasAnother)
{
    HostUnits units;
    HostUnit& first = units.create("first", "rig");
    const uint32_t old_id = first.referenceId;
    const HostUnit* const old_place = &first;
    EXPECT_NE(old_id, 0u);
    EXPECT_EQ(units.resolve(old_id), &first);
    units.make_stale(first);
    EXPECT_EQ(units.resolve(old_id), nullptr);
    EXPECT_TRUE(units.known(old_place)) << "the record stays until the plugin was told";
    units.release(old_place);
    EXPECT_FALSE(units.known(old_place));
    const HostUnit& second = units.create("second", "rig");
    EXPECT_NE(second.referenceId, old_id);
    EXPECT_EQ(units.resolve(old_id), nullptr);
    EXPECT_EQ(units.resolve(second.referenceId), &second);
    EXPECT_EQ(units.resolve(0), nullptr);
    EXPECT_EQ(units.resolve(0xFFFFFFFFu), nullptr);
    EXPECT_EQ(units.live_count(), 1u);
}

}  // namespace
}  // namespace limbrex_host
