// What the library derived from a stance, as plain numbers.
#pragma once

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "limbrex/limbrex.h"
#include "limbrex/limbrex_debug.h"
#include "tests/support/double_math.h"

namespace limbrex_test
{

// Node names are put together from a few words.
inline std::string joined(std::initializer_list<std::string_view> words)
{
    std::string name;
    for (const std::string_view word : words) name.append(word);
    return name;
}

struct ReleaseCharacter
{
    void operator()(LBXCharacter* character) const { LBXCharacterDestroy(character, std::free); }
};
using CharacterOwner = std::unique_ptr<LBXCharacter, ReleaseCharacter>;
inline CharacterOwner create(const LBXCharacterDefinition& definition)
{
    return CharacterOwner(LBXCharacterCreate(&definition, std::malloc));
}

struct NodeFrame
{
    double_math::Quat pre{}, post{};
    double_math::Vec3 minimum{}, maximum{};
    int order = -1;
    uint32_t flags = 0;
    double_math::Mat3 axes() const { return double_math::matrix_of(post); }
};
inline NodeFrame frame_of(const LBXCharacter* character, int node)
{
    NodeFrame frame;
    float pre[4] = {}, post[4] = {}, minimum[4] = {}, maximum[4] = {};
    LBXDebugGetNodeFrame(character, node, pre, post, &frame.order, minimum, maximum, &frame.flags);
    for (size_t i = 0; i < 4; ++i)
    {
        frame.pre[i] = pre[i];
        frame.post[i] = post[i];
    }
    for (size_t i = 0; i < 3; ++i)
    {
        frame.minimum[i] = minimum[i];
        frame.maximum[i] = maximum[i];
    }
    return frame;
}

inline double_math::Vec3 bend_axis_of(const LBXCharacter* character, int limb)
{
    float n[4] = {};
    LBXDebugGetLimbBendAxis(character, limb, n);
    return {n[0], n[1], n[2]};
}

inline void set_stance(LBXCharacter* character, int node, const double_math::Vec3& t, const double_math::Quat& q = {0, 0, 0, 1})
{
    const double s[3] = {1, 1, 1};
    LBXSetCharacterizeNodeStateTQSdv(character, node, t.data(), q.data(), s);
}

}  // namespace limbrex_test
