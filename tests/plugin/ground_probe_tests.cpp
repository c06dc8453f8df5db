// Where the ground is found: hits, their mean, and what is no ground at all.
#include <cmath>
#include <limits>

#include "constraints/ground_probe.h"
#include "tests/plugin/character_fixture.h"
#include "tests/plugin/ground_fixture.h"

namespace test_engine
{

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class GroundProbeTest : public GroundTest
{
protected:
    GroundContact probe(int32_t rayCount, float radius = 0.2f, float up = 0.5f, float down = 2.0f)
    {
        rays.clear();
        return probe_ground(context, LBXEffectorLeftAnkle, {up, down, rayCount, radius});
    }
    static Vec3 position(const GroundContact& contact) { return {contact.position.x, contact.position.y, contact.position.z}; }
    static Vec3 up(const GroundContact& contact)
    {
        return Plane{{}, {contact.rotation.x, contact.rotation.y, contact.rotation.z, contact.rotation.w}}.up();
    }
    static void expectFarLevel(const GroundContact& contact)
    {
        EXPECT_FALSE(contact.hit);
        EXPECT_EQ(position(contact), (Vec3{0, -1000, 0}));
        EXPECT_EQ(up(contact), (Vec3{0, 1, 0}));
    }
};

TEST_F(GroundProbeTest, OneRayFallsThroughTheEffectorIntoTheContextsWorld)
{
    placeRoot({4, -7, 1}, 130.0f);
    ground = plane(0.9f);
    const GroundContact contact = probe(1);

    ASSERT_EQ(rays.size(), 1u);
    const Vec3 ankle_world = toWorld(goal(LBXEffectorLeftAnkle));
    EXPECT_THAT(rays[0].origin, Near3(Vec3{ankle_world[0], ankle_world[1], ankle_world[2] + 0.5f}, 1e-5));
    EXPECT_EQ(rays[0].direction, (Vec3{0, 0, -1}));
    EXPECT_FLOAT_EQ(rays[0].length, 2.5f);
    EXPECT_EQ(static_cast<const void*>(rays[0].world), context.world);

    EXPECT_TRUE(contact.hit);
    EXPECT_THAT(toWorld(position(contact)), Near3(Vec3{ankle_world[0], ankle_world[1], 0.9f}, 1e-5));
    EXPECT_NEAR(contact.position.y, -0.1f, 1e-5f) << "the root stands at height 1";
    EXPECT_THAT(up(contact), Near3(Vec3{0, 1, 0}, 1e-6));
}

TEST_F(GroundProbeTest, TheUnitsOwnFilterGoesWithEveryRay)
{
    ground = [](const Ray& ray, RayHit& hit)
    {
        // The unit's own body is everywhere, half a metre up; who is filtered falls through it onto the ground.
        hit = {{ray.origin[0], ray.origin[1], ray.filtered ? 0.0f : 0.5f}, {0, 0, 1}};
        return true;
    };
    EXPECT_NEAR(probe(3).position.y, 0.0f, 1e-6f);
    for (const Ray& ray : rays) EXPECT_EQ(static_cast<const void*>(ray.filtered), context.unit);
    hasBody = false;
    EXPECT_NEAR(probe(3).position.y, 0.5f, 1e-6f) << "no physics actor, no filter";
}

TEST_F(GroundProbeTest, FourRaysAreTheMiddleAndThreeQuartersOfACircle)
{
    ground = plane(0.0f);
    probe(4);
    ASSERT_EQ(rays.size(), 4u);
    const Vec3 ankle = goal(LBXEffectorLeftAnkle);
    const Vec3 around[] = {{0, 0, 0}, {0.2f, 0, 0}, {0, 0, 0.2f}, {-0.2f, 0, 0}};  // 0, 90 and 180 degrees, not 270
    for (size_t i = 0; i < 4; ++i)
    {
        const Vec3 through = toWorld({ankle[0] + around[i][0], ankle[1] + 0.5f, ankle[2] + around[i][2]});
        EXPECT_THAT(rays[i].origin, Near3(through, 1e-5)) << "ray " << i;
    }
}

TEST_F(GroundProbeTest, TheContactIsTheMeanOfTheHits)
{
    // The ankle stands before the edge; of four rays one lies behind it.
    const float ankle_x = goal(LBXEffectorLeftAnkle)[0];
    ground = step_at(ankle_x + 0.1f, 0.0f, 0.4f);
    const GroundContact on_edge = probe(4);
    EXPECT_NEAR(on_edge.position.y, 0.1f, 1e-6f);
    EXPECT_NEAR(on_edge.position.x, ankle_x, 1e-6f) << "+0.2, 0 and -0.2 cancel out";

    // A hole swallows the middle ray and the one at 180 degrees: the two others remain.
    const Ground step = ground;
    ground = [&step, ankle_x](const Ray& ray, RayHit& hit)
    { return (ray.origin[0] > ankle_x + 0.1f || std::fabs(ray.origin[1]) > 0.15f) && step(ray, hit); };
    const GroundContact beside_hole = probe(4);
    EXPECT_TRUE(beside_hole.hit);
    EXPECT_NEAR(beside_hole.position.y, 0.2f, 1e-6f);
    EXPECT_NEAR(beside_hole.position.x, ankle_x + 0.1f, 1e-6f);
}

TEST_F(GroundProbeTest, TheContactTurnsWithTheGround)
{
    ground = ramp(15.0f);
    for (const float heading_deg : {0.0f, 90.0f, -130.0f})
    {
        placeRoot({1, 2, 0.3f}, heading_deg);
        for (const int32_t rayCount : {1, 4, 9})
        {
            const GroundContact contact = probe(rayCount);
            const Vec3 foot_world = toWorld(position(contact));
            EXPECT_NEAR(foot_world[2], foot_world[0] * std::tan(15.0f * 3.14159265f / 180.0f), 1e-5f);
            const Vec3 tip = toWorld(up(contact)), root = toWorld({0, 0, 0});
            EXPECT_THAT((Vec3{tip[0] - root[0], tip[1] - root[1], tip[2] - root[2]}), Near3(Vec3{-0.258819f, 0, 0.965926f}, 1e-5))
                << heading_deg << " degrees, " << rayCount << " rays";
        }
    }
}

TEST_F(GroundProbeTest, SteepGroundWallsAndCeilingsAreLevel)
{
    const auto with_normal = [](Vec3 normal) { return surface([normal](float, float) { return GroundSample{0.05f, normal}; }); };
    for (const Vec3& normal : {Vec3{0.953939f, 0, 0.3f}, Vec3{1, 0, 0}, Vec3{0, 0, -1}, Vec3{0.6f, 0, -0.8f}, Vec3{0, 0, 0},
                               Vec3{kNaN, 0, 1}, Vec3{0, kInfinity, 0}, Vec3{3e38f, 0, 3e38f}})
    {
        ground = with_normal(normal);
        const GroundContact contact = probe(1);
        EXPECT_TRUE(contact.hit);
        EXPECT_NEAR(contact.position.y, 0.05f, 1e-6f);
        const float steepness = normal[0] == 3e38f ? 0.70710678f : 1.0f;  // 45 degrees, however long the vector is
        EXPECT_NEAR(up(contact)[1], steepness, 1e-5f) << ::testing::PrintToString(normal);
    }
    ground = with_normal({0.9f, 0, 0.43589f});
    EXPECT_NEAR(up(probe(1))[1], 0.43589f, 1e-5f) << "just not too steep";
}

TEST_F(GroundProbeTest, NoServiceNoWorldNoHitAndNoSoundHitAreNoGround)
{
    expectFarLevel(probe(5));
    for (const Vec3& place : {Vec3{kNaN, 0, 0}, Vec3{0, kInfinity, 0}, Vec3{0, 0, -kInfinity}, Vec3{0, 0, 3e38f}})
    {
        ground = [place](const Ray&, RayHit& hit)
        {
            hit = {place, {0, 0, 1}};
            return true;
        };
        expectFarLevel(probe(5));
    }
    ground = plane(0.0f);
    context.world = nullptr;
    expectFarLevel(probe(5));
    EXPECT_TRUE(rays.empty());
    context.world = reinterpret_cast<World*>(&context);
    EXPECT_TRUE(probe(5).hit);
    hasRays = false;
    acquireServices();
    expectFarLevel(probe(5));
}

TEST_F(GroundProbeTest, WildCountsLengthsAndRadiiKeepAFramesWorkBoundedAndItsResultFinite)
{
    ground = plane(0.0f);
    for (const int32_t rayCount : {0, -1, std::numeric_limits<int32_t>::min()})
    {
        EXPECT_TRUE(probe(rayCount).hit);
        EXPECT_EQ(rays.size(), 1u) << rayCount;
    }
    EXPECT_TRUE(probe(std::numeric_limits<int32_t>::max()).hit);
    EXPECT_LE(rays.size(), 64u);

    expectFarLevel(probe(3, 0.1f, 0.0f, 0.0f));
    expectFarLevel(probe(3, 0.1f, -5.0f, -5.0f));
    EXPECT_TRUE(rays.empty()) << "rays without a length are not cast";
    for (const float radius : {3e38f, kInfinity, kNaN})
    {
        for (const float length : {3e38f, 1e20f, 1.0f})
        {
            const GroundContact contact = probe(8, radius, length, length);
            EXPECT_TRUE(is_finite3(contact.position) && is_finite4(contact.rotation)) << radius << ' ' << length;
            for (const Ray& ray : rays) EXPECT_TRUE(std::isfinite(ray.length) && std::isfinite(ray.origin[0] + ray.origin[2]));
        }
    }
    EXPECT_NEAR(probe(1, 0.1f, 3e38f, 3e38f).position.y, 0.0f, 1e-3f) << "a ray that long is cut, and still hits";
}

TEST(PushedRayLength, OutsideZeroToTenIsFive)
{
    EXPECT_EQ(pushed_ray_length(0.0f), 5.0f);
    EXPECT_EQ(pushed_ray_length(20.0f), 5.0f);
    EXPECT_EQ(pushed_ray_length(-1.0f), 5.0f);
    EXPECT_EQ(pushed_ray_length(10.0f), 10.0f);
    EXPECT_EQ(pushed_ray_length(0.001f), 0.001f);
}

}  // namespace

}  // namespace test_engine
