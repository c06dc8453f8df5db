// Joint names that stay unique within one skeleton, and the reading of names that belong together across conventions.
#pragma once

#include <cctype>
#include <set>
#include <string>
#include <string_view>

namespace limbrex_host
{

// Names that files give keep their claim on their own spelling: generated names make way for them, whatever the order.
class UniqueNames
{
public:
    void reserve(const std::string& given) { reserved_.insert(given); }

    // A name from the file: itself the first time, "name_2", "name_3" ... after that.
    std::string take(const std::string& given) { return taken_.insert(given).second ? given : numbered(given); }

    // A name of our own making: itself unless the file uses it, then numbered.
    std::string generate(const std::string& wanted)
    {
        const bool free = reserved_.count(wanted) == 0 && taken_.insert(wanted).second;
        return free ? wanted : numbered(wanted);
    }

private:
    std::string numbered(const std::string& base)
    {
        for (size_t i = 2;; ++i)
        {
            std::string name = base + "_" + std::to_string(i);
            if (reserved_.count(name) == 0 && taken_.insert(name).second) { return name; }
        }
    }

    std::set<std::string> reserved_;
    std::set<std::string> taken_;
};

// Letters and digits in lower case, without a "rig:" prefix, so that conventions can be compared by what they call a joint.
inline std::string plain_name(std::string_view name)
{
    const size_t colon = name.rfind(':');
    if (colon != std::string_view::npos) { name.remove_prefix(colon + 1); }
    std::string plain;
    for (const char ch : name)
    {
        if (std::isalnum(static_cast<unsigned char>(ch)) != 0) { plain += static_cast<char>(std::tolower(static_cast<unsigned char>(ch))); }
    }
    return plain;
}

}  // namespace limbrex_host
