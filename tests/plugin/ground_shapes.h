// Grounds for the plugin's rays, worked out in the world: z up.
#pragma once

#include <cmath>
#include <functional>

#include "tests/plugin/test_engine.h"

namespace test_engine
{

// Straight below a point: the ground's height there and its normal.
struct GroundSample
{
    float height;
    Vec3 normal;
};

// A surface that has one height everywhere, as the plugin's vertical rays see it: hit from the origin down to the ray's length.
inline Ground surface(const std::function<GroundSample(float x, float y)>& sample)
{
    return [sample](const Ray& ray, RayHit& hit)
    {
        const GroundSample below = sample(ray.origin[0], ray.origin[1]);
        const float distance = ray.origin[2] - below.height;
        if (distance < 0.0f || distance > ray.length) return false;
        hit = {{ray.origin[0], ray.origin[1], below.height}, below.normal};
        return true;
    };
}

inline Ground plane(float height)
{
    return surface([height](float, float) { return GroundSample{height, {0, 0, 1}}; });
}

// Rises along +x by the slope, from height 0 at x = 0.
inline Ground ramp(float slope_deg)
{
    const float slope = slope_deg * 3.14159265f / 180.0f;
    return surface([slope](float x, float) { return GroundSample{x * std::tan(slope), {-std::sin(slope), 0, std::cos(slope)}}; });
}

// Level on both sides of x = edge.
inline Ground step_at(float edge, float height_before, float height_behind)
{
    return surface([=](float x, float) { return GroundSample{x < edge ? height_before : height_behind, {0, 0, 1}}; });
}

}  // namespace test_engine
