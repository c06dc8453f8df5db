// A character context around a rig in its stance, with a ground below, for constraints that are evaluated alone: what they write into goals,
// properties and floor contacts is read straight from the context.
#pragma once

#include <vector>

#include "contexts/character_context.h"
#include "resources/compiled_character.h"
#include "tests/plugin/ground_shapes.h"
#include "tests/support/solver_objects.h"
#include "tests/support/t_stance_rig.h"
#include <gtest/gtest.h>

namespace test_engine
{

class GroundTest : public ::testing::Test
{
protected:
    explicit GroundTest(const limbrex_test::RigOptions& options = {});
    ~GroundTest() override;

    // Goals back onto the stance, weights and properties to their defaults, debug lists emptied: the start of a frame.
    void beginFrame();
    // Solver frame: turned about the world's up by the heading, its origin at a place.
    void placeRoot(const Vec3& position_world, float heading_deg);
    // y up becomes z up; a point of the solver frame in the world.
    Vec3 toWorld(const Vec3& point_solver) const;

    Vec3 goal(int effector) const;
    struct Plane
    {
        Vec3 position;
        Quat4 rotation;
        Vec3 up() const;  // the y axis of the rotation
    };
    Plane floorContact(int contact) const;

    limbrex_test::Rig rig;
    limbrex_test::StateOwner state;
    limbrex_test::EffectorSetOwner effectorSet;
    limbrex_test::PropertySetOwner propertySet;
    CompiledCharacter resource = {};
    CharacterContext context = {};

    // The engine behind the context.
    Ground ground;
    bool hasRays = true;
    bool hasBody = true;
    std::vector<Ray> rays;
    void acquireServices() const;  // again, after hasRays was changed

private:
    static void* getApi(uint32_t service_id);
};

}  // namespace test_engine
