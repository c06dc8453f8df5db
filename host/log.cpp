#include "host/log.h"

#include <algorithm>

namespace limbrex_host
{

const char* log_level_name(LogLevel level)
{
    switch (level)
    {
    case LogLevel::Info: return "info";
    case LogLevel::Warning: return "warning";
    case LogLevel::Error: return "error";
    case LogLevel::Silent: break;
    }
    return "silent";
}

void HostLog::echo(LogLevel level, std::FILE* file)
{
    echoLevel = level;
    echoFile = file;
}

bool HostLog::keep(LogLevel level, const char* from, const char* what)
{
    ++counts[static_cast<size_t>(level)];
    if (!keptEntries.empty())
    {
        LogEntry& last = keptEntries.back();
        if (last.level == level && last.system == from && last.text == what)
        {
            ++last.count;
            return false;
        }
    }
    if (keptEntries.size() < kCapacity) { keptEntries.push_back({level, from, what, 1}); }
    return true;
}

void HostLog::write(LogLevel level, const char* system, const char* text)
{
    if (level >= LogLevel::Silent) { return; }
    const char* from = system != nullptr ? system : "(no system)";
    const char* what = text != nullptr ? text : "(no text)";
    if (keep(level, from, what) && level >= echoLevel && echoFile != nullptr)
    {
        std::fprintf(echoFile, "%s: %s: %s\n", from, log_level_name(level), what);
    }
}

void HostLog::say(const char* system, const char* text)
{
    keep(LogLevel::Info, system, text);
    if (echoLevel != LogLevel::Silent && echoFile != nullptr) { std::fprintf(echoFile, "%s\n", text); }
}

uint64_t HostLog::count(LogLevel level) const { return level < LogLevel::Silent ? counts[static_cast<size_t>(level)] : 0; }

bool HostLog::contains(const std::string& part) const
{
    return std::any_of(keptEntries.begin(), keptEntries.end(),
                       [&part](const LogEntry& entry) { return entry.text.find(part) != std::string::npos; });
}

void HostLog::clear()
{
    keptEntries.clear();
    counts = {};
}

}  // namespace limbrex_host
