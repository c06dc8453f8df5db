// Compiles a rig source the way a game's build does: the plugin's own registered compiler, called by the simulated host.
#pragma once

#include <string>

namespace limbrex_tools
{

// `bytes` is the compiled resource. False with `error` (file, reason) otherwise.
bool compile_rig(const std::string& source_path, std::string& bytes, std::string& error);

}  // namespace limbrex_tools
