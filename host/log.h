// The engine's log: keeps every message, counts repeats, and echoes what is loud enough.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace limbrex_host
{

enum class LogLevel : uint8_t
{
    Info,
    Warning,
    Error,
    Silent,  // as an echo level: nothing is echoed
};

const char* log_level_name(LogLevel level);

struct LogEntry
{
    LogLevel level = LogLevel::Info;
    std::string system;
    std::string text;
    uint64_t count = 1;  // how often in a row
};

class HostLog
{
public:
    // Messages from `level` up go to `file` too, one line each; a repeat of the message before is counted, not echoed.
    void echo(LogLevel level, std::FILE* file = stderr);

    void write(LogLevel level, const char* system, const char* text);
    // What a script prints: kept as info, echoed unless nothing is.
    void say(const char* system, const char* text);
    void info(const std::string& text) { write(LogLevel::Info, kHostSystem, text.c_str()); }
    void warning(const std::string& text) { write(LogLevel::Warning, kHostSystem, text.c_str()); }
    void error(const std::string& text) { write(LogLevel::Error, kHostSystem, text.c_str()); }

    const std::vector<LogEntry>& entries() const { return keptEntries; }
    uint64_t count(LogLevel level) const;          // repeats included
    bool contains(const std::string& part) const;  // some message has `part` in it
    void clear();

    static constexpr const char* kHostSystem = "host";
    static constexpr size_t kCapacity = 20000;  // entries kept; later ones are counted and echoed only

private:
    bool keep(LogLevel level, const char* from, const char* what);  // false: the same as the message before

    std::vector<LogEntry> keptEntries;
    std::array<uint64_t, 3> counts{};
    LogLevel echoLevel = LogLevel::Silent;
    std::FILE* echoFile = nullptr;
};

}  // namespace limbrex_host
