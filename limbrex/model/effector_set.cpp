#include "limbrex/model/effector_set.h"

#include <cstddef>
#include <cstring>

#include "limbrex/math/float_scope.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{
namespace
{

// Contact 0 left hand, 1 right hand, 2 left foot, 3 right foot.
bool is_contact(int contact) { return contact >= 0 && contact < kExtremityCount; }

// Raised to 0, then lowered to 1. NaN fails the first comparison and becomes 0.
float clamp_weight(float weight) { return x_of(min4(max4(splat(weight), zero4()), splat(1.0f))); }

void set_weight(LBXEffectorSet* set, int effector, WeightLane lane_index, float weight)
{
    if (!set || !is_effector(effector)) return;
    const SolverFloatScope scope;
    const float held = clamp_weight(weight);
    std::memcpy(reinterpret_cast<char*>(&set->weights[effector]) + sizeof(float) * static_cast<size_t>(lane_index), &held, sizeof(held));
}

template <int Lane>
float get_weight(const LBXEffectorSet* set, int effector)
{
    return set && is_effector(effector) ? weight_of<Lane>(*set, effector) : 0.0f;
}

}  // namespace
}  // namespace lbx

using namespace lbx;

// ---- life -------------------------------------------------------------------------------------------------------------------------

LBXEffectorSet* LBXEffectorSetCreate(LBXAllocateFunction allocate)
{
    auto* set = static_cast<LBXEffectorSet*>(allocate_block(sizeof(LBXEffectorSet), allocate));
    if (set) std::memset(static_cast<void*>(set), 0, sizeof(*set));
    return LBXEffectorSetInit(set);
}

LBXEffectorSet* LBXEffectorSetInit(LBXEffectorSet* set)
{
    if (!set) return nullptr;
    for (Tqs& target : set->targets) target = tqs_identity();
    for (Vec4& weights : set->weights) weights = zero4();
    for (Tqs& contact : set->floorContacts) contact = tqs_identity();
    // The roll snapshot has no default: each solve writes it before it reads it.
    set->retargetFlag = 0;
    set->solvingStep = ~0u;
    for (float& pull : set->bodyPull) pull = 1.0f;
    for (float& measurement : set->sourceMeasurements) measurement = 1.0f;
    return set;
}

void LBXEffectorSetDestroy(LBXEffectorSet* set, LBXFreeFunction free_function) { free_block(set, free_function); }

size_t LBXEffectorSetGetSize(void) { return sizeof(LBXEffectorSet); }

// ---- targets ------------------------------------------------------------------------------------------------------------------------

void LBXGetEffectorStateTQSfv(const LBXEffectorSet* set, int effector, float* t, float* q, float* s)
{
    if (set && is_effector(effector)) write_transform(set->targets[effector], t, q, s);
}

void LBXGetEffectorStateTQSdv(const LBXEffectorSet* set, int effector, double* t, double* q, double* s)
{
    if (!set || !is_effector(effector)) return;
    const SolverFloatScope scope;
    write_transform(set->targets[effector], t, q, s);
}

void LBXGetEffectorStateTQfv(const LBXEffectorSet* set, int effector, float* t, float* q)
{
    LBXGetEffectorStateTQSfv(set, effector, t, q, nullptr);
}

void LBXSetEffectorStateTQSfv(LBXEffectorSet* set, int effector, const float* t, const float* q, const float* s)
{
    if (!set || !is_effector(effector) || !t || !q || !s) return;
    const SolverFloatScope scope;
    set->targets[effector] = read_transform(t, q, s);
}

void LBXSetEffectorStateTQSdv(LBXEffectorSet* set, int effector, const double* t, const double* q, const double* s)
{
    if (!set || !is_effector(effector) || !t || !q || !s) return;
    const SolverFloatScope scope;
    set->targets[effector] = read_transform(t, q, s);
}

void LBXGetEffectorStateTQSBuffer(const LBXEffectorSet* set, int effector, const LBXEffectorDataDescription* description, void* buffer)
{
    if (set && is_effector(effector) && description && buffer) write_record(set->targets[effector], *description, buffer);
}

