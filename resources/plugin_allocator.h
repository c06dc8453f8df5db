// Every allocation that plugin and library make during gameplay goes through one named allocator of the engine.
#pragma once

#include <cstddef>

// Makes the allocator; from then on the operations below work. False when the engine gives none.
bool open_plugin_allocator();
// Gives it back; everything allocated from it must have been released.
void close_plugin_allocator();

void* plugin_allocate(size_t size, size_t alignment);  // null when there is no memory, or no gameplay
void plugin_deallocate(void* block);                   // null is allowed

// For the library's create operations, which align their objects themselves.
void* plugin_allocate_for_library(size_t size);
