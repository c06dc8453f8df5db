// A glTF 2.0 scene under construction: materials, meshes, a node tree and keyed motion, saved as one GLB. The only door to
// the glTF library. Indices that the add operations return are the file's own.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/report/canvas.h"
#include "tools/report/shapes.h"

namespace limbrex_tools
{

struct GltfNode
{
    std::string name;  // bytes that are no UTF-8 are replaced; a name that is taken gets a number, since readers bind keys by name
    int parent = -1;   // -1: a root of the scene
    std::array<float, 3> translation{0.0f, 0.0f, 0.0f};
    std::array<float, 4> rotation{0.0f, 0.0f, 0.0f, 1.0f};
    std::array<float, 3> scale{1.0f, 1.0f, 1.0f};
    int mesh = -1;
};

enum class GltfPath
{
    Translation,
    Rotation,
    Scale,
};

enum class GltfKeys
{
    Linear,
    Step,  // a value holds until the next key
};

// Separate lines, two points each.
struct LineMesh
{
    std::vector<float> positions;       // x, y, z a point
    std::vector<uint32_t> colors_argb;  // one a point
};

class GltfModel
{
public:
    explicit GltfModel(const std::string& generator);
    ~GltfModel();
    GltfModel(const GltfModel&) = delete;
    GltfModel& operator=(const GltfModel&) = delete;

    int add_material(const std::string& name, Color color);
    int add_mesh(const std::string& name, const TriangleMesh& mesh, int material);
    int add_mesh(const std::string& name, const LineMesh& mesh);  // in the colours of its points
    int add_node(const GltfNode& node);

    // Key times in seconds, rising; shared by any number of tracks.
    int add_times(const std::vector<float>& times_s);
    int add_animation(const std::string& name);
    // `values`: 3 or 4 floats a key.
    void add_track(int animation, int node, GltfPath path, int times, const std::vector<float>& values, GltfKeys keys = GltfKeys::Linear);

    // Whole or not at all.
    bool save_glb(const std::string& path, std::string& error);

private:
    struct Model;
    std::unique_ptr<Model> model_;
};

}  // namespace limbrex_tools
