// The constraints of one character in the order of their evaluation: position 0 was pushed first and acts first, so what is on top
// has the last word. The context owns the stack, the stack owns the constraints.
#pragma once

#include <cstdint>

#include "contexts/ik_constraint.h"

constexpr int32_t kStackCapacity = 32;

struct ConstraintStack
{
    IkConstraint** entries = nullptr;  // kStackCapacity slots, null from `count` on
    int32_t count = 0;
};

// One block of 32 pointers from the plugin's allocator. False when it has no room.
bool create_constraint_stack(ConstraintStack& stack);
// Deletes every constraint, then the block. Harmless on a stack that was never created.
void destroy_constraint_stack(ConstraintStack& stack);

inline bool is_full(const ConstraintStack& stack) { return stack.count >= kStackCapacity; }

// Takes ownership of a constraint; the stack must not be full.
void push_constraint(ConstraintStack& stack, IkConstraint* constraint);
// Deletes the top; nothing happens on an empty stack.
void pop_constraint(ConstraintStack& stack);
// Deletes all, bottom first.
void pop_all_constraints(ConstraintStack& stack);

// Null when the position is outside 0 to count - 1.
IkConstraint* constraint_at(const ConstraintStack& stack, int32_t position);
// Lowest position with that id; -1 when there is none.
int32_t find_constraint_position(const ConstraintStack& stack, int32_t id);

// Runs every constraint from the bottom up. The count is read before each call, since a constraint may act on the stack.
void evaluateStack(CharacterContext& context, float step_s);
