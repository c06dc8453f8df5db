#include "resources/creature_compiler.h"

#include <cstring>

#include "resources/compiled_creature.h"
#include "resources/log.h"
#include "resources/rig_source.h"

namespace
{

using namespace rig_source;

// The place in the table is the number that the run time reads.
constexpr const char* kSolvingTypes[] = {"LBXChainSolvingTypeOneBoneIK",   "LBXChainSolvingTypeTwoBonesIK",
                                         "LBXChainSolvingTypeCoplanar",    "LBXChainSolvingTypeTentacleApprox",
                                         "LBXChainSolvingTypeTentacleCCD", "LBXChainSolvingTypeQuadrupedLeg"};
constexpr uint32_t kCoplanar = 2;

uint32_t solving_type(const SourceValue& type, uint32_t chain)
{
    for (uint32_t i = 0; i < sizeof kSolvingTypes / sizeof kSolvingTypes[0]; ++i)
    {
        if (std::strcmp(type.string(), kSolvingTypes[i]) == 0) return i;
    }
    log_error("Unknown creature chain type: %s (Chain index is %d)", type.string(), static_cast<int>(chain));
    return kCoplanar;
}

CreatureSectionRecord read_section(const SourceValue& element)
{
    CreatureSectionRecord record = {};
    record.id = element.member("id").raw_integer();
    record.boneNameHash = name_hash(element.member("bone"));
    record.parentChain = static_cast<int32_t>(element.member("parent").raw_integer());
    copy_text(element.member("name"), record.name, sizeof record.name);
    return record;
}

CreatureChainRecord read_chain(const SourceValue& element, uint32_t index, uint32_t first_bone)
{
    CreatureChainRecord record = {};
    record.id = element.member("id").raw_integer();
    record.solvingType = solving_type(element.member("type"), index);
    record.parentSection = static_cast<int32_t>(element.member("parent").raw_integer());
    const SourceValue properties = element.member("properties");
    for (uint32_t i = 0; i < kChainPropertyCount; ++i)
    {
        record.properties[i] = i < properties.count() ? properties.element(i).number() : kNoChainProperty;
    }
    record.firstBone = first_bone;
    record.endBone = first_bone + element.member("bones").count();
    copy_text(element.member("name"), record.name, sizeof record.name);
    return record;
}

UnknownParentRecord read_unknown_parent(const SourceValue& element)
{
    UnknownParentRecord record = {};
    record.boneNameHash = name_hash(element.member("bone"));
    read_parent_names(element.member("parents"), record.parentNames);
    return record;
}

LimitsRecord read_creature_limits(const SourceValue& element)
{
    LimitsRecord record = {};
    record.nodeId = static_cast<int32_t>(name_hash(element.member("bone")));  // a bone's name stands where a character has a node id
    read_limits(element, record);
    return record;
}

NaturalPoseRecord read_natural_pose(const SourceValue& element)
{
    NaturalPoseRecord record = {};
    record.boneNameHash = name_hash(element.member("bone"));
    read_transform(element, record.pose.translation, record.pose.rotation, record.pose.scale);
    return record;
}

void write_chains(const SourceValue& chains, OutputBuffer& buffer, CompiledCreature& header)
{
    header.chainOffset = buffer.size();
    header.chainCount = chains.count();
    for (uint32_t i = 0; i < header.chainCount; ++i)
    {
        const CreatureChainRecord record = read_chain(chains.element(i), i, header.chainBoneCount);
        header.chainBoneCount = record.endBone;
        buffer.append(record);
    }
}

void write_chain_bones(const SourceValue& chains, OutputBuffer& buffer, CompiledCreature& header)
{
    header.chainBoneOffset = buffer.size();
    for (uint32_t i = 0; i < chains.count(); ++i)
    {
        const SourceValue bones = chains.element(i).member("bones");
        for (uint32_t k = 0; k < bones.count(); ++k) buffer.append(name_hash(bones.element(k)));
    }
}

void write_creature(const SourceValue& root, OutputBuffer& buffer)
{
    CompiledCreature header = {};
    header.magic = kCompiledCreatureMagic;
    header.version = kCompiledCreatureVersion;
    copy_text(root.member("unit_name"), header.unitName, sizeof header.unitName);
    header.referenceNameHash = optional_name_hash(root.member("reference"));
    const SourceValue chains = root.member("chains");
    write_section(root.member("sections"), buffer, header.sectionOffset, header.sectionCount, read_section);
    write_chains(chains, buffer, header);
    write_section(root.member("unknown_parents"), buffer, header.unknownParentOffset, header.unknownParentCount, read_unknown_parent);
    write_section(root.member("limits"), buffer, header.limitOffset, header.limitCount, read_creature_limits);
    write_chain_bones(chains, buffer, header);
    write_section(root.member("natural_pose"), buffer, header.naturalPoseOffset, header.naturalPoseCount, read_natural_pose);
    buffer.overwrite_start(&header, sizeof header);
}

}  // namespace

CompileResult* compile_creature(CompileResult* result, CompileJob* job)
{
    return compile_rig(result, job, {"Compiling a creature", "A new creature has been compiled"}, sizeof(CompiledCreature), write_creature);
}
