// What the property table says about an option to people and tools: names, bounds, kinds.

#include <cstring>

#include "limbrex/model/property_table.h"

namespace lbx
{
namespace
{

constexpr int kMostNames = 4;
using NameList = std::array<const char*, kMostNames>;  // null behind the last

constexpr std::array<NameList, 4> kModeNames = {{{}, {"Off", "On"}, {"Off", "Auto", "User"}, {"Auto", "User"}}};

struct EnumerationRow
{
    int32_t record;
    NameList names;
};
constexpr EnumerationRow kEnumerations[] = {
    {record::Posture, {"Biped", "Quadruped"}},
    {record::FloorPivot, {"Auto", "Ankle", "Toes"}},
    {record::HandFloorPivot, {"Auto", "Wrist", "Fingers"}},
    {record::RollExtractionMode, {"Relative", "Absolute"}},
    {record::HipsTranslationMode, {"World Rigid", "Body Rigid", "Trajectory"}},
    {record::HandContactType, {"Normal", "Wrist", "FingerBase", "Hoof"}},
    {record::FootContactType, {"Normal", "Ankle", "ToeBase", "Hoof"}},
    {record::HandFingerContactMode, {"Sticky", "Spread", "Sticky & Spread"}},
    {record::FootFingerContactMode, {"Sticky", "Spread", "Sticky & Spread"}},
    {record::ContactBehaviour, {"Never Sync", "Sync On Key", "Always Sync"}},
};

constexpr int name_count(const NameList& names)
{
    int count = 0;
    for (const char* name : names) count += name ? 1 : 0;
    return count;
}
constexpr bool every_enumeration_is_named()
{
    for (int32_t i = 0; i < record::Count; ++i)
    {
        const PropertyRow& row = kProperties[static_cast<size_t>(i)];
        int names = 0;
        for (const EnumerationRow& enumeration : kEnumerations) names += enumeration.record == i ? name_count(enumeration.names) : 0;
        if (names != (row.valueKind == kEnumeration ? static_cast<int>(row.maximum) : 0)) return false;
    }
    return true;
}
static_assert(every_enumeration_is_named(), "an enumeration has as many names as its maximum says, and nothing else has names");

const char* name_at(const NameList& names, int index)
{
    return index >= 0 && index < kMostNames ? names[static_cast<size_t>(index)] : nullptr;
}

}  // namespace
}  // namespace lbx

using namespace lbx;

int LBXPropertyGetIdFromName(const char* name)
{
    if (!name) return -1;
    for (int id = 0; id < kPropertyCount; ++id)
    {
        if (std::strcmp(property_row(id).name, name) == 0) return id;
    }
    return -1;
}

const char* LBXPropertyGetNameFromId(int id) { return is_property(id) ? property_row(id).name : nullptr; }
float LBXPropertyGetMin(int id) { return is_property(id) ? property_row(id).minimum : 0.0f; }
float LBXPropertyGetMax(int id) { return is_property(id) ? property_row(id).maximum : 0.0f; }
int LBXPropertyGetDefaultMode(int id) { return is_property(id) ? property_row(id).defaultMode : -1; }
int LBXPropertyGetModeKind(int id) { return is_property(id) ? property_row(id).modeKind : 0; }
int LBXPropertyGetValueKind(int id) { return is_property(id) ? property_row(id).valueKind : 0; }
bool LBXPropertyGetDescriptionFlag(int id) { return is_property(id) && property_row(id).flagB; }

const char* LBXPropertyGetModeName(int id, int mode)
{
    return is_property(id) ? name_at(kModeNames[static_cast<size_t>(property_row(id).modeKind)], mode) : nullptr;
}

const char* LBXPropertyGetValueName(int id, int value)
{
    if (!is_property(id)) return nullptr;
    const int32_t index = kRecordOfProperty[static_cast<size_t>(id)];
    for (const EnumerationRow& enumeration : kEnumerations)
    {
        if (enumeration.record == index) return name_at(enumeration.names, value);
    }
    return nullptr;
}
