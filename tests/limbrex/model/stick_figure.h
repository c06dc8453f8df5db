// A stick figure to characterize, joint by joint, by name.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/support/rig_queries.h"

namespace stick_figure
{

using double_math::Vec3;
using limbrex_test::CharacterOwner;

inline constexpr double kRadians = double_math::kPi / 180.0;

// A stick figure with nothing bent; right is left mirrored.
using Figure = std::map<std::string, Vec3>;
inline Figure straight_figure()
{
    Figure figure = {{"Hips", {0, 1, 0}}, {"Spine", {0, 1.1, 0}}, {"Spine1", {0, 1.3, 0}}, {"Neck", {0, 1.5, 0}}, {"Head", {0, 1.6, 0}}};
    const Figure left = {{"UpLeg", {0.1, 0.9, 0}},     {"Leg", {0.1, 0.5, 0}},           {"Foot", {0.1, 0.1, 0}},
                         {"Shoulder", {0.05, 1.4, 0}}, {"Arm", {0.2, 1.4, 0}},           {"ForeArm", {0.5, 1.4, 0}},
                         {"Hand", {0.8, 1.4, 0}},      {"HandIndex1", {0.9, 1.4, 0.02}}, {"HandIndex2", {0.93, 1.4, 0.02}}};
    for (const auto& [name, p] : left)
    {
        figure["Left" + name] = p;
        figure["Right" + name] = {-p[0], p[1], p[2]};
    }
    return figure;
}
inline CharacterOwner build(const Figure& figure, const std::vector<std::string>& limited = {})
{
    LBXCharacterDefinition definition{};
    for (const auto& [name, p] : figure) definition.nodeFlags[LBXGetNodeIdFromName(name.c_str())] |= LBXNodeUsed;
    for (const auto& name : limited) definition.nodeFlags[LBXGetNodeIdFromName(name.c_str())] |= LBXNodeHasLimits;
    CharacterOwner character = limbrex_test::create(definition);
    for (const auto& [name, p] : figure) limbrex_test::set_stance(character.get(), LBXGetNodeIdFromName(name.c_str()), p);
    return character;
}

inline void expect_vec(const Vec3& v, const Vec3& expected, double tolerance, const std::string& what)
{
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(v[i], expected[i], tolerance) << what << ", component " << i;
}

}  // namespace stick_figure
