// Whole poses between a state and a caller's array of records.
//
// Host locals hang on the rig's parent joint: absolute = (absolute of the template parent o parent offset) o local, scales included. They exist
// on the way in and out only; a state keeps stored globals and the solver's own locals.

#include "limbrex/math/float_scope.h"
#include "limbrex/model/stored_form.h"
#include "limbrex/model/transform_io.h"

namespace lbx
{
namespace
{

enum Space : int32_t
{
    kGlobalSpace = 0,
    kLocalSpace = 1
};

constexpr int kMostSlots = kNodeCount;  // every node of the template, Reference among them
constexpr int kSpare = -1;

// ---- records ------------------------------------------------------------------------------------------------------------------------

// Calls visit(slot, record) for every record that names a node, in list order. Ids of nodes that the rig lacks visit the spare slot -1; other
// ids pass over their record. Without a list: the used nodes in slot order, Reference first when the rig uses it.
template <class Byte, class Visit>
void for_each_record(const LBXCharacter& character, const LBXDataDescription& description, Byte* buffer, Visit visit)
{
    if (!description.nodeIds)
    {
        const int first = node_records(character)[0].parentOffset >= 0 ? 0 : 1;  // every used node has an entry, an unused Reference none
        for (int slot = first; slot < static_cast<int>(character.slotCount); ++slot, buffer += description.stride) visit(slot, buffer);
        return;
    }
    for (const int32_t* id = description.nodeIds; *id != kEndOfIds; ++id, buffer += description.stride)
    {
        if (is_node(*id)) visit(character.slotOfNode[*id], buffer);
    }
}

struct ReadTQS
{
    const LBXDataDescription& description;
    Tqs operator()(const char* record) const { return read_record(description, record); }
};

struct ReadTQ
{
    const LBXDataDescription& description;
    Tqs operator()(const char* record) const
    {
        return {read_three(record + description.offsetT, 0.0f), read_four(record + description.offsetQ), splat(1.0f)};
    }
};

// Unit vector of any finite length, with that length; zero for a row of nothing.
Vec4 split_length(Vec4 row, float& length)
{
    const Vec4 m = abs4(row);
    const float largest = max_of(x_of(m), max_of(y_of(m), z_of(m)));
    length = 0.0f;
    if (!(largest > 1.17549435e-38f)) return zero4();
    const Vec4 scaled = row / splat(largest);  // its square stays in range
    length = largest * length3(scaled);
    return normalize3(scaled);
}

// The first of the candidates that is a direction, as a unit vector.
template <size_t Count>
Vec4 first_direction(const Vec4 (&candidates)[Count])
{
    for (const Vec4 candidate : candidates)
    {
        if (length_squared3(candidate) > 1e-12f) return normalize3(candidate);
    }
    return zero4();
}

// Rows 0 to 2 are the axes, their lengths the scale; a mirrored matrix has its x axis turned round and a negative x scale. Skew is left out of
// the rotation, and axes of no length are made up from the others.
Tqs tqs_from_rows(Vec4 row0, Vec4 row1, Vec4 row2, Vec4 row3)
{
    float scale_x = 0.0f, scale_y = 0.0f, scale_z = 0.0f;
    const Vec4 across = split_length(row0, scale_x);
    const Vec4 up = split_length(row1, scale_y);
    const Vec4 ahead = split_length(row2, scale_z);
    const bool mirrored = dot3f(cross3(across, up), ahead) < 0.0f;
    const Vec4 x = first_direction(
        {mirrored ? -across : across, cross3(up, ahead), perpendicular3(up), perpendicular3(ahead), vec4(1.0f, 0.0f, 0.0f)});
    const Vec4 y = first_direction({reject3(up, x), cross3(ahead, x), perpendicular3(x)});
    return {xyz(row3), quat_from_axes(x, y, cross3(x, y)), vec4(mirrored ? -scale_x : scale_x, scale_y, scale_z, 1.0f)};
}

struct ReadMatrix
{
    const LBXDataDescription& description;
    Tqs operator()(const char* record) const
    {
        const char* m = record + description.offsetT;
        return tqs_from_rows(read_three(m, 0.0f), read_three(m + 16, 0.0f), read_three(m + 32, 0.0f), read_three(m + 48, 0.0f));
    }
};

// ---- host locals --------------------------------------------------------------------------------------------------------------------

bool is_identity(const Tqs& transform)
{
    const Vec4 same = and4(and4(equal4(transform.t, zero4()), equal4(transform.q, quat_identity())), equal4(transform.s, splat(1.0f)));
    return mask_bits(same) == 15;
}

// The absolute frame that a node's host local is measured in. A node without a parent hangs on the origin. Most rigs map most joints, so most
// offsets are nothing.
Tqs host_frame(const LBXCharacter& character, const NodeRecord& record, const Tqs* parent_absolute)
{
    const Tqs frame = parent_absolute ? *parent_absolute : tqs_identity();
    if (record.parentOffset < 0) return frame;
    const Tqs& offset = parent_offsets(character)[record.parentOffset];
    return is_identity(offset) ? frame : composed(frame, offset);
}

// relative_to() for frames whose scale may be too small to divide by.
Tqs host_local(const Tqs& frame, const Tqs& absolute)
{
    const Quat inverse = conjugate(frame.q);
    return {xyz(safe_quotient(rotate(inverse, absolute.t - frame.t), frame.s)), quat_mul(inverse, absolute.q),
            with_w(safe_quotient(absolute.s, frame.s), splat(1.0f))};
}

// ---- writing a pose -----------------------------------------------------------------------------------------------------------------

template <class Read>
void set_globals(const LBXCharacter& character, StateNode* nodes, const LBXDataDescription& description, const char* buffer, Read read)
{
    bool any = false;
    for_each_record(character, description, buffer,
                    [&](int slot, const char* record)
                    {
                        nodes[slot].global = stored_from_absolute(character, slot, read(record));
                        if (slot < 0) refresh_local(nodes, slot, -1);
                        any = any || slot >= 0;
                    });
    if (any) refresh_locals(character, nodes);
}

// A node that is not listed keeps its host local and follows its parent; where nothing above it is listed it keeps every bit.
template <class Read>
void set_locals(const LBXCharacter& character, StateNode* nodes, const LBXDataDescription& description, const char* buffer, Read read)
{
    const int count = static_cast<int>(character.slotCount);
    const char* record_of_slot[kMostSlots] = {};
    bool any = false;
    for_each_record(character, description, buffer,
                    [&](int slot, const char* record)
                    {
                        if (slot >= 0)
                        {
                            record_of_slot[slot] = record;
                            any = true;
                            return;
                        }
                        nodes[kSpare].global = stored_from_absolute(character, kSpare, read(record));
                        refresh_local(nodes, kSpare, -1);
                    });
    if (!any) return;

    // Absolute transforms first, parents before children, while the stored ones still tell where unlisted nodes hung.
    Tqs absolute[kMostSlots];
    bool moved[kMostSlots];
    const NodeRecord* records = node_records(character);
    for (int slot = 0; slot < count; ++slot)
    {
        const NodeRecord& record = records[slot];
        const int parent = record.parent;
        const Tqs* parent_absolute = parent >= 0 ? &absolute[parent] : nullptr;
        moved[slot] = true;
        if (record_of_slot[slot])
        {
            absolute[slot] = composed(host_frame(character, record, parent_absolute), read(record_of_slot[slot]));
            continue;
        }
        absolute[slot] = absolute_from_stored(character, slot, nodes[slot].global);
        moved[slot] = parent >= 0 && moved[parent];
        if (!moved[slot]) continue;
        const Tqs old_parent = absolute_from_stored(character, parent, nodes[parent].global);
        const Tqs local = host_local(host_frame(character, record, &old_parent), absolute[slot]);
        absolute[slot] = composed(host_frame(character, record, parent_absolute), local);
    }
    for (int slot = 0; slot < count; ++slot)
    {
        if (!moved[slot]) continue;
        nodes[slot].global = stored_from_absolute(character, slot, absolute[slot]);
        refresh_local(nodes, slot, records[slot].parent);
    }
}

template <class Read>
void set_pose(const LBXCharacter* character, LBXCharacterState* state, const LBXDataDescription* description, const void* buffer)
{
    if (!fits(character, state) || !description || !buffer) return;
    const SolverFloatScope scope;
    const auto* bytes = static_cast<const char*>(buffer);
    if (description->space == kGlobalSpace)
        set_globals(*character, state_nodes(*state), *description, bytes, Read{*description});
    else if (description->space == kLocalSpace)
        set_locals(*character, state_nodes(*state), *description, bytes, Read{*description});
}

// ---- reading a pose -----------------------------------------------------------------------------------------------------------------

void get_globals(const LBXCharacter& character, const StateNode* nodes, const LBXDataDescription& description, char* buffer)
{
    for_each_record(character, description, buffer,
                    [&](int slot, char* record)
                    { write_record(absolute_from_stored(character, slot, nodes[slot].global), description, record); });
}

void get_locals(const LBXCharacter& character, const StateNode* nodes, const LBXDataDescription& description, char* buffer)
{
    const int count = static_cast<int>(character.slotCount);
    const CharacterizationEntry* stance = stances(character);
    Tqs absolute[kMostSlots];
    absolute[0] = root_absolute(stance[0].stance, nodes[0].global);
    for (int slot = 1; slot < count; ++slot) absolute[slot] = node_absolute(stance[slot].stance, nodes[slot].global);

    const NodeRecord* records = node_records(character);
    for_each_record(character, description, buffer,
                    [&](int slot, char* record)
                    {
                        if (slot < 0)
                        {
                            write_record(absolute_from_stored(character, slot, nodes[slot].global), description, record);
                            return;
                        }
                        const int parent = records[slot].parent;
                        const Tqs frame = host_frame(character, records[slot], parent >= 0 ? &absolute[parent] : nullptr);
                        write_record(host_local(frame, absolute[slot]), description, record);
                    });
}

}  // namespace
}  // namespace lbx

using namespace lbx;

void LBXSetCharacterStateTransformTQS(const LBXCharacter* character, LBXCharacterState* state, const LBXDataDescription* description,
                                      const void* buffer)
{
    set_pose<ReadTQS>(character, state, description, buffer);
}

void LBXSetCharacterStateTransformTQ(const LBXCharacter* character, LBXCharacterState* state, const LBXDataDescription* description,
                                     const void* buffer)
{
    set_pose<ReadTQ>(character, state, description, buffer);
}

void LBXSetCharacterStateTransformMatrix(const LBXCharacter* character, LBXCharacterState* state, const LBXDataDescription* description,
                                         const void* buffer)
{
    set_pose<ReadMatrix>(character, state, description, buffer);
}

void LBXGetCharacterStateTransformTQS(const LBXCharacter* character, LBXCharacterState* state, const LBXDataDescription* description,
                                      void* buffer)
{
    if (!fits(character, state) || !description || !buffer) return;
    const SolverFloatScope scope;
    auto* bytes = static_cast<char*>(buffer);
    if (description->space == kGlobalSpace)
        get_globals(*character, state_nodes(*state), *description, bytes);
    else if (description->space == kLocalSpace)
        get_locals(*character, state_nodes(*state), *description, bytes);
}
