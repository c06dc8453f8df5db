// What the source texts of characters and creatures have in common: names, transforms, parent lists, limits, and the frame of a compile job.
#pragma once

#include "resources/compiled_character.h"
#include "resources/murmur_hash.h"
#include "resources/output_buffer.h"
#include "resources/source_tree.h"

namespace rig_source
{

// A name's 32-bit hash; an empty or missing name hashes as the empty string.
inline uint32_t name_hash(const SourceValue& name) { return name_hash_32(name.string()); }
// The same where an empty or missing name means that there is none.
inline uint32_t optional_name_hash(const SourceValue& name) { return name.string()[0] != '\0' ? name_hash(name) : kNoNameHash; }

// At most `size` bytes of a text; the rest of the field is left as it is, which is zero.
void copy_text(const SourceValue& text, char* field, size_t size);
// Members tx .. tz, qx .. qw, sx .. sz.
void read_transform(const SourceValue& element, float translation[4], float rotation[4], float scale[4]);
// The strings of an array, nearest parent first; past its end, none.
void read_parent_names(const SourceValue& names, uint32_t (&hashes)[kParentNameCount]);
// Everything but the record's first field.
void read_limits(const SourceValue& element, LimitsRecord& record);

// One record an element; the section begins where the buffer ends.
template <class Read>
void write_section(const SourceValue& array, OutputBuffer& buffer, uint32_t& offset, uint32_t& count, Read read)
{
    offset = buffer.size();
    count = array.count();
    for (uint32_t i = 0; i < count; ++i) buffer.append(read(array.element(i)));
}

// The frame of a compile job: reads the source, lets `write` append to a buffer that starts with room for the header, and hands the finished
// block to the engine. A source that cannot be read is the engine's own result, unchanged.
struct CompilerTexts
{
    const char* begin;
    const char* end;
};
using WriteRig = void (*)(const SourceValue& root, OutputBuffer& buffer);
CompileResult* compile_rig(CompileResult* result, CompileJob* job, const CompilerTexts& texts, uint32_t header_size, WriteRig write);

}  // namespace rig_source
