// What the benches solve: T-stance rigs of several sizes, a walk-like stretch of animation, goals on hands, feet and head that move with it.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench/yardstick.h"
#include "limbrex/limbrex.h"
#include "tests/support/solver_objects.h"
#include "tests/support/t_stance_rig.h"

namespace limbrex_bench
{

// As bulk operations exchange it.
struct NodeRecord
{
    float t[4], q[4], s[4];
};

constexpr size_t kMoments = 64;  // of the animation; runs go round and round

struct Body
{
    limbrex_test::Rig rig;
    std::vector<std::vector<NodeRecord>> locals;     // per moment
    std::vector<limbrex_test::StateOwner> animated;  // per moment
    limbrex_test::PropertySetOwner properties;
    std::vector<int32_t> nodeIds;  // closed by -2
    Skeleton skeleton;             // the same joints for the yardstick

    size_t node_count() const { return rig.nodes.size(); }
    LBXDataDescription description() const;  // local space, records in the order of nodeIds
};

Body make_body(const limbrex_test::RigOptions& options);
limbrex_test::RigOptions small_rig();  // 22 nodes: no fingers
limbrex_test::RigOptions large_rig();  // 150 nodes: long spine and neck, fingers, toes, twist joints

// Goals at one moment: how many of left hand, right hand, left foot, right foot, head (in this order) reach and pull. Hands reach about a
// third of a metre away, beyond the arm every other second; feet and head a few centimetres.
void place_goals(const Body& body, size_t moment, size_t goal_count, LBXEffectorSet* set);

}  // namespace limbrex_bench
