#include "tools/commands/plugin_path.h"

#include <fmt/format.h>

#include <filesystem>

namespace limbrex_tools
{

namespace fs = std::filesystem;

bool find_plugin(const std::string& given, std::string& plugin, std::string& error)
{
    std::error_code unknown;
    const fs::path own = fs::read_symlink("/proc/self/exe", unknown);
    plugin = given.empty() ? (own.parent_path() / LIMBREX_PLUGIN_RELATIVE_PATH).lexically_normal().string() : given;
    if (fs::is_regular_file(plugin, unknown)) { return true; }
    error = fmt::format("{}: the plugin is not there; build it (target limbrex_plugin) or name it with --plugin", plugin);
    return false;
}

}  // namespace limbrex_tools
