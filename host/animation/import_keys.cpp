#include "host/animation/import_keys.h"

#include <algorithm>
#include <cmath>

namespace limbrex_host
{
namespace
{

constexpr double kDefaultRate = 30.0;
constexpr double kLowestRate = 5.0;
constexpr double kHighestRate = 480.0;
constexpr double kUsualRates[] = {24.0, 25.0, 30.0, 48.0, 50.0, 60.0, 100.0, 120.0, 240.0};
constexpr double kRateTolerance = 0.02;   // also takes 23.976 for 24
constexpr double kFrameTolerance = 0.03;  // of a frame: how far off a key may lie
constexpr double kShareOnFrames = 0.9;

// The key at or before `time_s` and the share of the way to the next.
template <typename Key>
std::pair<size_t, double> place_in(const std::vector<Key>& keys, double time_s)
{
    const auto after = std::upper_bound(keys.begin(), keys.end(), time_s, [](double t, const Key& key) { return t < key.time_s; });
    if (after == keys.begin()) { return {0, 0.0}; }
    const size_t at = static_cast<size_t>(after - keys.begin()) - 1;
    if (at + 1 >= keys.size()) { return {keys.size() - 1, 0.0}; }
    const double span = keys[at + 1].time_s - keys[at].time_s;
    return {at, span > 0.0 ? (time_s - keys[at].time_s) / span : 0.0};
}

// Median distance of successive rotation keys in seconds, 0 without keys.
double usual_step(const std::vector<NodeTrack>& tracks)
{
    std::vector<double> steps;
    for (const NodeTrack& track : tracks)
    {
        for (size_t k = 1; k < track.rotation.size(); ++k) { steps.push_back(track.rotation[k].time_s - track.rotation[k - 1].time_s); }
    }
    if (steps.empty()) { return 0.0; }
    const auto place = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), place, steps.end());
    return *place;
}

std::vector<double> key_times(const std::vector<NodeTrack>& tracks)
{
    std::vector<double> times_s;
    for (const NodeTrack& track : tracks)
    {
        for (const VectorKey& key : track.translation) { times_s.push_back(key.time_s); }
        for (const RotationKey& key : track.rotation) { times_s.push_back(key.time_s); }
    }
    return times_s;
}

double share_on_frames(const std::vector<double>& times_s, double rate)
{
    const auto on_frame = [rate](double t) { return std::fabs(t * rate - std::round(t * rate)) < kFrameTolerance; };
    return static_cast<double>(std::count_if(times_s.begin(), times_s.end(), on_frame)) / static_cast<double>(times_s.size());
}

}  // namespace

Vec3d sample(const std::vector<VectorKey>& keys, double time_s, Vec3d otherwise)
{
    if (keys.empty()) { return otherwise; }
    const auto [at, share] = place_in(keys, time_s);
    return share > 0.0 ? keys[at].value + (keys[at + 1].value - keys[at].value) * share : keys[at].value;
}

Quatd sample(const std::vector<RotationKey>& keys, double time_s, const Quatd& otherwise)
{
    if (keys.empty()) { return otherwise; }
    const auto [at, share] = place_in(keys, time_s);
    return share > 0.0 ? slerp(keys[at].value, keys[at + 1].value, share) : keys[at].value;
}

Sampling find_sampling(const std::vector<NodeTrack>& tracks)
{
    const double step_s = usual_step(tracks);
    for (const double usual : kUsualRates)
    {
        if (std::fabs(step_s * usual - 1.0) < kRateTolerance) { return {usual, step_s}; }
    }
    const Sampling otherwise{kDefaultRate, 1.0 / kDefaultRate};
    const std::vector<double> times_s = key_times(tracks);
    if (times_s.empty() || *std::max_element(times_s.begin(), times_s.end()) <= 0.0) { return otherwise; }
    for (const double usual : kUsualRates)
    {
        if (share_on_frames(times_s, usual) >= kShareOnFrames) { return {usual, 1.0 / usual}; }
    }
    return step_s >= 1.0 / kHighestRate && step_s <= 1.0 / kLowestRate ? Sampling{1.0 / step_s, step_s} : otherwise;
}

double last_key_time(const std::vector<NodeTrack>& tracks)
{
    double last_s = 0.0;
    for (const NodeTrack& track : tracks)
    {
        if (!track.translation.empty()) { last_s = std::max(last_s, track.translation.back().time_s); }
        if (!track.rotation.empty()) { last_s = std::max(last_s, track.rotation.back().time_s); }
    }
    return last_s;
}

}  // namespace limbrex_host