void LBXSetEffectorStateTQSBuffer(LBXEffectorSet* set, int effector, const LBXEffectorDataDescription* description, const void* buffer)
{
    if (!set || !is_effector(effector) || !description || !buffer) return;
    const SolverFloatScope scope;
    set->targets[effector] = read_record(*description, buffer);
}

void LBXGetEffectorSetTransformTQS(const LBXEffectorSet* set, const LBXEffectorDataDescription* description, void* buffer)
{
    if (!set || !description || !buffer) return;
    auto* bytes = static_cast<char*>(buffer);
    for (int i = 0; description->effectorIds || i < kEffectorCount; ++i, bytes += description->stride)
    {
        const int effector = description->effectorIds ? description->effectorIds[i] : i;
        if (effector == kEndOfIds) return;
        if (!is_effector(effector)) continue;
        write_record(set->targets[effector], *description, bytes);
        write_four(bytes + description->offsetWeights, set->weights[effector]);
    }
}

// ---- weights ------------------------------------------------------------------------------------------------------------------------

void LBXSetEffectorReachT(LBXEffectorSet* set, int effector, float weight) { set_weight(set, effector, kReachT, weight); }
void LBXSetEffectorReachR(LBXEffectorSet* set, int effector, float weight) { set_weight(set, effector, kReachR, weight); }
void LBXSetEffectorPull(LBXEffectorSet* set, int effector, float weight) { set_weight(set, effector, kPull, weight); }
void LBXSetEffectorResist(LBXEffectorSet* set, int effector, float weight) { set_weight(set, effector, kResist, weight); }
float LBXGetEffectorReachT(const LBXEffectorSet* set, int effector) { return get_weight<kReachT>(set, effector); }
float LBXGetEffectorReachR(const LBXEffectorSet* set, int effector) { return get_weight<kReachR>(set, effector); }
float LBXGetEffectorPull(const LBXEffectorSet* set, int effector) { return get_weight<kPull>(set, effector); }
float LBXGetEffectorResist(const LBXEffectorSet* set, int effector) { return get_weight<kResist>(set, effector); }

// ---- floor contacts -----------------------------------------------------------------------------------------------------------------

void LBXSetEffectorFloorContactTQfv(LBXEffectorSet* set, int contact, const float* t, const float* q)
{
    if (!set || !is_contact(contact) || !t || !q) return;
    set->floorContacts[contact].t = read_three(t, 0.0f);
    set->floorContacts[contact].q = read_four(q);
}

void LBXGetEffectorFloorContactTQfv(const LBXEffectorSet* set, int contact, float* t, float* q)
{
    if (set && is_contact(contact)) write_transform<float>(set->floorContacts[contact], t, q, nullptr);
}

void LBXGetEffectorFloorContactMatrixfv(const LBXEffectorSet* set, int contact, float* m16)
{
    if (!set || !is_contact(contact) || !m16) return;
    const SolverFloatScope scope;
    const Tqs& plane = set->floorContacts[contact];
    Vec4 x, y, z;
    quat_axes(plane.q, x, y, z);
    write_four(m16, xyz(x * lanes<0, 0, 0, 0>(plane.s)));
    write_four(m16 + 4, xyz(y * lanes<1, 1, 1, 1>(plane.s)));
    write_four(m16 + 8, xyz(z * lanes<2, 2, 2, 2>(plane.s)));
    write_four(m16 + 12, with_w(plane.t, splat(1.0f)));
}

// ---- switches -----------------------------------------------------------------------------------------------------------------------

void LBXSetEffectorSetSolvingStep(LBXEffectorSet* set, uint32_t mask)
{
    if (set) set->solvingStep = mask;
}
uint32_t LBXGetEffectorSetSolvingStep(const LBXEffectorSet* set) { return set ? set->solvingStep : 0u; }

void LBXSetEffectorSetBodyPull(LBXEffectorSet* set, int selector, float weight)
{
    if (!set) return;
    const SolverFloatScope scope;
    set->bodyPull[selector == 1 ? 0 : 1] = clamp_weight(weight);
}
float LBXGetEffectorSetBodyPull(const LBXEffectorSet* set, int selector) { return set ? set->bodyPull[selector == 1 ? 0 : 1] : 0.0f; }
