// What every constraint of a character's stack has in common: a weight that blends toward a target, an id that scripts find it by,
// and four operations. A kind derives from it in a file of its own (constraints/).
#pragma once

#include <cstddef>
#include <cstdint>

struct CharacterContext;

// Scripts see these numbers and saved tables of them; 0 is not used.
enum class IkConstraintType : int32_t
{
    Solve = 1,
    FloorContact = 2,
    TestBiped = 3,
    TestQuadruped = 4,
    ReachPosition = 5,
    ReachOrientation = 6,
    OffsetPosition = 7,
    OffsetRotation = 8,
    Pull = 9,
    Pin = 10,
    InvertJoint = 11,
    Plant = 12,
    LookAt = 13,
    FingersControl = 14,
    RelativePin = 15,
    Resist = 16,
    Lod = 17,
    PartialSolving = 18,
    Aim = 19,
    Property = 20,
};

// One line of text; longer descriptions are cut.
struct DescriptionText
{
    char text[256];
};

// Id of the kinds whose push takes none.
constexpr int32_t kNoConstraintId = -1;

struct IkConstraint
{
    float alpha = 0.0f;       // current weight; starts at 0 so that a constraint fades in
    float blendAlpha = 1.0f;  // weight that `alpha` travels to; scripts may go outside 0 to 1, the library clamps what it stores
    float blendTime = 0.0f;   // seconds for a distance of 1; 0 arrives at once
    int32_t id = kNoConstraintId;

    // Acts for one frame of `step_s` seconds on the context's effector set, properties or switches.
    virtual void evaluate(CharacterContext& context, float step_s) = 0;
    virtual const char* typeName() const = 0;
    virtual void describe(DescriptionText& description) const = 0;
    virtual IkConstraintType typeId() const = 0;
    // Behind the four, whose slots are fixed.
    virtual ~IkConstraint() = default;

    // Constraints live in the plugin's allocator. Null when it has no room.
    static void* operator new(size_t size) noexcept;
    static void operator delete(void* block) noexcept;

protected:
    IkConstraint() = default;
    IkConstraint(const IkConstraint&) = default;
    IkConstraint& operator=(const IkConstraint&) = default;

    // One frame of travel at one unit of weight per blendTime seconds; stops exactly at the target. Blended kinds call it first.
    void stepBlend(float step_s);
};

// Base of a kind: ties the type id to the type, so that accessors find the one from the other.
template <IkConstraintType Type>
struct IkConstraintKind : IkConstraint
{
    static constexpr IkConstraintType kType = Type;
    IkConstraintType typeId() const final { return Type; }
};

// "Left Wrist" and so on for effectors 0 to 19, "Unknown" for the rest.
const char* effectorDisplayName(int32_t effector);
