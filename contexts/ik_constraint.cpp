#include "contexts/ik_constraint.h"

#include <iterator>

#include "resources/plugin_allocator.h"

namespace
{

// Row = effector id.
constexpr const char* kEffectorDisplayNames[] = {
    "Hips",           "Left Ankle",  "Right Ankle",  "Left Wrist", "Right Wrist", "Left Knee",  "Right Knee",
    "Left Elbow",     "Right Elbow", "Chest Origin", "Chest End",  "Left Foot",   "Right Foot", "Left Shoulder",
    "Right Shoulder", "Head",        "Left Hip",     "Right Hip",  "Left Hand",   "Right Hand",
};
static_assert(std::size(kEffectorDisplayNames) == 20, "the body's effectors; fingers and toes have no display name");

}  // namespace

void* IkConstraint::operator new(size_t size) noexcept { return plugin_allocate(size, alignof(std::max_align_t)); }

void IkConstraint::operator delete(void* block) noexcept { plugin_deallocate(block); }

void IkConstraint::stepBlend(float step_s)
{
    if (alpha == blendAlpha) return;
    // Scripts may set any time; a negative one would carry the weight away from its target.
    if (blendTime <= 0.0f)
    {
        alpha = blendAlpha;
        return;
    }
    const float step = step_s / blendTime;
    if (alpha >= blendAlpha)
    {
        alpha -= step;
        if (alpha < blendAlpha) alpha = blendAlpha;
    }
    else
    {
        alpha += step;
        if (alpha > blendAlpha) alpha = blendAlpha;
    }
}

const char* effectorDisplayName(int32_t effector)
{
    const bool named = effector >= 0 && effector < static_cast<int32_t>(std::size(kEffectorDisplayNames));
    return named ? kEffectorDisplayNames[effector] : "Unknown";
}
