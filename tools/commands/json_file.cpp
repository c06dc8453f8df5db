#include "tools/commands/json_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <vector>

#include "host/source_tree.h"

namespace limbrex_tools
{
namespace
{

constexpr size_t kDeepest = 64;  // levels; a rig has four, and the parser's depth is the caller's stack

// Brackets opened inside each other, texts left aside.
bool nests_too_deep(const std::string& text)
{
    size_t depth = 0;
    bool in_text = false;
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (in_text)
        {
            if (text[i] == '\\') { ++i; }
            else if (text[i] == '"') { in_text = false; }
            continue;
        }
        if (text[i] == '"') { in_text = true; }
        else if (text[i] == '{' || text[i] == '[') { ++depth; }
        else if ((text[i] == '}' || text[i] == ']') && depth > 0) { --depth; }
        if (depth > kDeepest) { return true; }
    }
    return false;
}

std::string place_in(const std::string& text, size_t byte)
{
    const size_t end = std::min(byte > 0 ? byte - 1 : 0, text.size());
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
    const size_t start = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    return fmt::format("{}:{}", line, end - (start == std::string::npos ? 0 : start + 1) + 1);
}

// The library's text behind its own tag and position.
std::string reason(const std::string& what)
{
    const size_t tag = what.find("] ");
    std::string text = tag == std::string::npos ? what : what.substr(tag + 2);
    const size_t position = text.find(": ");
    return text.compare(0, 11, "parse error") == 0 && position != std::string::npos ? text.substr(position + 2) : text;
}

// Remembers the members of every open object; the first that repeats is kept for the message.
struct RepeatWatch
{
    std::vector<std::set<std::string>> open;
    std::string repeated;

    bool watch(nlohmann::json::parse_event_t event, const nlohmann::json& parsed)
    {
        using Event = nlohmann::json::parse_event_t;
        if (event == Event::object_start) { open.emplace_back(); }
        else if (event == Event::object_end) { open.pop_back(); }
        else if (event == Event::key && !open.back().insert(parsed.get<std::string>()).second && repeated.empty())
        {
            repeated = parsed.get<std::string>();
        }
        return true;
    }
};

}  // namespace

bool read_json_file(const std::string& path, nlohmann::json& out, std::string& error)
{
    std::string text;
    if (!limbrex_host::read_file(path, text, error)) { return false; }
    if (nests_too_deep(text)) { return error = fmt::format("{}: nests deeper than {} levels", path, kDeepest), false; }
    try
    {
        RepeatWatch repeats;
        out = nlohmann::json::parse(
            text, [&repeats](int, nlohmann::json::parse_event_t event, nlohmann::json& parsed) { return repeats.watch(event, parsed); },
            true, true);
        if (repeats.repeated.empty()) { return true; }
        error =
            fmt::format("{}: the member \"{}\" occurs twice in one object; readers differ in which one they take", path, repeats.repeated);
    }
    catch (const nlohmann::json::parse_error& fault)
    {
        error = fmt::format("{}:{}: not valid JSON: {}", path, place_in(text, fault.byte), reason(fault.what()));
    }
    catch (const nlohmann::json::exception& fault)  // numbers beyond a double, as 1e999
    {
        error = fmt::format("{}: not usable JSON: {}", path, reason(fault.what()));
    }
    return false;
}

}  // namespace limbrex_tools
