#include "resources/character_compiler.h"

#include "resources/rig_source.h"

namespace
{

using namespace rig_source;

struct ContactKeys
{
    const char* type;
    const char *bottom, *back, *middle, *front, *in, *out;
};
constexpr ContactKeys kFootKeys = {"contact_foot_type",
                                   "contact_foot_bottom_to_ankle",
                                   "contact_foot_back_to_ankle",
                                   "contact_foot_middle_to_ankle",
                                   "contact_foot_front_to_middle",
                                   "contact_foot_in_to_ankle",
                                   "contact_foot_out_to_ankle"};
constexpr ContactKeys kHandKeys = {"contact_hand_type",
                                   "contact_hand_bottom_to_wrist",
                                   "contact_hand_back_to_wrist",
                                   "contact_hand_middle_to_wrist",
                                   "contact_hand_front_to_middle",
                                   "contact_hand_in_to_wrist",
                                   "contact_hand_out_to_wrist"};

ContactSizes read_contact(const SourceValue& root, const ContactKeys& keys)
{
    return {static_cast<int32_t>(root.member(keys.type).raw_integer()),
            root.member(keys.bottom).number(),
            root.member(keys.back).number(),
            root.member(keys.middle).number(),
            root.member(keys.front).number(),
            root.member(keys.in).number(),
            root.member(keys.out).number()};
}

MappingRecord read_mapping(const SourceValue& element)
{
    return {static_cast<int32_t>(element.member("id").raw_integer()), name_hash(element.member("bone"))};
}

StanceRecord read_stance(const SourceValue& element)
{
    StanceRecord record;
    read_transform(element, record.translation, record.rotation, record.scale);
    return record;
}

ParentOffsetRecord read_parent_offset(const SourceValue& element)
{
    ParentOffsetRecord record = {};
    record.nodeId = static_cast<int32_t>(element.member("nodeID").raw_integer());
    read_parent_names(element.member("parents"), record.parentNames);
    return record;
}

LimitsRecord read_limits_record(const SourceValue& element)
{
    LimitsRecord record = {};
    record.nodeId = static_cast<int32_t>(element.member("nodeID").raw_integer());
    read_limits(element, record);
    return record;
}

void write_character(const SourceValue& root, OutputBuffer& buffer)
{
    CompiledCharacter header = {};
    header.magic = kCompiledCharacterMagic;
    header.version = kCompiledCharacterVersion;
    copy_text(root.member("unit_name"), header.unitName, sizeof header.unitName);
    header.foot = read_contact(root, kFootKeys);
    header.hand = read_contact(root, kHandKeys);
    write_section(root.member("bones_mapping"), buffer, header.mappingOffset, header.mappingCount, read_mapping);
    write_section(root.member("t_stance"), buffer, header.stanceOffset, header.stanceCount, read_stance);
    write_section(root.member("parent_offsets"), buffer, header.parentOffsetOffset, header.parentOffsetCount, read_parent_offset);
    write_section(root.member("limits"), buffer, header.limitOffset, header.limitCount, read_limits_record);
    buffer.overwrite_start(&header, sizeof header);
}

}  // namespace

CompileResult* compile_character(CompileResult* result, CompileJob* job)
{
    return compile_rig(result, job, {"Compiling a character", "A new character has been compiled"}, sizeof(CompiledCharacter),
                       write_character);
}
