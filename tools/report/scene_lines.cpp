#include "tools/report/scene_lines.h"

#include <algorithm>
#include <cmath>

namespace limbrex_tools
{
namespace
{

using limbrex_host::LineRecording;
using limbrex_host::Recording;

constexpr size_t kMostLines = 500'000;  // of all frames: 16 MB
constexpr float kHidden = 1e-4f;        // scale of what is not there; zero would be no transform at all

bool finite(const std::array<float, 3>& v) { return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]); }

LineMesh mesh_of(const std::vector<LineRecording>& lines)
{
    LineMesh mesh;
    for (const LineRecording& line : lines)
    {
        if (!finite(line.start_world) || !finite(line.end_world)) { continue; }
        for (const std::array<float, 3>& point : {line.start_world, line.end_world})
        {
            mesh.positions.insert(mesh.positions.end(), point.begin(), point.end());
            mesh.colors_argb.push_back(line.colour_argb);
        }
    }
    return mesh;
}

// Hidden, shown from its frame on, hidden again from the next.
void show_during(GltfModel& model, int animation, int node, size_t frame, const Recording& recording)
{
    const auto time_s = [&recording](size_t f) { return static_cast<float>(static_cast<double>(f) / recording.framesPerSecond); };
    std::vector<float> times_s;
    std::vector<float> scales;
    const auto key = [&](size_t f, float scale)
    {
        times_s.push_back(time_s(f));
        scales.insert(scales.end(), 3, scale);
    };
    if (frame > 0) { key(0, kHidden); }
    key(frame, 1.0f);
    if (frame + 1 < recording.frameCount) { key(frame + 1, kHidden); }
    model.add_track(animation, node, GltfPath::Scale, model.add_times(times_s), scales, GltfKeys::Step);
}

}  // namespace

void add_scene_lines(GltfModel& model, int parent, int animation, const Recording& recording)
{
    int group = -1;
    size_t written = 0;
    const size_t frames = std::min(recording.lines.size(), recording.frameCount);
    for (size_t frame = 0; frame < frames; ++frame)
    {
        const LineMesh mesh = mesh_of(recording.lines[frame]);
        written += mesh.positions.size() / 6;
        if (written > kMostLines) { return; }
        if (mesh.positions.empty()) { continue; }
        if (group < 0)
        {
            GltfNode node;
            node.name = "lines";
            node.parent = parent;
            group = model.add_node(node);
        }
        GltfNode node;
        node.name = "lines of frame " + std::to_string(recording.firstFrame + frame);
        node.parent = group;
        const float scale = frame == 0 ? 1.0f : kHidden;
        node.scale = {scale, scale, scale};
        node.mesh = model.add_mesh(node.name, mesh);
        const int shown = model.add_node(node);
        if (recording.frameCount > 1) { show_during(model, animation, shown, frame, recording); }
    }
}

}  // namespace limbrex_tools
