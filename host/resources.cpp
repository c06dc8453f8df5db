#include "host/resources.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

#include "host/murmur.h"
#include "host/source_tree.h"

namespace limbrex_host
{
namespace
{

constexpr size_t kBlockAlignment = 16;

// Compiled blocks begin with one of these words; no JSON text does.
constexpr std::array<uint32_t, 2> kCompiledMagics{0xBD25BE6Fu, 0xBC26BE6Fu};

bool looks_compiled(const std::string& bytes)
{
    uint32_t first = 0;
    if (bytes.size() < sizeof first) { return false; }
    std::memcpy(&first, bytes.data(), sizeof first);
    return std::find(kCompiledMagics.begin(), kCompiledMagics.end(), first) != kCompiledMagics.end();
}

uint64_t block_hash(const HostResource& resource) { return murmur64({static_cast<const char*>(resource.block), resource.size}); }

// A character block says itself how long it is: header, then four arrays of records.
bool whole_character_block(const std::string& bytes, std::string& what)
{
    constexpr std::array<uint64_t, 4> kRecordSizes{8, 48, 76, 68};
    constexpr uint64_t kHeaderSize = 128;
    if (bytes.size() < kHeaderSize)
    {
        what = fmt::format("{} bytes are less than a header's {}", bytes.size(), kHeaderSize);
        return false;
    }
    for (size_t section = 0; section < kRecordSizes.size(); ++section)
    {
        std::array<uint32_t, 2> place{};  // offset, count
        std::memcpy(place.data(), bytes.data() + 8 + 8 * section, sizeof place);
        if (place[0] + kRecordSizes[section] * place[1] > bytes.size())
        {
            what = fmt::format("section {} ({} records at offset {}) reaches past the end of {} bytes: the file is cut or damaged",
                               section + 1, place[1], place[0], bytes.size());
            return false;
        }
    }
    return true;
}

}  // namespace

HostResources::HostResources(HostMemory& hostMemory, HostLog& hostLog) : memory(hostMemory), log(hostLog) {}

HostResources::~HostResources() { unload_all(); }

HostResources::DeclaredType& HostResources::type_record(const char* type)
{
    const std::string name = type != nullptr ? type : "";
    const auto found = std::find_if(knownTypes.begin(), knownTypes.end(), [&name](const DeclaredType& each) { return each.name == name; });
    if (found != knownTypes.end()) { return *found; }
    knownTypes.push_back({name, false, 0, nullptr});
    return knownTypes.back();
}

void HostResources::register_compiler(const char* type, int32_t version, CompileFunction function)
{
    DeclaredType& record = type_record(type);
    record.version = version;
    record.compile = function;
}

void HostResources::declare_type(const char* type) { type_record(type).declared = true; }

void HostResources::release_type(const char* type)
{
    const std::string name = type != nullptr ? type : "";
    for (HostResource& resource : loaded)
    {
        if (resource.type == name) { unload(resource); }
    }
    const auto gone = [](const HostResource& resource) { return resource.block == nullptr; };
    loaded.erase(std::remove_if(loaded.begin(), loaded.end(), gone), loaded.end());
    const auto same = [&name](const DeclaredType& each) { return each.name == name; };
    knownTypes.erase(std::remove_if(knownTypes.begin(), knownTypes.end(), same), knownTypes.end());
}

CompileResult* HostResources::read_source(CompileResult* out, const HostCompileJob& job) const
{
    *out = CompileResult{};
    if (!job.error.empty() || job.tree.empty())
    {
        out->error = 1;
        return out;
    }
    // The reader gets the job's own copy; the interface has no const.
    out->data = const_cast<uint32_t*>(job.tree.data());
    out->size = static_cast<uint32_t>(job.tree.size() * sizeof(uint32_t));
    return out;
}

const HostResources::DeclaredType* HostResources::usable_type(const std::string& type, const std::string& origin, std::string& error) const
{
    std::string known;
    for (const DeclaredType& each : knownTypes)
    {
        if (each.name == type && each.declared && each.compile != nullptr) { return &each; }
        known += (known.empty() ? "" : ", ") + each.name;
    }
    error = fmt::format("{}: no compiler for type \"{}\" (the plugin offers: {})", origin, type, known.empty() ? "none" : known);
    return nullptr;
}

bool HostResources::compile(const std::string& type, const std::string& name, const std::string& text, const std::string& origin,
                            std::string& error)
{
    const DeclaredType* const known_type = usable_type(type, origin, error);
    if (known_type == nullptr) { return false; }
    HostCompileJob job;
    job.origin = origin;
    job.allocator = memory.make_allocator(("resource " + type + " " + name).c_str());
    parse_source(text, origin, job.tree, job.error);

    // The compiler sees a job even when the source could not be read; it hands the failure back.
    CompileResult result{};
    const CompileResult* const returned = known_type->compile(&result, reinterpret_cast<CompileJob*>(&job));
    const CompileResult outcome = returned != nullptr ? *returned : CompileResult{nullptr, 0, 0, {0, 0}, 1};
    const bool sound = outcome.error == 0 && outcome.size > 0 && memory.block_size(job.allocator, outcome.data) >= outcome.size;
    if (!sound || !job.error.empty())
    {
        error = !job.error.empty() ? job.error : fmt::format("{}: the compiler of type \"{}\" failed; the log says why", origin, type);
        if (memory.block_size(job.allocator, outcome.data) > 0) { memory.deallocate(job.allocator, outcome.data); }
        memory.destroy_allocator(job.allocator);
        return false;
    }
    if (job.allocator->liveBlocks != 1)
    {
        log.warning(fmt::format("{}: the compiler left {} blocks besides its result", origin, job.allocator->liveBlocks - 1));
    }
    keep({type, name, 0, 0, job.allocator, outcome.data, outcome.size, 0});
    return true;
}

bool HostResources::load_compiled(const std::string& type, const std::string& name, const std::string& bytes, const std::string& origin,
                                  std::string& error)
{
    std::string what;
    if (!looks_compiled(bytes)) { what = "is no compiled rig"; }
    else if (type == "character" && !whole_character_block(bytes, what)) { what = "is no usable rig: " + what; }
    if (!what.empty())
    {
        error = origin + ": " + what;
        return false;
    }
    NamedAllocator* const allocator = memory.make_allocator(("resource " + type + " " + name).c_str());
    void* const block = memory.allocate(allocator, bytes.size(), kBlockAlignment);
    if (block == nullptr)
    {
        memory.destroy_allocator(allocator);
        error = origin + ": no memory";
        return false;
    }
    std::memcpy(block, bytes.data(), bytes.size());
    keep({type, name, 0, 0, allocator, block, bytes.size(), 0});
    return true;
}

bool HostResources::load_file(const std::string& type, const std::string& name, const std::string& path, std::string& error)
{
    std::string bytes;
    if (!read_file(path, bytes, error)) { return false; }
    if (looks_compiled(bytes)) { return load_compiled(type, name, bytes, path, error); }
    return compile(type, name, bytes, path, error);
}

void HostResources::keep(HostResource resource)
{
    resource.typeKey = murmur64(resource.type);
    resource.nameKey = murmur64(resource.name);
    resource.hash = block_hash(resource);
    for (HostResource& old : loaded)
    {
        if (old.typeKey != resource.typeKey || old.nameKey != resource.nameKey) { continue; }
        unload(old);
        old = resource;
        return;
    }
    loaded.push_back(resource);
}

void HostResources::unload(HostResource& resource)
{
    if (block_hash(resource) != resource.hash)
    {
        log.error(fmt::format("resource \"{}\" of type \"{}\" was written into", resource.name, resource.type));
    }
    memory.deallocate(resource.allocator, resource.block);
    memory.destroy_allocator(resource.allocator);
    resource.block = nullptr;
}

void HostResources::unload_all()
{
    for (HostResource& resource : loaded) { unload(resource); }
    loaded.clear();
}

const HostResource* HostResources::find(const std::string& type, const std::string& name) const
{
    return find(murmur64(type), murmur64(name));
}

const HostResource* HostResources::find(uint64_t typeKey, uint64_t nameKey) const
{
    const auto found =
        std::find_if(loaded.begin(), loaded.end(),
                     [typeKey, nameKey](const HostResource& each) { return each.typeKey == typeKey && each.nameKey == nameKey; });
    return found == loaded.end() ? nullptr : &*found;
}

std::string resource_type_of(const std::string& path)
{
    const std::string ending = std::filesystem::path(path).extension().string();
    return ending == ".character" || ending == ".creature" ? ending.substr(1) : std::string();
}

}  // namespace limbrex_host
