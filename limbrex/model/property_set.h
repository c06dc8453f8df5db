// Solver options: one (mode, value) pair a record, in the table's order.
#pragma once

#include "limbrex/limbrex.h"
#include "limbrex/math/float4.h"

namespace lbx
{

// Record index of every property by name: record::PullIterationCount.
namespace record
{
enum : int32_t
{
    None = -1,
#define X(name, publicId, modeKind, valueKind, minimum, maximum, defaultMode, defaultValue, flagA, flagB, parent) name,
#include "limbrex/model/property_table.inc"
#undef X
    Count
};
}  // namespace record
static_assert(record::Count == 285, "records keep their places");

// Record index of a public property id, which must be in range.
int32_t record_of_property(int public_id);

struct PropertyPair
{
    int32_t mode;
    float value;
};

}  // namespace lbx

struct alignas(16) LBXPropertySet
{
    lbx::PropertyPair pairs[285];
    uint32_t unused[2];
};
static_assert(sizeof(LBXPropertySet) == 2288, "size of a property set");

namespace lbx
{

// By record index (record::Name).
inline float value_of(const LBXPropertySet& set, int32_t index) { return set.pairs[index].value; }
inline int32_t mode_of(const LBXPropertySet& set, int32_t index) { return set.pairs[index].mode; }
inline int rounded_value_of(const LBXPropertySet& set, int32_t index) { return round_to_int(set.pairs[index].value); }
// The enable test by mode, through the enabling records.
bool is_in_effect(const LBXPropertySet& set, int32_t index);

}  // namespace lbx
