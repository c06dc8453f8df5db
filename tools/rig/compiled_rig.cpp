#include "tools/rig/compiled_rig.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

#include "limbrex/limbrex.h"

namespace limbrex_tools
{
namespace
{

constexpr size_t kHeaderSize = 128;
constexpr size_t kUnitNameSize = 32;

struct Section
{
    const char* name;
    size_t recordSize;
};

constexpr std::array<Section, 4> kSections{{{"mapping", 8}, {"T-stance", 48}, {"parent offsets", 76}, {"limits", 68}}};

// Reads in order; the caller has made sure that the bytes are there.
class Cursor
{
public:
    Cursor(std::string_view block, size_t at) : block_(block), at_(at) {}

    template <class Value>
    Cursor& read(Value& value)
    {
        std::memcpy(&value, block_.data() + at_, sizeof value);
        at_ += sizeof value;
        return *this;
    }

    Cursor& skip(size_t bytes)
    {
        at_ += bytes;
        return *this;
    }

private:
    std::string_view block_;
    size_t at_;
};

void read_header(std::string_view block, CompiledRig& rig)
{
    Cursor cursor(block, 0);
    cursor.read(rig.magic).read(rig.version);
    for (size_t s = 0; s < kSections.size(); ++s) { cursor.read(rig.offsets[s]).read(rig.counts[s]); }
    cursor.read(rig.footContactType).read(rig.footContact).read(rig.handContactType).read(rig.handContact);
    std::array<char, kUnitNameSize> name{};
    cursor.read(name);
    rig.unitName.assign(name.begin(), std::find(name.begin(), name.end(), '\0'));
}

// Records that lie wholly inside the block; a fault for those that do not.
size_t records_inside(std::string_view block, const CompiledRig& rig, size_t section, std::vector<std::string>& faults)
{
    const size_t offset = rig.offsets[section];
    const size_t count = rig.counts[section];
    const size_t room = offset <= block.size() ? (block.size() - offset) / kSections[section].recordSize : 0;
    if (offset < kHeaderSize || offset > block.size() || count > room)
    {
        faults.push_back(fmt::format("{}: {} records of {} bytes from byte {} do not fit into the {} bytes of the file; compile it again",
                                     kSections[section].name, count, kSections[section].recordSize, offset, block.size()));
        return offset < kHeaderSize ? 0 : std::min(count, room);
    }
    return count;
}

void read_records(std::string_view block, CompiledRig& rig, std::vector<std::string>& faults)
{
    rig.mapping.resize(records_inside(block, rig, 0, faults));
    rig.stance.resize(records_inside(block, rig, 1, faults));
    rig.parents.resize(records_inside(block, rig, 2, faults));
    rig.limits.resize(records_inside(block, rig, 3, faults));

    Cursor mapping(block, rig.offsets[0]);
    for (CompiledMapping& record : rig.mapping) { mapping.read(record.node).read(record.nameHash); }
    Cursor stance(block, rig.offsets[1]);
    for (CompiledStance& record : rig.stance) { stance.read(record.translation).read(record.rotation).read(record.scale); }
    Cursor parents(block, rig.offsets[2]);
    for (CompiledParents& record : rig.parents) { parents.read(record.node).skip(48).read(record.nameHashes); }
    Cursor limits(block, rig.offsets[3]);
    for (CompiledLimits& record : rig.limits)
    {
        limits.read(record.node).read(record.preRotation).read(record.postRotation).read(record.minimum).read(record.maximum);
        limits.read(record.flags).read(record.rotationOrder);
    }
}

bool is_node(int32_t node) { return node >= 0 && node < LBXLastNodeId; }

template <class Values>
bool all_finite(const Values& values)
{
    return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

void check_stance(const CompiledRig& rig, std::vector<std::string>& faults)
{
    for (size_t i = 0; i < rig.stance.size(); ++i)
    {
        const CompiledStance& s = rig.stance[i];
        const float square =
            s.rotation[0] * s.rotation[0] + s.rotation[1] * s.rotation[1] + s.rotation[2] * s.rotation[2] + s.rotation[3] * s.rotation[3];
        if (!all_finite(s.translation) || !all_finite(s.rotation) || !all_finite(s.scale))
        {
            faults.push_back(fmt::format("T-stance {}: holds numbers that are not finite", i));
        }
        else if (std::fabs(square - 1.0f) > 2e-3f)
        {
            faults.push_back(fmt::format("T-stance {}: the rotation has length {:.4f}", i, std::sqrt(square)));
        }
    }
}

void check_ids(const CompiledRig& rig, std::vector<std::string>& faults)
{
    std::set<int32_t> mapped;
    for (size_t i = 0; i < rig.mapping.size(); ++i)
    {
        const int32_t node = rig.mapping[i].node;
        if (!is_node(node)) { faults.push_back(fmt::format("mapping {}: {} is no node id", i, node)); }
        else if (!mapped.insert(node).second)
        {
            faults.push_back(fmt::format("mapping {}: {} is mapped twice", i, LBXGetNodeNameFromId(node)));
        }
    }
    for (size_t i = 0; i < rig.parents.size(); ++i)
    {
        const int32_t node = rig.parents[i].node;
        if (!is_node(node)) { faults.push_back(fmt::format("parent offsets {}: {} is no node id", i, node)); }
        else if (mapped.count(node) == 0)
        {
            faults.push_back(fmt::format("parent offsets {}: {} is not mapped", i, LBXGetNodeNameFromId(node)));
        }
    }
    for (size_t i = 0; i < rig.limits.size(); ++i)
    {
        if (!is_node(rig.limits[i].node)) { faults.push_back(fmt::format("limits {}: {} is no node id", i, rig.limits[i].node)); }
    }
    if (mapped.count(LBXNodeReference) == 0) { faults.push_back("no bone plays Reference: the solver cannot place the character"); }
}

}  // namespace

CompiledRig read_compiled_rig(std::string_view block, std::vector<std::string>& faults)
{
    CompiledRig rig;
    if (block.size() < kHeaderSize)
    {
        faults.push_back(fmt::format("{} bytes are too few: a compiled character begins with a header of {}", block.size(), kHeaderSize));
        return rig;
    }
    read_header(block, rig);
    if (rig.magic != kCompiledCharacterMagic)
    {
        faults.push_back(fmt::format("begins with 0x{:08X}, a compiled character with 0x{:08X}", rig.magic, kCompiledCharacterMagic));
        return rig;
    }
    if (rig.version != 1) { faults.push_back(fmt::format("version {}; the run time takes version 1", rig.version)); }
    read_records(block, rig, faults);
    if (rig.counts[0] > LBXLastNodeId)
    {
        faults.push_back(fmt::format("{} mappings; there are {} nodes", rig.counts[0], static_cast<int>(LBXLastNodeId)));
    }
    if (rig.counts[1] > rig.counts[0])
    {
        faults.push_back(fmt::format("{} stances for {} mappings; each stance needs its mapping", rig.counts[1], rig.counts[0]));
    }
    check_ids(rig, faults);
    check_stance(rig, faults);
    return rig;
}

}  // namespace limbrex_tools
