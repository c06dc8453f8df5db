#include <fmt/format.h>

#include <map>

#include "host/animation/import.h"
#include "host/murmur.h"
#include "host/source_tree.h"
#include "limbrex/limbrex.h"
#include "tools/commands/commands.h"
#include "tools/rig/compiled_rig.h"

namespace limbrex_tools
{
namespace
{

using NamesByHash = std::map<uint32_t, std::string>;

void add_name(NamesByHash& names, const std::string& name) { names.emplace(limbrex_host::node_name_hash(name), name); }

// Compiled files hold hashes alone. Names that rigs commonly use are tried; a skeleton brings its own, which come first.
bool known_names(const std::string& skeleton_path, NamesByHash& names, std::string& error)
{
    limbrex_host::Asset asset;
    if (!skeleton_path.empty() && !limbrex_host::import_asset(skeleton_path, asset, error)) { return false; }
    for (const limbrex_host::Joint& joint : asset.skeleton.joints) { add_name(names, joint.name); }
    add_name(names, "reference");
    for (int node = 0; node < LBXLastNodeId; ++node) { add_name(names, LBXGetNodeNameFromId(node)); }
    return true;
}

std::string bone_text(const NamesByHash& names, uint32_t hash)
{
    const auto found = names.find(hash);
    return found == names.end() ? fmt::format("#{:08x}", hash) : found->second;
}

std::string node_name(int32_t node)
{
    const char* name = LBXGetNodeNameFromId(node);
    return name == nullptr ? fmt::format("node {}?", node) : std::string(name);
}

void print_contact(const char* extremity, int32_t type, const std::array<float, 6>& sizes)
{
    fmt::print("{} contact: type {}, bottom {:.4f}, back {:.4f}, middle {:.4f}, front {:.4f}, in {:.4f}, out {:.4f}\n", extremity, type,
               sizes[0], sizes[1], sizes[2], sizes[3], sizes[4], sizes[5]);
}

void print_mapping(const CompiledRig& rig, const NamesByHash& names)
{
    fmt::print("\n{:>3}  {:<20} {:<24} {:>30}  {:>38}\n", "id", "node", "bone", "stance: translation", "rotation x y z w");
    for (size_t i = 0; i < rig.mapping.size(); ++i)
    {
        fmt::print("{:>3}  {:<20} {:<24}", rig.mapping[i].node, node_name(rig.mapping[i].node), bone_text(names, rig.mapping[i].nameHash));
        if (i < rig.stance.size())
        {
            const CompiledStance& s = rig.stance[i];
            fmt::print(" {:>9.4f} {:>9.4f} {:>9.4f}   {:>9.5f} {:>9.5f} {:>9.5f} {:>9.5f}", s.translation[0], s.translation[1],
                       s.translation[2], s.rotation[0], s.rotation[1], s.rotation[2], s.rotation[3]);
            if (s.scale[0] != 1.0f || s.scale[1] != 1.0f || s.scale[2] != 1.0f)
            {
                fmt::print("  scale {} {} {}", s.scale[0], s.scale[1], s.scale[2]);
            }
        }
        fmt::print("\n");
    }
}

void print_parents(const CompiledRig& rig, const NamesByHash& names)
{
    if (!rig.parents.empty()) { fmt::print("\nparents between a node and its template parent, nearest first\n"); }
    for (const CompiledParents& record : rig.parents)
    {
        std::string line = fmt::format("{:>3}  {:<20}", record.node, node_name(record.node));
        for (const uint32_t hash : record.nameHashes)
        {
            if (hash != kNoParentHash) { line += " " + bone_text(names, hash); }
        }
        fmt::print("{}\n", line);
    }
}

void print_limits(const CompiledRig& rig)
{
    if (!rig.limits.empty()) { fmt::print("\nlimits as the source has them ('-' where a bound is off)\n"); }
    for (const CompiledLimits& record : rig.limits)
    {
        fmt::print("{:>3}  {:<20} order {:>2} ", record.node, node_name(record.node), record.rotationOrder);
        for (size_t axis = 0; axis < 3; ++axis)
        {
            const auto bound = [&](size_t bit, float value)
            { return (record.flags >> bit & 1u) != 0 ? fmt::format("{:.2f}", value) : std::string("-"); };
            fmt::print(" {} {}..{}", "xyz"[axis], bound(axis, record.minimum[axis]), bound(axis + 3, record.maximum[axis]));
        }
        fmt::print("\n");
    }
}

int inspect(const std::string& path, const std::string& skeleton_path)
{
    NamesByHash names;
    std::string error;
    if (!known_names(skeleton_path, names, error))
    {
        fmt::print(stderr, "limbrex: {}\n", error);
        return kExitFailure;
    }
    std::string block;
    if (!limbrex_host::read_file(path, block, error))
    {
        fmt::print(stderr, "limbrex: {}\n", error);
        return kExitFailure;
    }
    std::vector<std::string> faults;
    const CompiledRig rig = read_compiled_rig(block, faults);
    if (rig.magic == kCompiledCharacterMagic)
    {
        fmt::print("{}: compiled character, version {}, {} bytes, unit \"{}\"\n", path, rig.version, block.size(), rig.unitName);
        fmt::print("{} mappings at {}, {} stances at {}, {} parent offsets at {}, {} limits at {}\n", rig.counts[0], rig.offsets[0],
                   rig.counts[1], rig.offsets[1], rig.counts[2], rig.offsets[2], rig.counts[3], rig.offsets[3]);
        print_contact("foot", rig.footContactType, rig.footContact);
        print_contact("hand", rig.handContactType, rig.handContact);
        print_mapping(rig, names);
        print_parents(rig, names);
        print_limits(rig);
    }
    std::fflush(stdout);
    for (const std::string& fault : faults) { fmt::print(stderr, "limbrex: {}: {}\n", path, fault); }
    return faults.empty() ? 0 : kExitFailure;
}

}  // namespace

void add_inspect_command(CLI::App& app, int& exit_code)
{
    const auto paths = std::make_shared<std::pair<std::string, std::string>>();
    CLI::App* command = app.add_subcommand("inspect", "Show what is in a compiled rig, and what is wrong with it");
    command->add_option("FILE", paths->first, "Compiled resource, as `limbrex rig compile` writes it")->required();
    command->add_option("--skeleton", paths->second, "File whose joint names give names to the hashes in the resource");
    command->callback([paths, &exit_code] { exit_code = inspect(paths->first, paths->second); });
}

}  // namespace limbrex_tools
