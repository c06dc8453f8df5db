#include "resources/source_tree.h"

#include <cmath>
#include <cstring>

#include "plugin/limbrex_plugin.h"

const uint32_t* SourceValue::words() const { return reinterpret_cast<const uint32_t*>(tree_ + value_); }

SourceValue SourceValue::member(const char* key) const
{
    if (type_ != kSourceObject) return {};
    const uint32_t* object = words();
    for (uint32_t i = 0; i < object[0]; ++i)
    {
        const uint32_t* entry = object + 1 + 3 * static_cast<size_t>(i);
        if (std::strcmp(tree_ + entry[0], key) == 0) return {tree_, entry[1], entry[2]};
    }
    return {};
}

uint32_t SourceValue::count() const { return type_ == kSourceArray ? words()[1] : 0; }

SourceValue SourceValue::element(uint32_t index) const
{
    if (index >= count()) return {};
    const uint32_t* array = words();
    return {tree_, array[0], array[2 + static_cast<size_t>(index)]};
}

bool SourceValue::is_string() const { return type_ == kSourceString; }

const char* SourceValue::string() const { return is_string() ? tree_ + value_ : ""; }

float SourceValue::number(float missing) const
{
    if (type_ == kSourceInteger) return static_cast<float>(static_cast<int32_t>(value_));
    if (type_ != kSourceFloat) return missing;
    float number;
    std::memcpy(&number, &value_, sizeof number);
    return number;
}

uint32_t SourceValue::raw_integer(uint32_t missing) const
{
    if (type_ == kSourceInteger) return value_;
    if (type_ != kSourceFloat) return missing;
    const float rounded = std::nearbyint(number());
    // Beyond these no 32-bit integer is near it; NaN fails both comparisons.
    const bool fits = rounded >= -2147483648.0f && rounded < 2147483648.0f;
    return fits ? static_cast<uint32_t>(static_cast<int32_t>(rounded)) : missing;
}

SourceValue source_root(const void* tree)
{
    if (!tree) return {};
    const auto* root = static_cast<const uint32_t*>(tree);
    return root[0] == kSourceObject ? SourceValue(static_cast<const char*>(tree), root[0], root[1]) : SourceValue();
}
