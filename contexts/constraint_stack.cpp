#include "contexts/constraint_stack.h"

#include <cassert>

#include "contexts/character_context.h"
#include "resources/plugin_allocator.h"

bool create_constraint_stack(ConstraintStack& stack)
{
    stack.count = 0;
    stack.entries = static_cast<IkConstraint**>(plugin_allocate(kStackCapacity * sizeof(IkConstraint*), alignof(IkConstraint*)));
    if (!stack.entries) return false;
    for (int32_t i = 0; i < kStackCapacity; ++i) stack.entries[i] = nullptr;
    return true;
}

void destroy_constraint_stack(ConstraintStack& stack)
{
    if (!stack.entries) return;
    pop_all_constraints(stack);
    plugin_deallocate(stack.entries);
    stack.entries = nullptr;
}

void push_constraint(ConstraintStack& stack, IkConstraint* constraint)
{
    assert(!is_full(stack));
    stack.entries[stack.count++] = constraint;
}

void pop_constraint(ConstraintStack& stack)
{
    if (stack.count == 0) return;
    IkConstraint*& top = stack.entries[stack.count - 1];
    delete top;
    top = nullptr;
    --stack.count;
}

void pop_all_constraints(ConstraintStack& stack)
{
    for (int32_t i = 0; i < stack.count; ++i)
    {
        delete stack.entries[i];
        stack.entries[i] = nullptr;
    }
    stack.count = 0;
}

IkConstraint* constraint_at(const ConstraintStack& stack, int32_t position)
{
    return position >= 0 && position < stack.count ? stack.entries[position] : nullptr;
}

int32_t find_constraint_position(const ConstraintStack& stack, int32_t id)
{
    for (int32_t i = 0; i < stack.count; ++i)
    {
        if (stack.entries[i]->id == id) return i;
    }
    return -1;
}

void evaluateStack(CharacterContext& context, float step_s)
{
    const ConstraintStack& stack = context.constraintStack;
    for (int32_t i = 0; i < stack.count; ++i) stack.entries[i]->evaluate(context, step_s);
}
