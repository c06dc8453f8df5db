// Where the plugin lies: build tree and installed tree have the same shape, so the command finds it from its own place.
#pragma once

#include <string>

namespace limbrex_tools
{

// `given` when it is not empty, else the plugin beside the running command. False with `error` when no file is there.
bool find_plugin(const std::string& given, std::string& plugin, std::string& error);

}  // namespace limbrex_tools
