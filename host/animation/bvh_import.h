// From a BVH file's offsets and channels to the host's skeleton and clip, still in the file's unit and axes.
#pragma once

#include "host/animation/bvh_reader.h"
#include "host/animation/clip.h"

namespace limbrex_host
{

// Joint names become unique ("Hand" twice: "Hand", "Hand_2"), End Sites are named after their parent ("Head_end"). Rotations
// are composed in each joint's channel order, the first channel outermost. Position channels replace the offset, component by
// component, except on joints below a root whose positions evidently are differences from it.
void asset_from_bvh(const BvhFile& file, const std::string& clip_name, Asset& out);

// 1 / frame time, rounded to a whole rate when it is within 0.02 % of one (files write 0.0083333 for 120 a second).
double frame_rate(double frame_time_s);

}  // namespace limbrex_host
