// Cost of solving, as a table of ratios to the forward-kinematics yardstick of the same rig.
//
//   limbrex_bench                 everything but the ten thousand
//   limbrex_bench --crowd         ten thousand characters too (about half a gigabyte)
//   limbrex_bench --benchmark_filter=... and the other switches of Google Benchmark
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <thread>

#include "bench/constraint_bench.h"
#include "bench/rows.h"
#include "bench/stage_bench.h"
#include "limbrex/limbrex_debug.h"

namespace limbrex_bench
{
namespace
{

using namespace limbrex_test;

struct Bodies
{
    Body small = make_body(small_rig());
    Body middle = make_body(sixty_nodes());
    Body large = make_body(large_rig());
};

void add_yardstick(Body& body)
{
    add_row("yardstick", body,
            [&body](benchmark::State& bench)
            {
                for (auto iteration : bench)
                {
                    static_cast<void>(iteration);
                    forward_kinematics(body.skeleton);
                    benchmark::ClobberMemory();
                }
            });
}

void add_solves(const Body& body)
{
    for (const size_t goals : {0u, 1u, 4u, 5u})
    {
        add_row("full solve, " + std::to_string(goals) + " goals", body,
                [&body, goals](benchmark::State& bench)
                {
                    Solver solver(body, goals);
                    go_round(bench,
                             [&](size_t moment)
                             {
                                 solver.start(moment);
                                 LBXSolveForEffectorSet(body.rig.character, solver.state.get(), solver.sets[moment].get(),
                                                        body.properties.get());
                             });
                });
    }
    add_row("low definition, 4 goals", body,
            [&body](benchmark::State& bench)
            {
                Solver solver(body, 4);
                go_round(bench,
                         [&](size_t moment)
                         {
                             solver.start(moment);
                             LBXSolveForEffectorSetLowDefinition(body.rig.character, solver.state.get(), solver.sets[moment].get(),
                                                                 body.properties.get());
                         });
            });
}

void add_stages(const Body& body)
{
    constexpr const char* kStages[] = {"prepare",          "floor clamp",     "body",        "limbs", "fingers", "head", "floor contact",
                                       "hips translation", "roll extraction", "post-process"};
    for (uint32_t stage = 0; stage < 10; ++stage)
    {
        add_row(std::string("stage: ") + kStages[stage], body,
                [&body, stage](benchmark::State& bench)
                {
                    Solver solver(body, 5);
                    go_round(bench,
                             [&](size_t moment)
                             {
                                 solver.start(moment);
                                 LBXDebugSolveStages(body.rig.character, solver.state.get(), solver.sets[moment].get(),
                                                     body.properties.get(), 1u << stage);
                             });
                });
    }
}

void add_transfers(const Body& body)
{
    add_row("copy a pose (part of every solve row)", body,
            [&body](benchmark::State& bench)
            {
                Solver solver(body, 0, 1);
                go_round(bench, [&](size_t moment) { solver.start(moment); });
            });
    add_row("set a pose from local transforms", body,
            [&body](benchmark::State& bench)
            {
                Solver solver(body, 0, 1);
                const LBXDataDescription description = body.description();
                go_round(bench,
                         [&](size_t moment) {
                             LBXSetCharacterStateTransformTQS(body.rig.character, solver.state.get(), &description,
                                                              body.locals[moment].data());
                         });
            });
    add_row("get a pose as local transforms", body,
            [&body](benchmark::State& bench)
            {
                Solver solver(body, 0, 1);
                const LBXDataDescription description = body.description();
                std::vector<NodeRecord> records(body.node_count());
                go_round(bench,
                         [&](size_t moment)
                         {
                             if (moment == 0) { solver.start(0); }
                             LBXGetCharacterStateTransformTQS(body.rig.character, solver.state.get(), &description, records.data());
                         });
            });
    add_row("effectors from a pose", body,
            [&body](benchmark::State& bench)
            {
                EffectorSetOwner set = make_effector_set();
                go_round(bench, [&](size_t moment)
                         { LBXEffectorSetFromState(body.rig.character, set.get(), body.animated[moment].get(), body.properties.get()); });
            });
}

// Characters with rig, pose and goals of their own, solved one after the other each frame. Time is per character.
void add_crowd(const Body& body, size_t count)
{
    add_row("full solve, 5 goals, each of " + std::to_string(count), body,
            [&body, count](benchmark::State& bench)
            {
                std::vector<std::unique_ptr<char[]>> rigs;
                std::vector<StateOwner> states;
                std::vector<EffectorSetOwner> sets;
                const size_t bytes = LBXCharacterGetSize(body.rig.character);
                for (size_t i = 0; i < count; ++i)
                {
                    rigs.push_back(std::make_unique<char[]>(bytes + 16));
                    char* aligned = rigs.back().get() + (16 - reinterpret_cast<uintptr_t>(rigs.back().get()) % 16) % 16;
                    std::memcpy(aligned, static_cast<const void*>(body.rig.character), bytes);
                    states.push_back(make_state(body.rig.character));
                    sets.push_back(make_effector_set());
                    place_goals(body, i % kMoments, 5, sets.back().get());
                }
                size_t i = 0;
                for (auto iteration : bench)
                {
                    static_cast<void>(iteration);
                    char* aligned = rigs[i].get() + (16 - reinterpret_cast<uintptr_t>(rigs[i].get()) % 16) % 16;
                    LBXCharacterStateCopy(states[i].get(), body.animated[i % kMoments].get());
                    LBXSolveForEffectorSet(reinterpret_cast<const LBXCharacter*>(aligned), states[i].get(), sets[i].get(),
                                           body.properties.get());
                    i = (i + 1) % count;
                }
            });
}

// The slowest hundredth of solves over the median: frames must not differ much. Each solve is taken at its fastest of several goes, so that
// the machine's own interruptions do not count.
void add_tail(const Body& body)
{
    add_row("slowest hundredth over the median, 5 goals", body,
            [&body](benchmark::State& bench)
            {
                Solver solver(body, 5);
                std::vector<double> fastest(kMoments, 1e9);
                for (auto iteration : bench)
                {
                    static_cast<void>(iteration);
                    for (size_t moment = 0; moment < kMoments; ++moment)
                    {
                        solver.start(moment);
                        const auto start = std::chrono::steady_clock::now();
                        LBXSolveForEffectorSet(body.rig.character, solver.state.get(), solver.sets[moment].get(), body.properties.get());
                        const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
                        fastest[moment] = std::min(fastest[moment], took.count());
                    }
                }
                std::sort(fastest.begin(), fastest.end());
                bench.counters["ratio"] = fastest[kMoments - 1] / fastest[kMoments / 2];
            });
}

double solves_per_second(const Body& body, size_t thread_count)
{
    constexpr int kSolves = 4000;
    const auto work = [&body](size_t seed)
    {
        Solver solver(body, 5);
        for (size_t i = 0; i < kSolves; ++i)
        {
            const size_t moment = (i + seed) % kMoments;
            solver.start(moment);
            LBXSolveForEffectorSet(body.rig.character, solver.state.get(), solver.sets[moment].get(), body.properties.get());
        }
    };
    const auto start = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (size_t t = 1; t < thread_count; ++t) { threads.emplace_back(work, t); }
    work(0);
    for (std::thread& thread : threads) { thread.join(); }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    return static_cast<double>(thread_count) * kSolves / took.count();
}

void add_threads(const Body& body)
{
    add_row("two threads over one, throughput, 5 goals", body,
            [&body](benchmark::State& bench)
            {
                double ratio = 0.0;
                for (auto iteration : bench)
                {
                    static_cast<void>(iteration);
                    ratio = solves_per_second(body, 2) / solves_per_second(body, 1);
                }
                bench.counters["ratio"] = ratio;
            });
}

// Collects the runs of each row and prints one line: the fastest of nine after a warm-up, and the ratio to the rig's yardstick.
class TableReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override
    {
        std::printf("%-46s %6s %12s %12s\n", "scenario", "nodes", "us", "x yardstick");
        std::printf("(min of %d runs after a warm-up; yardstick: forward kinematics of the same rig)\n", kRuns);
        return true;
    }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::vector<double> times;
        double ratio = 0.0;
        for (const Run& run : runs)
        {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) { continue; }
            times.push_back(run.GetAdjustedRealTime());
            const auto counter = run.counters.find("ratio");
            if (counter != run.counters.end() && times.size() > 1)
            {
                ratio = ratio == 0.0 ? pick(run, counter->second, counter->second) : pick(run, ratio, counter->second);
            }
        }
        if (times.size() < 2) { return; }
        const std::string name = runs.front().benchmark_name();
        const std::string label = runs.front().run_name.function_name;
        const size_t slash = label.rfind('/');
        const std::string nodes = label.substr(slash + 1);
        const std::string scenario = label.substr(0, slash);
        if (ratio != 0.0)
        {
            std::printf("%-46s %6s %12s %12.2f\n", scenario.c_str(), nodes.c_str(), "-", ratio);
            return;
        }
        const double fastest = *std::min_element(times.begin() + 1, times.end());
        if (scenario == "yardstick") { yardstick_us_[nodes] = fastest; }
        const auto unit = yardstick_us_.find(nodes);
        std::printf("%-46s %6s %12.3f %12.1f\n", scenario.c_str(), nodes.c_str(), fastest,
                    unit == yardstick_us_.end() ? 0.0 : fastest / unit->second);
        std::fflush(stdout);
    }

