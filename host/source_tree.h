// Rig sources as compilers read them: JSON text (comments allowed) becomes one relocatable block of 32-bit words, the parsed source tree
// whose layout plugin/limbrex_plugin.h gives. Members keep their order, repeated keys included: the first one wins at the reader.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace limbrex_host
{

// False with `error` = "<origin>:<line>:<column>: <what>" for text that is no JSON, and "<origin>: <path of the member>: <what>" for
// values a tree cannot hold: arrays of mixed kinds (numbers may mix), numbers beyond a float, more than 64 levels.
bool parse_source(const std::string& text, const std::string& origin, std::vector<uint32_t>& tree, std::string& error);

// The whole file, at most 64 MiB. False with `error` naming it.
bool read_file(const std::string& path, std::string& bytes, std::string& error);

}  // namespace limbrex_host
