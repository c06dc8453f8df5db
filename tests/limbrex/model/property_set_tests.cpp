#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "tests/support/solver_objects.h"

namespace
{

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }
bool begins(const std::string& text, const char* part) { return text.rfind(part, 0) == 0; }

TEST(PropertySet, HasTheDefaultsThatRigsAreTunedAgainst)
{
    EXPECT_EQ(LBXPropertySetGetSize(), 2288u);
    EXPECT_EQ(LBXPropertySetCreate([](size_t) -> void* { return nullptr; }), nullptr);
    EXPECT_EQ(LBXPropertySetCreate(nullptr), nullptr);
    EXPECT_EQ(LBXPropertySetInit(nullptr), nullptr);
    LBXPropertySetDestroy(nullptr, std::free);
    const auto set = limbrex_test::make_property_set();
    struct Row
    {
        int id;
        const char* name;
        int mode;
        float value, minimum, maximum;
        bool enabled, automatic, description;
    };
    const Row rows[] = {
        {142, "PullIterationCount", 0, 10, 0, 30, true, false, false},
        {1, "ScaleCompensation", 1, 100, 1, 1000, true, true, false},
        {2, "MassCenterCompensation", 1, 80, 0, 120, true, false, false},
        {0, "ForceActorSpace", 0, 0, 0, 0, false, false, false},
        {5, "HipsHeightCompensation", 1, 0, -1000, 1000, true, true, false},
        {104, "CtrlEnforceGravity", 0, 0.6f, 0, 1, true, false, false},
        {88, "CtrlPullLeftFoot", 0, 1, 0, 1, true, false, false},
        {92, "CtrlPullHead", 0, 0, 0, 1, true, false, false},
        {101, "CtrlChestPullLeftHand", 0, 1, 0, 1, true, false, false},
        {108, "CtrlResistLeftCollar", 0, 0.5f, 0, 1, true, false, false},
        {137, "CtrlResistCompressionFactorRightElbow", 0, 0.5f, 0, 1, true, false, false},
        {16, "ReachActorLeftAnkleRotationRotation", 0, 1, 0, 1, true, false, false},
        {55, "FloorContact", 0, 0, 0, 0, false, false, false},
        {56, "FootBottomToAnkle", 1, 0, 0, 10000, true, false, true},
        {57, "FootBackToAnkle", 1, 4.5f, 0, 10000, true, false, true},
        {58, "FootMiddleToAnkle", 1, 13, 0, 10000, true, false, true},
        {66, "HandFrontToMiddle", 1, 7, 0, 10000, true, false, true},
        {71, "HandFingerContactMode", 0, 1, 0, 3, true, false, false},
        {72, "FootContactType", 0, 0, 0, 4, true, false, true},
        {123, "Posture", 0, 0, 0, 2, true, false, true},
        {128, "FingerSolving", 1, 0, 0, 0, true, false, false},
        {83, "Mirror", 0, 0, 0, 100, false, false, false},
        {143, "LeftHandThumbTip", 0, 0.5f, 0, 1000, true, false, true},
        {166, "RightFootExtraFingerTip", 0, 0.5f, 0, 1000, true, false, true},
        {167, "ShoulderCorrection", 0, 0, 0, 1, true, false, false},
        {168, "LeftLegMaxExtensionAngle", 0, 180, 0, 180, true, false, false},
        {174, "CollarStiffnessY", 1, 0, -1, 1, true, false, false},
        {181, "StretchStartArmsAndLegs", 0, 0.9f, 0, 1, true, false, false},
        {182, "StretchStopArmsAndLegs", 0, 1.1f, 1, 2, true, false, false},
        {200, "RightForeArmRollEx", 0, 0, 0, 2, true, false, false},
        {201, "TopSpineCorrection", 0, 0.5f, 0, 1, true, false, false},
        {203, "SnSSmoothReach", 0, 1, 0, 0, false, false, false},
        {207, "ParamRealisticArmSolving", 0, 0, 0, 0, false, false, false},
        {251, "RightArmFullRollExtraction", 0, 0, 0, 1, false, false, false},
    };
    for (const Row& row : rows)
    {
        EXPECT_STREQ(LBXPropertyGetNameFromId(row.id), row.name);
        EXPECT_EQ(LBXPropertyGetIdFromName(row.name), row.id);
        EXPECT_EQ(LBXPropertyGetMode(set.get(), row.id), row.mode) << row.name;
        EXPECT_EQ(LBXPropertyGetDefaultMode(row.id), row.mode) << row.name;
        EXPECT_EQ(LBXPropertyGetValue(set.get(), row.id), row.value) << row.name;
        EXPECT_EQ(LBXPropertyGetMin(row.id), row.minimum) << row.name;
        EXPECT_EQ(LBXPropertyGetMax(row.id), row.maximum) << row.name;
        EXPECT_EQ(LBXPropertyIsEnabled(set.get(), row.id), row.enabled) << row.name;
        EXPECT_EQ(LBXPropertyIsAuto(set.get(), row.id), row.automatic) << row.name;
        EXPECT_EQ(LBXPropertyGetDescriptionFlag(row.id), row.description) << row.name;
    }
    // Families.
    int rolls = 0, leaf_rolls = 0;
    for (int id = 0; id < LBXLastPropertyId; ++id)
    {
        const std::string name = LBXPropertyGetNameFromId(id);
        const float value = LBXPropertyGetValue(set.get(), id);
        const bool leaf_roll = begins(name, "ParamLeaf");
        const bool roll = !leaf_roll && name.size() > 4 && name.compare(name.size() - 4, 4, "Roll") == 0;
        leaf_rolls += leaf_roll ? 1 : 0;
        rolls += roll ? 1 : 0;
        if (leaf_roll || roll)
        {
            EXPECT_EQ(value, roll ? 0.6f : 0.5f) << name;
            EXPECT_EQ(LBXPropertyGetModeKind(id), 1) << name;
        }
        if (begins(name, "ReachActor")) { EXPECT_EQ(value, contains(name, "Ankle") ? 1.0f : 0.0f) << name; }
    }
    EXPECT_EQ(rolls, 8);
    EXPECT_EQ(leaf_rolls, 40);
}

