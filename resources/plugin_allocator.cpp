#include "resources/plugin_allocator.h"

#include "resources/host_services.h"

namespace
{

constexpr const char* kAllocatorName = "LBX";
constexpr size_t kLibraryAlignment = 4;

void* g_allocator;

}  // namespace

bool open_plugin_allocator()
{
    if (!g_allocator && host_services().memory) g_allocator = host_services().memory->make_allocator(kAllocatorName);
    return g_allocator != nullptr;
}

void close_plugin_allocator()
{
    if (g_allocator) host_services().memory->destroy_allocator(g_allocator);
    g_allocator = nullptr;
}

void* plugin_allocate(size_t size, size_t alignment)
{
    return g_allocator ? host_services().memory->allocate(g_allocator, size, alignment) : nullptr;
}

void plugin_deallocate(void* block)
{
    if (block && g_allocator) host_services().memory->deallocate(g_allocator, block);
}

void* plugin_allocate_for_library(size_t size) { return plugin_allocate(size, kLibraryAlignment); }
