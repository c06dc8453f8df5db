// Rigs beside the biped of twenty nodes: the biped with toes and whole hands, and an animal.
#pragma once

#include "tests/plugin/test_rig.h"

namespace test_engine
{

// Knees a little bent. Each hand has a finger base and five fingers of three joints; the index stands on a bone inside the hand.
TestRig biped_with_hands();

// An animal 60 cm high at the shoulders, facing +z in its y-up axes: knees bent forward, elbows backward, toes and finger bases.
TestRig quadruped();

}  // namespace test_engine