TEST(PropertySet, NamesAndIdsAreOneToOneAndExact)
{
    std::set<std::string> names;
    for (int id = 0; id < LBXLastPropertyId; ++id)
    {
        const char* name = LBXPropertyGetNameFromId(id);
        ASSERT_NE(name, nullptr);
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(LBXPropertyGetIdFromName(name), id);
    }
    for (const char* none :
         {"ApplyLimits", "SyncMode", "LeftShoulderUpAngle", "Displacement", "pulliterationcount", "PullIterationCoun", "Posture ", ""})
        EXPECT_EQ(LBXPropertyGetIdFromName(none), -1) << none;
    EXPECT_EQ(LBXPropertyGetIdFromName(nullptr), -1);
}

TEST(PropertySet, KeepsWhatIsSetApartAndClampsFractionsAlone)
{
    const auto set = limbrex_test::make_property_set();
    for (int id = 0; id < LBXLastPropertyId; ++id)
    {
        LBXPropertySetMode(set.get(), id, 1000 + id);
        LBXPropertySetValue(set.get(), id, static_cast<float>(id) / 256.0f);
    }
    for (int id = 0; id < LBXLastPropertyId; ++id)
    {
        EXPECT_EQ(LBXPropertyGetMode(set.get(), id), 1000 + id);
        EXPECT_EQ(LBXPropertyGetValue(set.get(), id), static_cast<float>(id) / 256.0f);
        const bool fraction = LBXPropertyGetValueKind(id) == 1;
        LBXPropertySetValue(set.get(), id, 50.0f);
        EXPECT_EQ(LBXPropertyGetValue(set.get(), id), fraction ? 1.0f : 50.0f);
        LBXPropertySetValue(set.get(), id, -2.0f);
        EXPECT_EQ(LBXPropertyGetValue(set.get(), id), fraction ? 0.0f : -2.0f);
        LBXPropertySetValue(set.get(), id, NAN);
        EXPECT_TRUE(fraction ? LBXPropertyGetValue(set.get(), id) == 0.0f : std::isnan(LBXPropertyGetValue(set.get(), id)));
    }
    EXPECT_EQ(LBXPropertyGetValueKind(LBXPropertyCtrlPullLeftFoot), 1);
    EXPECT_EQ(LBXPropertyGetValueKind(LBXPropertyPullIterationCount), 6);
    EXPECT_EQ(LBXPropertyGetValueKind(LBXPropertySnSSmoothReach), 0);  // a switch read by value: not clamped

    const auto fresh = limbrex_test::make_property_set();
    EXPECT_EQ(LBXPropertySetInit(set.get()), set.get());
    EXPECT_EQ(std::memcmp(set.get(), fresh.get(), LBXPropertySetGetSize()), 0);
}

TEST(PropertySet, EnabledAndAutomaticFollowTheMode)
{
    const auto set = limbrex_test::make_property_set();
    for (int id = 0; id < LBXLastPropertyId; ++id)
    {
        const int kind = LBXPropertyGetModeKind(id);
        for (const int mode : {0, 1, 2, -5})
        {
            LBXPropertySetMode(set.get(), id, mode);
            EXPECT_EQ(LBXPropertyIsEnabled(set.get(), id), kind == 0 || mode != 0) << LBXPropertyGetNameFromId(id);
            EXPECT_EQ(LBXPropertyIsAuto(set.get(), id), kind == 2 && mode == 1) << LBXPropertyGetNameFromId(id);
        }
    }
    // A contact measure has no mode, so it does not ask the contact that it belongs to.
    LBXPropertySetMode(set.get(), LBXPropertyFloorContact, 0);
    EXPECT_TRUE(LBXPropertyIsEnabled(set.get(), LBXPropertyFootBottomToAnkle));
}