private:
    // Of two threads the best run counts, of the slowest hundredth the calmest.
    static double pick(const Run& run, double kept, double next)
    {
        const bool threads = run.benchmark_name().find("threads") != std::string::npos;
        return threads ? std::max(kept, next) : std::min(kept, next);
    }
    std::map<std::string, double> yardstick_us_;
};

void add_rows(Bodies& bodies, bool crowd)
{
    for (Body* body : {&bodies.small, &bodies.middle, &bodies.large})
    {
        add_yardstick(*body);
        add_transfers(*body);
        add_solves(*body);
    }
    add_stages(bodies.middle);
    add_floor_and_finger_rows(bodies.middle);
    for (const size_t count : {1u, 100u, 1000u}) { add_crowd(bodies.middle, count); }
    if (crowd) { add_crowd(bodies.middle, 10000); }
    add_tail(bodies.middle);
    add_threads(bodies.middle);
    add_constraint_rows(bodies.middle);
}

}  // namespace

int run(int argc, char** argv)
{
    const auto crowd = std::find_if(argv + 1, argv + argc, [](const char* argument) { return std::strcmp(argument, "--crowd") == 0; });
    const bool with_crowd = crowd != argv + argc;
    if (with_crowd) { argc = static_cast<int>(std::remove(crowd, argv + argc, *crowd) - argv); }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) { return 2; }
    Bodies bodies;
    add_rows(bodies, with_crowd);
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

}  // namespace limbrex_bench

int main(int argc, char** argv) { return limbrex_bench::run(argc, argv); }
