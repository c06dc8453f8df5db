#include "limbrex/model/property_set.h"

#include <cstring>

#include "limbrex/model/character.h"
#include "limbrex/model/property_table.h"

namespace lbx
{
namespace
{

// ---- laws of the table ----------------------------------------------------------------------------------------------------------

constexpr bool every_id_has_one_record()
{
    int32_t listed = 0;
    for (const PropertyRow& row : kProperties) listed += row.publicId >= 0 ? 1 : 0;
    for (const int32_t index : kRecordOfProperty)
    {
        if (index < 0) return false;
    }
    return listed == kPropertyCount;
}
static_assert(every_id_has_one_record(), "a public id is missing or listed twice");

constexpr bool rows_are_sound()
{
    for (int32_t i = 0; i < record::Count; ++i)
    {
        const PropertyRow& row = kProperties[static_cast<size_t>(i)];
        if (row.modeKind < kNoMode || row.modeKind > kAutoUser || row.valueKind < kNumberOrSwitch || row.valueKind > kNumberWithRange)
            return false;
        if (row.minimum > row.maximum || row.parent >= i) return false;
        if (row.valueKind == kFraction && (row.minimum != 0.0f || row.maximum != 1.0f)) return false;
    }
    return true;
}
static_assert(rows_are_sound(),
              "a kind is unknown, bounds are reversed, a fraction has other bounds, or a record enables one in front of it");

// Records that the interface does not name; with them, every row can be held against the public enumeration.
enum : int
{
    LBXPropertyApplyLimits = -1,
    LBXPropertyChestReduction = -1,
    LBXPropertyCollarReduction = -1,
    LBXPropertyNeckReduction = -1,
    LBXPropertyHeadReduction = -1,
    LBXPropertyContactSize = -1,
    LBXPropertyHandContactSize = -1,
    LBXPropertyDamping = -1,
    LBXPropertyOrientation = -1,
    LBXPropertyDisplacement = -1,
    LBXPropertyDisplacementMemory = -1,
    LBXPropertyHipsDisplacementDamping = -1,
    LBXPropertyAnkleDisplacementDamping = -1,
    LBXPropertyWristDisplacementDamping = -1,
    LBXPropertyStabilization = -1,
    LBXPropertyAnkleStabilizationTime = -1,
    LBXPropertyAnkleStabilizationPerimeter = -1,
    LBXPropertyAnkleStabilizationAngularPerimeter = -1,
    LBXPropertyAnkleStabilizationFloorProximity = -1,
    LBXPropertyAnkleStabilizationDamping = -1,
    LBXPropertyAnkleStabilizationRecoveryTime = -1,
    LBXPropertyGameMode = -1,
    LBXPropertyLeftShoulderFrontAngle = -1,
    LBXPropertyLeftShoulderBackAngle = -1,
    LBXPropertyLeftShoulderUpAngle = -1,
    LBXPropertyLeftShoulderDownAngle = -1,
    LBXPropertyRightShoulderFrontAngle = -1,
    LBXPropertyRightShoulderBackAngle = -1,
    LBXPropertyRightShoulderUpAngle = -1,
    LBXPropertyRightShoulderDownAngle = -1,
    LBXPropertyContactBehaviour = -1,
    LBXPropertyWriteReference = -1,
    LBXPropertySyncMode = -1
};
#define X(name, publicId, modeKind, valueKind, minimum, maximum, defaultMode, defaultValue, flagA, flagB, parent) \
    static_assert(static_cast<int>(LBXProperty##name) == (publicId), "public id of " #name);
#include "limbrex/model/property_table.inc"
#undef X

// ---- the enable test ------------------------------------------------------------------------------------------------------------

// A record is off by its own mode or by that of a record above it; a record without modes is on whatever stands above.
template <class ModeOf>
constexpr bool enabled_by_modes(int32_t index, ModeOf mode_of_record)
{
    while (index >= 0)
    {
        const PropertyRow& row = kProperties[static_cast<size_t>(index)];
        if (row.modeKind == kNoMode) return true;
        if (row.modeKind != kAutoUser && mode_of_record(index) == 0) return false;
        index = row.parent;
    }
    return true;
}
constexpr int32_t default_mode_of(int32_t index) { return kProperties[static_cast<size_t>(index)].defaultMode; }
constexpr int32_t mode_without_displacement(int32_t index) { return index == record::Displacement ? 0 : default_mode_of(index); }
static_assert(enabled_by_modes(record::DisplacementMemory, default_mode_of), "displacement has memory by default");
static_assert(!enabled_by_modes(record::DisplacementMemory, mode_without_displacement), "no memory without displacement");
static_assert(enabled_by_modes(record::FootBottomToAnkle, default_mode_of), "a record without modes is always on");
static_assert(!enabled_by_modes(record::FloorContact, default_mode_of), "floor contact is off by default");

// ---- defaults -------------------------------------------------------------------------------------------------------------------

constexpr std::array<PropertyPair, record::Count> default_pairs()
{
    std::array<PropertyPair, record::Count> pairs{};
    for (size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kProperties[i].defaultMode, kProperties[i].defaultValue};
    return pairs;
}
constexpr std::array<PropertyPair, record::Count> kDefaultPairs = default_pairs();
static_assert(sizeof(kDefaultPairs) == sizeof(LBXPropertySet::pairs), "a set is reset by one copy");

}  // namespace

int32_t record_of_property(int public_id) { return kRecordOfProperty[static_cast<size_t>(public_id)]; }

bool is_in_effect(const LBXPropertySet& set, int32_t index)
{
    return enabled_by_modes(index, [&set](int32_t i) { return set.pairs[i].mode; });
}

}  // namespace lbx

using namespace lbx;

LBXPropertySet* LBXPropertySetCreate(LBXAllocateFunction allocate)
{
    auto* set = static_cast<LBXPropertySet*>(allocate_block(sizeof(LBXPropertySet), allocate));
    if (set) std::memset(set, 0, sizeof(*set));
    return LBXPropertySetInit(set);
}

LBXPropertySet* LBXPropertySetInit(LBXPropertySet* set)
{
    if (set) std::memcpy(set->pairs, kDefaultPairs.data(), sizeof(set->pairs));
    return set;
}

void LBXPropertySetDestroy(LBXPropertySet* set, LBXFreeFunction free_function) { free_block(set, free_function); }

size_t LBXPropertySetGetSize(void) { return sizeof(LBXPropertySet); }

void LBXPropertySetMode(LBXPropertySet* set, int id, int mode)
{
    if (set && is_property(id)) set->pairs[record_of_property(id)].mode = mode;
}

void LBXPropertySetValue(LBXPropertySet* set, int id, float value)
{
    if (!set || !is_property(id)) return;
    if (property_row(id).valueKind == kFraction)
    {
        value = value > 0.0f ? value : 0.0f;  // NaN fails the comparison and becomes 0
        value = value < 1.0f ? value : 1.0f;
    }
    set->pairs[record_of_property(id)].value = value;
}

int LBXPropertyGetMode(const LBXPropertySet* set, int id) { return set && is_property(id) ? mode_of(*set, record_of_property(id)) : 0; }

float LBXPropertyGetValue(const LBXPropertySet* set, int id)
{
    return set && is_property(id) ? value_of(*set, record_of_property(id)) : 0.0f;
}

bool LBXPropertyIsEnabled(const LBXPropertySet* set, int id)
{
    return set && is_property(id) && is_in_effect(*set, record_of_property(id));
}

bool LBXPropertyIsAuto(const LBXPropertySet* set, int id)
{
    if (!set || !is_property(id)) return false;
    const int mode = mode_of(*set, record_of_property(id));
    switch (property_row(id).modeKind)
    {
    case kOffAutoUser: return mode == 1;
    case kAutoUser: return mode == 0;
    default: return false;
    }
}
