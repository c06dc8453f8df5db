// Owners for the library's objects, so that a failing test leaks nothing.
#pragma once

#include <cstdlib>
#include <memory>

#include "limbrex/limbrex.h"

namespace limbrex_test
{

struct ReleaseState
{
    void operator()(LBXCharacterState* state) const { LBXCharacterStateDestroy(state, std::free); }
};
struct ReleaseEffectorSet
{
    void operator()(LBXEffectorSet* set) const { LBXEffectorSetDestroy(set, std::free); }
};
struct ReleasePropertySet
{
    void operator()(LBXPropertySet* set) const { LBXPropertySetDestroy(set, std::free); }
};
using StateOwner = std::unique_ptr<LBXCharacterState, ReleaseState>;
using EffectorSetOwner = std::unique_ptr<LBXEffectorSet, ReleaseEffectorSet>;
using PropertySetOwner = std::unique_ptr<LBXPropertySet, ReleasePropertySet>;

// A pose in the stance.
inline StateOwner make_state(const LBXCharacter* character)
{
    StateOwner state(LBXCharacterStateCreate(character, std::malloc));
    LBXGetCharacterizeState(character, state.get());
    return state;
}
inline EffectorSetOwner make_effector_set() { return EffectorSetOwner(LBXEffectorSetCreate(std::malloc)); }
inline PropertySetOwner make_property_set() { return PropertySetOwner(LBXPropertySetCreate(std::malloc)); }

}  // namespace limbrex_test
