#include "resources/rig_source.h"

#include "resources/host_services.h"
#include "resources/log.h"

namespace rig_source
{

namespace
{

constexpr uint64_t kOutOfMemory = 1;

template <size_t Count>
void read_numbers(const SourceValue& element, const char* const (&keys)[Count], float* values)
{
    for (size_t i = 0; i < Count; ++i) values[i] = element.member(keys[i]).number();
}

}  // namespace

void copy_text(const SourceValue& text, char* field, size_t size)
{
    const char* s = text.string();
    for (size_t i = 0; i < size && s[i] != '\0'; ++i) field[i] = s[i];
}

void read_transform(const SourceValue& element, float translation[4], float rotation[4], float scale[4])
{
    read_numbers(element, {"tx", "ty", "tz"}, translation);
    read_numbers(element, {"qx", "qy", "qz"}, rotation);
    read_numbers(element, {"sx", "sy", "sz"}, scale);
    translation[3] = 1.0f;
    rotation[3] = element.member("qw").number(1.0f);
    scale[3] = 1.0f;
}

void read_parent_names(const SourceValue& names, uint32_t (&hashes)[kParentNameCount])
{
    for (uint32_t i = 0; i < kParentNameCount; ++i) hashes[i] = optional_name_hash(names.element(i));
}

void read_limits(const SourceValue& element, LimitsRecord& record)
{
    read_numbers(element, {"pr_qx", "pr_qy", "pr_qz"}, record.preRotation);
    record.preRotation[3] = element.member("pr_qw").number(1.0f);
    read_numbers(element, {"po_qx", "po_qy", "po_qz"}, record.postRotation);
    record.postRotation[3] = element.member("po_qw").number(1.0f);
    read_numbers(element, {"xmi", "ymi", "zmi"}, record.minimum);
    read_numbers(element, {"xma", "yma", "zma"}, record.maximum);
    constexpr const char* kActiveKeys[] = {"xmia", "ymia", "zmia", "xmaa", "ymaa", "zmaa"};
    for (uint32_t bit = 0; bit < 6; ++bit)
    {
        if (element.member(kActiveKeys[bit]).is_set()) record.activeFlags |= 1u << bit;
    }
    record.rotationOrder = element.member("ord").raw_integer();
}

CompileResult* compile_rig(CompileResult* result, CompileJob* job, const CompilerTexts& texts, uint32_t header_size, WriteRig write)
{
    log_info("%s", texts.begin);
    const HostCompileInput& input = *host_services().compileInput;
    CompileResult source = {};
    const CompileResult* read = input.read_source(&source, job);
    if (read->error != 0)
    {
        *result = *read;
        return result;
    }
    OutputBuffer buffer(input.output_allocator(job), header_size);
    if (!buffer.failed()) write(source_root(read->data), buffer);

    *result = {};
    result->data = buffer.release_copy();
    if (!result->data)
    {
        log_error("Compiling failed (out of memory)");
        result->error = kOutOfMemory;
        return result;
    }
    result->size = buffer.size();
    log_info("%s", texts.end);
    return result;
}

}  // namespace rig_source
