// Keyed motion of one node as files hold it, and its sampling at a steady rate.
#pragma once

#include <cstddef>
#include <vector>

#include "host/animation/pose_math.h"

namespace limbrex_host
{

struct VectorKey
{
    double time_s;
    Vec3d value;
};

struct RotationKey
{
    double time_s;
    Quatd value;  // unit
};

// Keys in rising time; a part without keys keeps the node's own value.
struct NodeTrack
{
    std::vector<VectorKey> translation;
    std::vector<RotationKey> rotation;
    std::vector<VectorKey> scale;
};

// Linear, respectively along the shorter arc, between keys; held before the first and after the last.
Vec3d sample(const std::vector<VectorKey>& keys, double time_s, Vec3d otherwise);
Quatd sample(const std::vector<RotationKey>& keys, double time_s, const Quatd& otherwise);

// How a clip was sampled. The step follows the keys themselves, the rate is what it is called: keys written as 0.0083333 make
// 120 frames a second, and sampling at 1/120 would drift off them.
struct Sampling
{
    double rate;
    double step_s;
};

// One over the usual key distance where that is a usual rate, else (keys were thinned out) the lowest usual rate whose frames
// hold the keys.
Sampling find_sampling(const std::vector<NodeTrack>& tracks);

double last_key_time(const std::vector<NodeTrack>& tracks);  // of translations and rotations; 0 without keys

}  // namespace limbrex_host
