// A solve allocates nothing: every way to memory is counted. The sanitizers bring an allocator of their own, which is left to them.

#include <gtest/gtest.h>

#include "tests/limbrex/solvers/solver_fixture.h"

#if !defined(__SANITIZE_ADDRESS__)

namespace
{

long allocation_count = 0;

}  // namespace

// The C library names its own operations this way.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* malloc(size_t size) noexcept
{
    ++allocation_count;
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) noexcept
{
    ++allocation_count;
    return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) noexcept
{
    ++allocation_count;
    return __libc_realloc(block, size);
}
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

TEST(Allocation, NoSolveTakesMemory)
{
    using namespace solver_test;
    Random random(100);
    RigOptions options;
    options.armRolls = options.legRolls = options.toes = options.hipsTranslation = true;
    Scene scene(options);
    for (int i = 0; i < 10; ++i)
    {
        scene.random_pose(random);
        for (int effector = 0; effector < LBXLastEffectorId; ++effector)
            scene.want(effector, scene.goal(effector).t + random.vector(0.2), {0.7f, 0.4f, 0.6f, 0.3f});
        const long before = allocation_count;
        ASSERT_GT(before, 0);  // the scene's own are counted, so the library's would be
        scene.solve();
        scene.solve_low();
        EXPECT_EQ(allocation_count, before);
    }
}

#endif