TEST(PropertySet, ModesAndEnumerationsHaveNames)
{
    EXPECT_STREQ(LBXPropertyGetModeName(LBXPropertyMirror, 0), "Off");
    EXPECT_STREQ(LBXPropertyGetModeName(LBXPropertyMirror, 1), "On");
    EXPECT_EQ(LBXPropertyGetModeName(LBXPropertyMirror, 2), nullptr);
    EXPECT_STREQ(LBXPropertyGetModeName(LBXPropertyScaleCompensation, 0), "Off");
    EXPECT_STREQ(LBXPropertyGetModeName(LBXPropertyScaleCompensation, 1), "Auto");
    EXPECT_STREQ(LBXPropertyGetModeName(LBXPropertyScaleCompensation, 2), "User");
    for (const int mode : {3, 4, 1000, -1}) EXPECT_EQ(LBXPropertyGetModeName(LBXPropertyScaleCompensation, mode), nullptr);
    EXPECT_EQ(LBXPropertyGetModeName(LBXPropertyPosture, 0), nullptr);

    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyPosture, 1), "Quadruped");
    EXPECT_EQ(LBXPropertyGetValueName(LBXPropertyPosture, 2), nullptr);
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyFloorPivot, 2), "Toes");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyHandFloorPivot, 1), "Wrist");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyRollExtractionMode, 0), "Relative");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyHipsTranslationMode, 2), "Trajectory");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyHandContactType, 3), "Hoof");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyFootContactType, 1), "Ankle");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyHandFingerContactMode, 2), "Sticky & Spread");
    EXPECT_STREQ(LBXPropertyGetValueName(LBXPropertyFootFingerContactMode, 1), "Spread");
    for (int id = 0; id < LBXLastPropertyId; ++id)
    {
        const int count = LBXPropertyGetValueKind(id) == 5 ? static_cast<int>(LBXPropertyGetMax(id)) : 0;
        for (int value = -1; value < 7; ++value)
            EXPECT_EQ(LBXPropertyGetValueName(id, value) != nullptr, value >= 0 && value < count) << id;
    }
}

TEST(PropertySet, IdsOutOfRangeAndMissingSetsAnswerNeutrally)
{
    const auto set = limbrex_test::make_property_set();
    const auto fresh = limbrex_test::make_property_set();
    for (const int id : {-1, -2, 252, 284, 1 << 30, -(1 << 30)})
    {
        LBXPropertySetMode(set.get(), id, 3);
        LBXPropertySetValue(set.get(), id, 3.0f);
        EXPECT_EQ(LBXPropertyGetMode(set.get(), id), 0);
        EXPECT_EQ(LBXPropertyGetValue(set.get(), id), 0.0f);
        EXPECT_FALSE(LBXPropertyIsEnabled(set.get(), id));
        EXPECT_FALSE(LBXPropertyIsAuto(set.get(), id));
        EXPECT_EQ(LBXPropertyGetNameFromId(id), nullptr);
        EXPECT_EQ(LBXPropertyGetMin(id), 0.0f);
        EXPECT_EQ(LBXPropertyGetMax(id), 0.0f);
        EXPECT_EQ(LBXPropertyGetDefaultMode(id), -1);
        EXPECT_EQ(LBXPropertyGetModeKind(id), 0);
        EXPECT_EQ(LBXPropertyGetValueKind(id), 0);
        EXPECT_FALSE(LBXPropertyGetDescriptionFlag(id));
        EXPECT_EQ(LBXPropertyGetModeName(id, 0), nullptr);
        EXPECT_EQ(LBXPropertyGetValueName(id, 0), nullptr);
    }
    EXPECT_EQ(std::memcmp(set.get(), fresh.get(), LBXPropertySetGetSize()), 0);
    LBXPropertySetMode(nullptr, 0, 1);
    LBXPropertySetValue(nullptr, 0, 1.0f);
    EXPECT_EQ(LBXPropertyGetMode(nullptr, 1), 0);
    EXPECT_EQ(LBXPropertyGetValue(nullptr, 142), 0.0f);
    EXPECT_FALSE(LBXPropertyIsEnabled(nullptr, 142));
    EXPECT_FALSE(LBXPropertyIsAuto(nullptr, 1));
}

}  // namespace
