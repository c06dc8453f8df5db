// Names from files of any origin, made fit for JSON.
#pragma once

#include <string>
#include <string_view>

namespace limbrex_tools
{

// The text with every byte that is not part of a well-formed UTF-8 character, and every control character, replaced by '?'.
inline std::string valid_utf8(std::string_view text)
{
    std::string out;
    for (size_t i = 0; i < text.size();)
    {
        const unsigned lead = static_cast<unsigned char>(text[i]);
        const size_t size = lead < 0x80                   ? 1
                            : lead >= 0xC2 && lead < 0xE0 ? 2
                            : lead >= 0xE0 && lead < 0xF0 ? 3
                            : lead >= 0xF0 && lead < 0xF5 ? 4
                                                          : 0;
        bool good = size > 0 && i + size <= text.size() && lead >= 0x20 && lead != 0x7F;
        for (size_t k = 1; good && k < size; ++k) { good = (static_cast<unsigned char>(text[i + k]) & 0xC0u) == 0x80u; }
        if (good && size > 2)
        {
            // Overlong forms, surrogates and what lies beyond the last character.
            const unsigned next = static_cast<unsigned char>(text[i + 1]);
            good = !(lead == 0xE0 && next < 0xA0) && !(lead == 0xED && next > 0x9F) && !(lead == 0xF0 && next < 0x90) &&
                   !(lead == 0xF4 && next > 0x8F);
        }
        if (good) { out.append(text.substr(i, size)); }
        else { out += '?'; }
        i += good ? size : 1;
    }
    return out;
}

}  // namespace limbrex_tools
