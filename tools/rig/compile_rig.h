// Compiles a rig source the way a game's build does: the plugin's own registered compiler, called by the simulated host.
#pragma once

#include <string>

namespace limbrex_tools
{

// `plugin`: path of liblimbrex_plugin.so; `bytes`: the compiled resource. False with `error` (file, place, reason) otherwise.
bool compile_rig(const std::string& plugin, const std::string& source, std::string& bytes, std::string& error);

}  // namespace limbrex_tools
