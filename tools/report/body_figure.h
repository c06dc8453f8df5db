// A skeleton as a drawable body: which joint pairs are bones, how thick they are and on which side of the body they sit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/animation/clip.h"

namespace limbrex_tools
{

enum class Side
{
    Centre,
    Left,
    Right,
};

struct FigureBone
{
    size_t from;  // joint indices, parent and child
    size_t to;
    Side side;
    double radiusFrom;  // metres
    double radiusTo;
};

struct BodyFigure
{
    std::vector<Side> sides;  // per joint
    std::vector<FigureBone> bones;
    int32_t head = -1;  // the head joint and the tip of its bone, -1 where there is none
    int32_t headTip = -1;
    size_t root = 0;      // the joint a view is centred on: the highest one that branches
    double height = 1.0;  // metres, of the rest pose along its own longest path; never 0
};

// From the name's own words: "LeftArm", "lShldr", "upperarm_l", "Bip01 L Thigh", "FrontLeg.L", "lhand". Centre when it has none.
Side side_from_name(std::string_view name);

// Joints without a side of their own take their parent's. Bones of no length are left out, as are those above the root joint.
BodyFigure make_figure(const limbrex_host::Skeleton& skeleton);

}  // namespace limbrex_tools
