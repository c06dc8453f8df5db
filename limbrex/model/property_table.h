// The constant table behind every solver option: a row per record, and the way from public ids to records.
#pragma once

#include <array>

#include "limbrex/model/property_set.h"

namespace lbx
{

inline constexpr int kPropertyCount = LBXLastPropertyId;

enum ModeKind : int32_t
{
    kNoMode = 0,
    kOffOn = 1,
    kOffAutoUser = 2,
    kAutoUser = 3
};
enum ValueKind : int32_t
{
    kNumberOrSwitch = 0,
    kFraction = 1,  // clamped to 0..1 when set
    kTime = 2,
    kLength = 3,
    kAngle = 4,  // degrees
    kEnumeration = 5,
    kNumberWithRange = 6
};

struct PropertyRow
{
    const char* name;
    int32_t publicId;  // -1: keeps its default for good
    int32_t modeKind, valueKind;
    float minimum, maximum;
    int32_t defaultMode;
    float defaultValue;
    bool flagA, flagB;  // B: describes the rig rather than the motion
    int32_t parent;     // record that enables this one, -1 none
};

inline constexpr std::array<PropertyRow, record::Count> kProperties = {{
#define X(name, publicId, modeKind, valueKind, minimum, maximum, defaultMode, defaultValue, flagA, flagB, parent) \
    {#name, publicId, modeKind, valueKind, minimum, maximum, defaultMode, defaultValue, flagA, flagB, record::parent},
#include "limbrex/model/property_table.inc"
#undef X
}};

constexpr bool is_property(int public_id) { return public_id >= 0 && public_id < kPropertyCount; }

// Record of every public id; -2 would be an id without a record.
constexpr std::array<int32_t, kPropertyCount> records_of_properties()
{
    std::array<int32_t, kPropertyCount> records{};
    for (int32_t& index : records) index = -2;
    for (int32_t i = 0; i < record::Count; ++i)
    {
        const int32_t id = kProperties[static_cast<size_t>(i)].publicId;
        if (id >= 0) records[static_cast<size_t>(id)] = i;
    }
    return records;
}
inline constexpr std::array<int32_t, kPropertyCount> kRecordOfProperty = records_of_properties();

inline const PropertyRow& property_row(int public_id)
{
    return kProperties[static_cast<size_t>(kRecordOfProperty[static_cast<size_t>(public_id)])];
}

}  // namespace lbx
