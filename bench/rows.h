// What rows have in common: a name with the rig's node count, runs that go round the moments of the animation, objects of one character.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "bench/bench_body.h"

namespace limbrex_bench
{

constexpr int kRuns = 9;  // after a warm-up

// One character of a crowd, with objects of its own as a game has them.
struct Solver
{
    const Body* body;
    limbrex_test::StateOwner state;
    limbrex_test::EffectorSetOwner sets[kMoments];

    Solver(const Body& b, size_t goal_count, size_t moments = kMoments) : body(&b), state(limbrex_test::make_state(b.rig.character))
    {
        for (size_t moment = 0; moment < moments; ++moment)
        {
            sets[moment] = limbrex_test::make_effector_set();
            place_goals(b, moment, goal_count, sets[moment].get());
        }
    }
    void start(size_t moment) const { LBXCharacterStateCopy(state.get(), body->animated[moment].get()); }
};

template <class Work>
void go_round(benchmark::State& bench, Work work)
{
    size_t moment = 0;
    for (auto iteration : bench)
    {
        static_cast<void>(iteration);
        work(moment);
        moment = (moment + 1) % kMoments;
    }
}

// Every row's name ends in "/<nodes>", by which the reporter finds its yardstick.
template <class Run>
void add_row(const std::string& name, const Body& body, Run run)
{
    benchmark::RegisterBenchmark((name + "/" + std::to_string(body.node_count())).c_str(), run)
        ->Unit(benchmark::kMicrosecond)
        ->MinTime(0.02)
        ->Repetitions(kRuns + 1);
}

}  // namespace limbrex_bench
