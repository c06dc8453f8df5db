#include "resources/compiled_character.h"

#include <cmath>
#include <cstdio>

namespace
{

constexpr uint32_t kTemplateNodeCount = 212;

struct SectionRow
{
    const char* name;
    uint32_t CompiledCharacter::*offset;
    uint32_t CompiledCharacter::*count;
    uint32_t recordSize;
};
constexpr SectionRow kSections[] = {
    {"mapping", &CompiledCharacter::mappingOffset, &CompiledCharacter::mappingCount, sizeof(MappingRecord)},
    {"stance", &CompiledCharacter::stanceOffset, &CompiledCharacter::stanceCount, sizeof(StanceRecord)},
    {"parent offset", &CompiledCharacter::parentOffsetOffset, &CompiledCharacter::parentOffsetCount, sizeof(ParentOffsetRecord)},
    {"limits", &CompiledCharacter::limitOffset, &CompiledCharacter::limitCount, sizeof(LimitsRecord)},
};

// Where a problem is told; every check returns false after telling one.
struct Complaint
{
    char* text;
    size_t size;

    template <class... Values>
    bool tell(const char* format, Values... values) const
    {
        if (text && size > 0) std::snprintf(text, size, format, values...);
        return false;
    }
};

bool all_finite(const float* values, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        if (!std::isfinite(values[i])) return false;
    }
    return true;
}

// Each array begins where the one before it ends, and none can name more nodes than the template has.
bool check_layout(const CompiledCharacter& resource, const Complaint& complaint)
{
    uint32_t expected = sizeof(CompiledCharacter);
    for (const SectionRow& section : kSections)
    {
        const uint32_t offset = resource.*section.offset;
        const uint32_t count = resource.*section.count;
        if (offset != expected)
            return complaint.tell("the %s array should begin at byte %u, the header says %u", section.name, expected, offset);
        if (count > kTemplateNodeCount)
        {
            return complaint.tell("%u %s records, more than the %u nodes of the template", count, section.name, kTemplateNodeCount);
        }
        expected += count * section.recordSize;
    }
    if (resource.stanceCount > resource.mappingCount)
    {
        return complaint.tell("%u stance records for %u mapping records", resource.stanceCount, resource.mappingCount);
    }
    return true;
}

template <class Record>
bool check_node_ids(const Record* records, uint32_t count, const char* section, const Complaint& complaint)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        if (records[i].nodeId < 0 || records[i].nodeId >= static_cast<int32_t>(kTemplateNodeCount))
        {
            return complaint.tell("%s record %u names node %d, which does not exist", section, i, records[i].nodeId);
        }
    }
    return true;
}

// A node that is mapped twice is read and written twice, which does no harm; a parent offset without a mapping has no node to stand for.
bool check_parent_offsets(const CompiledCharacter& resource, const Complaint& complaint)
{
    bool mapped[kTemplateNodeCount] = {};
    const MappingRecord* mapping = mapping_records(resource);
    for (uint32_t i = 0; i < resource.mappingCount; ++i) mapped[mapping[i].nodeId] = true;
    const ParentOffsetRecord* parent_offsets = parent_offset_records(resource);
    for (uint32_t i = 0; i < resource.parentOffsetCount; ++i)
    {
        if (!mapped[parent_offsets[i].nodeId])
        {
            return complaint.tell("parent offset record %u names node %d, which is not mapped", i, parent_offsets[i].nodeId);
        }
    }
    return true;
}

bool check_numbers(const CompiledCharacter& resource, const Complaint& complaint)
{
    const StanceRecord* stances = stance_records(resource);
    for (uint32_t i = 0; i < resource.stanceCount; ++i)
    {
        if (!all_finite(stances[i].translation, 12)) return complaint.tell("stance record %u holds a number that is not finite", i);
    }
    if (!all_finite(&resource.foot.bottom, 6) || !all_finite(&resource.hand.bottom, 6))
    {
        return complaint.tell("a contact size is not finite");
    }
    const LimitsRecord* limits = limits_records(resource);
    for (uint32_t i = 0; i < resource.limitCount; ++i)
    {
        if (!all_finite(limits[i].preRotation, 14)) return complaint.tell("limits record %u holds a number that is not finite", i);
    }
    return true;
}

}  // namespace

bool is_compiled_character(const void* resource)
{
    const auto* header = static_cast<const CompiledCharacter*>(resource);
    return header && header->magic == kCompiledCharacterMagic && header->version == kCompiledCharacterVersion;
}

bool check_compiled_character(const CompiledCharacter* resource, char* problem, size_t problem_size)
{
    Complaint complaint;
    complaint.text = problem;
    complaint.size = problem_size;
    if (!resource) return complaint.tell("there is no data");
    if (!is_compiled_character(resource))
    {
        return complaint.tell("magic %08X version %u is no compiled rig of this plugin", resource->magic, resource->version);
    }
    return check_layout(*resource, complaint) && check_node_ids(mapping_records(*resource), resource->mappingCount, "mapping", complaint) &&
           check_node_ids(parent_offset_records(*resource), resource->parentOffsetCount, "parent offset", complaint) &&
           check_node_ids(limits_records(*resource), resource->limitCount, "limits", complaint) &&
           check_parent_offsets(*resource, complaint) && check_numbers(*resource, complaint);
}
