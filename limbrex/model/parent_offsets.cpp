// The fixed transforms between template parents and the rig's own parents.

#include "limbrex/math/float_scope.h"
#include "limbrex/model/character.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{
namespace
{

int offset_index(const LBXCharacter* character, int node)
{
    const int slot = character ? slot_of(*character, node) : -1;
    return slot >= 0 ? node_records(*character)[slot].parentOffset : -1;
}

template <class Number>
void set_offset(LBXCharacter* character, int node, const Number* t, const Number* q, const Number* s)
{
    const int index = offset_index(character, node);
    if (index < 0 || !t || !q || !s) return;
    const SolverFloatScope scope;
    parent_offsets(*character)[index] = read_transform(t, q, s);
}

template <class Number>
void get_offset(const LBXCharacter* character, int node, Number* t, Number* q, Number* s)
{
    const int index = offset_index(character, node);
    if (index < 0) return;
    const SolverFloatScope scope;
    write_transform(parent_offsets(*character)[index], t, q, s);
}

}  // namespace
}  // namespace lbx

using namespace lbx;

void LBXSetParentOffsetTQSfv(LBXCharacter* character, int node, const float* t, const float* q, const float* s)
{
    set_offset(character, node, t, q, s);
}
void LBXSetParentOffsetTQSdv(LBXCharacter* character, int node, const double* t, const double* q, const double* s)
{
    set_offset(character, node, t, q, s);
}
void LBXGetParentOffsetTQSfv(const LBXCharacter* character, int node, float* t, float* q, float* s)
{
    get_offset(character, node, t, q, s);
}
void LBXGetParentOffsetTQSdv(const LBXCharacter* character, int node, double* t, double* q, double* s)
{
    get_offset(character, node, t, q, s);
}
