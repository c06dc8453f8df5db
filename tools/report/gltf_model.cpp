#include "tools/report/gltf_model.h"

#include <tiny_gltf.h>

#include <algorithm>
#include <cstring>

#include "host/animation/import_names.h"
#include "tools/report/pending_file.h"
#include "tools/report/utf8.h"

namespace limbrex_tools
{

struct GltfModel::Model
{
    tinygltf::Model gltf;
    limbrex_host::UniqueNames nodeNames;
    int lineMaterial = -1;
};

namespace
{

constexpr double kRoughness = 0.85;
constexpr double kTranslucent = 0.999;  // as good as opaque, and blended where the points' own colours are not

// Red first in memory, as the file's colours are stored.
uint32_t bytes_rgba(uint32_t argb) { return (argb & 0xff00ff00u) | (argb >> 16 & 0xffu) | (argb & 0xffu) << 16; }

// Appends numbers to the one buffer and returns the index of their view. All components are four bytes, so views stay aligned.
template <typename Number>
int add_view(tinygltf::Model& gltf, const std::vector<Number>& values, int target)
{
    static_assert(sizeof(Number) == 4);
    std::vector<unsigned char>& bytes = gltf.buffers[0].data;
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = bytes.size();
    view.byteLength = values.size() * sizeof(Number);
    view.target = target;
    bytes.resize(bytes.size() + view.byteLength);
    if (!values.empty()) { std::memcpy(bytes.data() + view.byteOffset, values.data(), view.byteLength); }
    gltf.bufferViews.push_back(view);
    return static_cast<int>(gltf.bufferViews.size()) - 1;
}

int add_accessor(tinygltf::Model& gltf, int view, int component, int type, size_t count)
{
    tinygltf::Accessor accessor;
    accessor.bufferView = view;
    accessor.componentType = component;
    accessor.type = type;
    accessor.count = count;
    gltf.accessors.push_back(accessor);
    return static_cast<int>(gltf.accessors.size()) - 1;
}

int add_floats(tinygltf::Model& gltf, const std::vector<float>& values, int type, size_t width, int target, bool bounds)
{
    const int index = add_accessor(gltf, add_view(gltf, values, target), TINYGLTF_COMPONENT_TYPE_FLOAT, type, values.size() / width);
    if (!bounds || values.size() < width) { return index; }
    tinygltf::Accessor& accessor = gltf.accessors[static_cast<size_t>(index)];
    for (size_t lane = 0; lane < width; ++lane)
    {
        float low = values[lane];
        float high = values[lane];
        for (size_t i = lane; i < values.size(); i += width)
        {
            low = std::min(low, values[i]);
            high = std::max(high, values[i]);
        }
        accessor.minValues.push_back(static_cast<double>(low));
        accessor.maxValues.push_back(static_cast<double>(high));
    }
    return index;
}

const char* path_name(GltfPath path)
{
    return path == GltfPath::Translation ? "translation" : path == GltfPath::Rotation ? "rotation" : "scale";
}

template <size_t N>
std::vector<double> doubles(const std::array<float, N>& values)
{
    return std::vector<double>(values.begin(), values.end());
}

}  // namespace

GltfModel::GltfModel(const std::string& generator) : model_(new Model)
{
    tinygltf::Model& gltf = model_->gltf;
    gltf.asset.version = "2.0";
    gltf.asset.generator = valid_utf8(generator);
    gltf.buffers.emplace_back();
    gltf.scenes.emplace_back();
    gltf.defaultScene = 0;
}

GltfModel::~GltfModel() = default;

int GltfModel::add_material(const std::string& name, Color color)
{
    tinygltf::Material material;
    material.name = valid_utf8(name);
    material.pbrMetallicRoughness.baseColorFactor = {color.r, color.g, color.b, color.a};
    material.pbrMetallicRoughness.metallicFactor = 0.0;
    material.pbrMetallicRoughness.roughnessFactor = kRoughness;
    if (color.a < 1.0) { material.alphaMode = "BLEND"; }
    model_->gltf.materials.push_back(material);
    return static_cast<int>(model_->gltf.materials.size()) - 1;
}

int GltfModel::add_mesh(const std::string& name, const TriangleMesh& mesh, int material)
{
    tinygltf::Model& gltf = model_->gltf;
    tinygltf::Primitive primitive;
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.material = material;
    primitive.attributes["POSITION"] = add_floats(gltf, mesh.positions, TINYGLTF_TYPE_VEC3, 3, TINYGLTF_TARGET_ARRAY_BUFFER, true);
    primitive.attributes["NORMAL"] = add_floats(gltf, mesh.normals, TINYGLTF_TYPE_VEC3, 3, TINYGLTF_TARGET_ARRAY_BUFFER, false);
    primitive.indices = add_accessor(gltf, add_view(gltf, mesh.indices, TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER),
                                     TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR, mesh.indices.size());
    tinygltf::Mesh stored;
    stored.name = valid_utf8(name);
    stored.primitives.push_back(primitive);
    gltf.meshes.push_back(stored);
    return static_cast<int>(gltf.meshes.size()) - 1;
}

int GltfModel::add_mesh(const std::string& name, const LineMesh& mesh)
{
    tinygltf::Model& gltf = model_->gltf;
    if (model_->lineMaterial < 0) { model_->lineMaterial = add_material("lines", {1.0, 1.0, 1.0, kTranslucent}); }
    std::vector<uint32_t> colors;
    for (const uint32_t argb : mesh.colors_argb) { colors.push_back(bytes_rgba(argb)); }
    tinygltf::Primitive primitive;
    primitive.mode = TINYGLTF_MODE_LINE;
    primitive.material = model_->lineMaterial;
    primitive.attributes["POSITION"] = add_floats(gltf, mesh.positions, TINYGLTF_TYPE_VEC3, 3, TINYGLTF_TARGET_ARRAY_BUFFER, true);
    const int color = add_accessor(gltf, add_view(gltf, colors, TINYGLTF_TARGET_ARRAY_BUFFER), TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE,
                                   TINYGLTF_TYPE_VEC4, colors.size());
    gltf.accessors[static_cast<size_t>(color)].normalized = true;
    primitive.attributes["COLOR_0"] = color;
    tinygltf::Mesh stored;
    stored.name = valid_utf8(name);
    stored.primitives.push_back(primitive);
    gltf.meshes.push_back(stored);
    return static_cast<int>(gltf.meshes.size()) - 1;
}

int GltfModel::add_node(const GltfNode& node)
{
    tinygltf::Model& gltf = model_->gltf;
    tinygltf::Node stored;
    stored.name = model_->nodeNames.take(valid_utf8(node.name));
    stored.mesh = node.mesh;
    stored.translation = doubles(node.translation);
    stored.rotation = doubles(node.rotation);
    stored.scale = doubles(node.scale);
    gltf.nodes.push_back(stored);
    const int index = static_cast<int>(gltf.nodes.size()) - 1;
    std::vector<int>& siblings = node.parent < 0 ? gltf.scenes[0].nodes : gltf.nodes[static_cast<size_t>(node.parent)].children;
    siblings.push_back(index);
    return index;
}

int GltfModel::add_times(const std::vector<float>& times_s) { return add_floats(model_->gltf, times_s, TINYGLTF_TYPE_SCALAR, 1, 0, true); }

int GltfModel::add_animation(const std::string& name)
{
    tinygltf::Animation animation;
    animation.name = valid_utf8(name);
    model_->gltf.animations.push_back(animation);
    return static_cast<int>(model_->gltf.animations.size()) - 1;
}

void GltfModel::add_track(int animation, int node, GltfPath path, int times, const std::vector<float>& values, GltfKeys keys)
{
    const bool rotation = path == GltfPath::Rotation;
    tinygltf::AnimationSampler sampler;
    sampler.input = times;
    sampler.output = add_floats(model_->gltf, values, rotation ? TINYGLTF_TYPE_VEC4 : TINYGLTF_TYPE_VEC3, rotation ? 4 : 3, 0, false);
    sampler.interpolation = keys == GltfKeys::Step ? "STEP" : "LINEAR";
    tinygltf::Animation& stored = model_->gltf.animations[static_cast<size_t>(animation)];
    tinygltf::AnimationChannel channel;
    channel.sampler = static_cast<int>(stored.samplers.size());
    channel.target_node = node;
    channel.target_path = path_name(path);
    stored.samplers.push_back(sampler);
    stored.channels.push_back(channel);
}

bool GltfModel::save_glb(const std::string& path, std::string& error)
{
    PendingFile file(path);
    tinygltf::TinyGLTF writer;
    if (!writer.WriteGltfSceneToFile(&model_->gltf, file.temporary(), true, true, false, true))
    {
        error = path + ": cannot be written; is the folder there, writable and not full?";
        return false;
    }
    return file.commit(error);
}

}  // namespace limbrex_tools
