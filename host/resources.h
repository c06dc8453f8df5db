// Compiled resources by type and name. The types and their compilers are the plugin's: it declares a type and registers what turns a
// source into a block. The blocks belong to the manager; the plugin reads them in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/log.h"
#include "host/memory.h"
#include "plugin/limbrex_plugin.h"

namespace limbrex_host
{

// One run of a compiler; what the plugin holds as CompileJob.
struct HostCompileJob
{
    std::string origin;          // file, for messages
    std::vector<uint32_t> tree;  // parsed source; empty when `error` is set
    std::string error;
    NamedAllocator* allocator = nullptr;
};

struct HostResource
{
    std::string type, name;
    uint64_t typeKey = 0, nameKey = 0;
    NamedAllocator* allocator = nullptr;
    void* block = nullptr;
    size_t size = 0;
    uint64_t hash = 0;  // of the block as it was compiled: nobody may write into it
};

class HostResources
{
public:
    HostResources(HostMemory& hostMemory, HostLog& hostLog);
    ~HostResources();
    HostResources(const HostResources&) = delete;
    HostResources& operator=(const HostResources&) = delete;

    // What the plugin calls.
    void register_compiler(const char* type, int32_t version, CompileFunction function);
    void declare_type(const char* type);
    void release_type(const char* type);  // unloads its resources and forgets its compiler
    CompileResult* read_source(CompileResult* out, const HostCompileJob& job) const;

    // Compile JSON text, or a file: a source, or a block that was compiled before (told by its first bytes). A resource of the same
    // type and name is replaced. False with `error` (place and remedy); then nothing changes.
    bool compile(const std::string& type, const std::string& name, const std::string& text, const std::string& origin, std::string& error);
    bool load_compiled(const std::string& type, const std::string& name, const std::string& bytes, const std::string& origin,
                       std::string& error);
    bool load_file(const std::string& type, const std::string& name, const std::string& path, std::string& error);
    void unload_all();

    const HostResource* find(const std::string& type, const std::string& name) const;
    const HostResource* find(uint64_t typeKey, uint64_t nameKey) const;

    struct DeclaredType
    {
        std::string name;
        bool declared = false;
        int32_t version = 0;
        CompileFunction compile = nullptr;
    };
    const std::vector<DeclaredType>& types() const { return knownTypes; }

private:
    DeclaredType& type_record(const char* type);
    const DeclaredType* usable_type(const std::string& type, const std::string& origin, std::string& error) const;
    void keep(HostResource resource);
    void unload(HostResource& resource);

    HostMemory& memory;
    HostLog& log;
    std::vector<DeclaredType> knownTypes;
    std::vector<HostResource> loaded;
};

// Type of a rig file by its ending: "character", "creature", or "" for another.
std::string resource_type_of(const std::string& path);

}  // namespace limbrex_host
