#include "plugin/script_table.h"

#include <cstddef>
#include <iterator>
#include <utility>

#include "constraints/aim_constraint.h"
#include "constraints/fingers_control_constraint.h"
#include "constraints/floor_contact_constraint.h"
#include "constraints/invert_joint_constraint.h"
#include "constraints/lod_constraint.h"
#include "constraints/look_at_constraint.h"
#include "constraints/offset_constraints.h"
#include "constraints/partial_solving_constraint.h"
#include "constraints/pin_constraint.h"
#include "constraints/plant_constraint.h"
#include "constraints/property_constraint.h"
#include "constraints/push_constraint.h"
#include "constraints/reach_constraints.h"
#include "constraints/relative_pin_constraint.h"
#include "constraints/solve_constraint.h"
#include "constraints/test_biped_constraint.h"
#include "constraints/test_quadruped_constraint.h"
#include "constraints/weight_constraints.h"
#include "contexts/context_declaration.h"
#include "plugin/script_accessors.h"
#include "plugin/script_debug_lists.h"
#include "plugin/script_fingers.h"
#include "plugin/script_inspection.h"
#include "plugin/script_limits.h"
#include "plugin/script_settings.h"
#include "plugin/script_stack.h"
#include "plugin/script_switches.h"
#include "plugin/script_targets.h"
#include "resources/host_services.h"

namespace script
{

namespace
{

struct ScriptFunctionRow
{
    const char* name;
    int (*body)(ScriptCall& call);
};

int no_result(ScriptCall& /*call*/) { return 0; }

// In the order of registration. A function learns its own name from its row.
// clang-format off
constexpr ScriptFunctionRow kScriptFunctions[] = {
    // The whole plugin.
    {"enable", enable},
    {"is_enabled", is_enabled},
    {"enable_x_rays", enable_x_rays},
    {"enable_collisions_debug", enable_collisions_debug},
    {"reveal_all", reveal_all},
    // Contexts.
    {"character_declare_context", declare_character_context},
    {"character_delete_context", delete_character_context},
    {"character_dump_effectors", character_dump_effectors},
    // The stack.
    {"character_get_constraint_index_from_constraint_id", character_get_constraint_index_from_constraint_id},
    {"character_set_blend_alpha", character_set_blend_alpha},
    {"character_set_blend_time", character_set_blend_time},
    {"character_pop", character_pop},
    {"character_pop_all", character_pop_all},
    {"character_num_constraints", character_num_constraints},
    {"character_get_constraint_type", character_get_constraint_type},
    // Pushes.
    {"character_push_aim", push_kind<AimConstraint>},
    {"character_push_lod", push_kind<LodConstraint>},
    {"character_push_partial_solving", push_kind<PartialSolvingConstraint>},
    {"character_push_test_biped", push_kind_of_known_unit<TestBipedConstraint>},
    {"character_push_test_quadruped", push_kind_of_known_unit<TestQuadrupedConstraint>},
    {"character_push_look_at", push_kind<LookAtConstraint>},
    {"character_push_offset_position", push_kind<OffsetPositionConstraint>},
    {"character_push_offset_rotation", push_kind<OffsetRotationConstraint>},
    {"character_push_pin", push_kind<PinConstraint>},
    {"character_push_pull", push_kind<PullConstraint>},
    {"character_push_resist", push_kind<ResistConstraint>},
    {"character_push_reach_position", push_kind<ReachPositionConstraint>},
    {"character_push_reach_orientation", push_kind<ReachOrientationConstraint>},
    {"character_push_plant", push_kind<PlantConstraint>},
    {"character_push_floor", push_kind<FloorContactConstraint>},
    {"character_push_solve", push_kind_of_known_unit<SolveConstraint>},
    {"character_push_property_value", push_kind_of_known_unit<PropertyConstraint>},
    {"character_push_invert", push_kind<InvertJointConstraint>},
    {"character_push_fingers_control", push_kind<FingersControlConstraint>},
    {"character_push_relative_pin", push_kind<RelativePinConstraint>},
    // Fields of one kind: getter or query, then setter.
    {"character_aim_set_target_position", character_aim_set_target_position},
    {"character_aim_set_target_unit", character_aim_set_target_unit},
    {"character_look_at_is_xy_only", get_field<&LookAtConstraint::xyOnly>},
    {"character_look_at_set_xy_only", set_field<&LookAtConstraint::xyOnly>},
    {"character_look_at_get_chest_contribution", get_field<&LookAtConstraint::chestContribution>},
    {"character_look_at_set_chest_contribution", set_field<&LookAtConstraint::chestContribution>},
    {"character_look_at_set_target_unit", character_look_at_set_target_unit},
    {"character_look_at_set_target_position", character_look_at_set_target_position},
    {"character_offset_position_get_effector", get_field<&OffsetPositionConstraint::effector>},
    {"character_offset_position_set_effector", set_effector<&OffsetPositionConstraint::effector>},
    {"character_offset_position_get_vector", get_field<&OffsetPositionConstraint::offset>},
    {"character_offset_position_set_vector", set_field<&OffsetPositionConstraint::offset>},
    {"character_offset_position_is_world_space", get_field<&OffsetPositionConstraint::worldSpace>},
    {"character_offset_position_set_world_space", set_field<&OffsetPositionConstraint::worldSpace>},
    {"character_offset_rotation_get_effector", get_field<&OffsetRotationConstraint::effector>},
    {"character_offset_rotation_set_effector", set_effector<&OffsetRotationConstraint::effector>},
    {"character_offset_rotation_get_axis", get_field<&OffsetRotationConstraint::axis>},
    {"character_offset_rotation_set_axis", set_field<&OffsetRotationConstraint::axis>},
    {"character_offset_rotation_get_angle", get_field<&OffsetRotationConstraint::angleDegrees>},
    {"character_offset_rotation_set_angle", set_field<&OffsetRotationConstraint::angleDegrees>},
    {"character_offset_rotation_is_world_space", get_field<&OffsetRotationConstraint::worldSpace>},
    {"character_offset_rotation_set_world_space", set_field<&OffsetRotationConstraint::worldSpace>},
    {"character_pin_get_effector", get_field<&PinConstraint::effector>},
    {"character_pin_set_effector", set_effector<&PinConstraint::effector>},
    {"character_pin_is_world_space", get_field<&PinConstraint::worldSpace>},
    {"character_pin_set_world_space", set_field<&PinConstraint::worldSpace>},
    {"character_reach_position_set_position", set_field<&ReachPositionConstraint::position>},
    {"character_reach_orientation_set_orientation", set_field<&ReachOrientationConstraint::eulerDegrees>},
    {"character_relative_pin_refresh", raise_flag<&RelativePinConstraint::refreshRequested>},
    {"character_plant_get_ray_up_length", get_field<&PlantConstraint::rayUpLength>},
    {"character_plant_set_ray_up_length", set_field<&PlantConstraint::rayUpLength>},
    {"character_plant_get_ray_down_length", get_field<&PlantConstraint::rayDownLength>},
    {"character_plant_set_ray_down_length", set_field<&PlantConstraint::rayDownLength>},
    {"character_plant_get_feet_enabled", get_field<&PlantConstraint::feetEnabled>},
    {"character_plant_set_feet_enabled", set_field<&PlantConstraint::feetEnabled>},
    {"character_plant_get_hands_enabled", get_field<&PlantConstraint::handsEnabled>},
    {"character_plant_set_hands_enabled", set_field<&PlantConstraint::handsEnabled>},
    {"character_plant_is_relative", get_field<&PlantConstraint::relative>},
    {"character_plant_set_relative", set_field<&PlantConstraint::relative>},
    {"character_plant_get_smoothing", get_field<&PlantConstraint::smoothing>},
    {"character_plant_set_smoothing", set_field<&PlantConstraint::smoothing>},
    {"character_plant_get_depth", get_field<&PlantConstraint::depth>},
    {"character_plant_set_depth", set_field<&PlantConstraint::depth>},
    {"character_plant_get_nb_rays", get_field<&PlantConstraint::rayCount>},
    {"character_plant_set_nb_rays", set_field<&PlantConstraint::rayCount>},
    {"character_floor_get_feet_enabled", get_field<&FloorContactConstraint::feetEnabled>},
    {"character_floor_set_feet_enabled", set_field<&FloorContactConstraint::feetEnabled>},
    {"character_floor_get_hands_enabled", get_field<&FloorContactConstraint::handsEnabled>},
    {"character_floor_set_hands_enabled", set_field<&FloorContactConstraint::handsEnabled>},
    {"character_floor_get_smoothing", get_field<&FloorContactConstraint::smoothing>},
    {"character_floor_set_smoothing", set_field<&FloorContactConstraint::smoothing>},
    {"character_floor_get_nb_rays", get_field<&FloorContactConstraint::rayCount>},
    {"character_floor_set_nb_rays", set_field<&FloorContactConstraint::rayCount>},
    {"character_floor_get_ray_up_length", get_field<&FloorContactConstraint::rayUpLength>},
    {"character_floor_set_ray_up_length", set_field<&FloorContactConstraint::rayUpLength>},
    {"character_floor_get_ray_down_length", get_field<&FloorContactConstraint::rayDownLength>},
    {"character_floor_set_ray_down_length", set_field<&FloorContactConstraint::rayDownLength>},
    {"character_fingers_is_all", get_field<&FingersControlConstraint::allFingers>},
    {"character_fingers_set_all", set_field<&FingersControlConstraint::allFingers>},
    {"character_fingers_is_left", get_field<&FingersControlConstraint::left>},
    {"character_fingers_set_left", set_field<&FingersControlConstraint::left>},
    {"character_fingers_get_factor", character_fingers_get_factor},
    {"character_fingers_set_factor", character_fingers_set_factor},
    // The context as a whole.
    {"character_set_source", character_set_source},
    {"character_get_source", character_get_source},
    {"character_set_solve_flags", character_set_solve_flags},
    {"character_get_solve_flags", character_get_solve_flags},
    {"character_set_draw_rigs_flags", character_set_draw_rigs_flags},
    {"character_get_draw_rigs_flags", character_get_draw_rigs_flags},
    {"character_get_debug_name", character_get_debug_name},
    // Where things are.
    {"character_get_effector_transform", character_get_effector_transform},
    {"character_get_node_position", character_get_node_position},
    {"character_get_node_transform", character_get_node_transform},
    {"character_get_node_children_count", character_get_node_children_count},
    {"character_get_node_child_id", character_get_node_child_id},
    {"character_get_node_parent_id", character_get_node_parent_id},
    {"character_node_has_limits", character_node_has_limits},
    {"character_node_get_limits", character_node_get_limits},
    {"character_node_get_limits_draw_info", character_node_get_limits_draw_info},
    {"character_node_get_limits_draw_line", character_node_get_limits_draw_line},
    {"character_num_markers", character_num_markers},
    {"character_get_marker_position", character_get_marker_position},
    {"character_num_lines", character_num_lines},
    {"character_get_line_position", character_get_line_position},
    // Creatures.
    {"creature_declare_context", declare_creature_context},
    {"creature_delete_context", delete_creature_context},
    // Names that scripts of creatures call and that have nothing to do.
    {"creature_dump", no_result},
    {"creature_push_chain_properties", no_result},
    {"creature_chain_properties_set_chain_index", no_result},
    {"creature_chain_properties_set_stiffness", no_result},
    {"creature_chain_properties_set_compression_resistance", no_result},
    {"creature_chain_properties_get_chain_index", no_result},
    {"creature_chain_properties_get_stiffness", no_result},
    {"creature_chain_properties_get_compression_resistance", no_result},
    {"creature_push_section_properties", no_result},
    {"creature_section_properties_set_section_index", no_result},
    {"creature_section_properties_set_extra_pull", no_result},
    {"creature_section_properties_get_section_index", no_result},
    {"creature_section_properties_get_extra_pull", no_result},
    {"creature_push_floor", no_result},
    {"creature_push_plant", no_result},
    {"creature_plant_set_hips_section_index", no_result},
    {"creature_plant_set_chest_section_index", no_result},
    {"creature_plant_set_front_left_leg_chain_index", no_result},
    {"creature_plant_set_front_right_leg_chain_index", no_result},
    {"creature_plant_set_back_left_leg_chain_index", no_result},
    {"creature_plant_set_back_right_leg_chain_index", no_result},
    {"creature_plant_set_ray_up_length", no_result},
    {"creature_plant_set_ray_down_length", no_result},
    {"creature_plant_set_nb_rays", no_result},
    {"creature_plant_set_smoothing", no_result},
    {"creature_plant_set_chest_rotation_preserve", no_result},
    {"creature_plant_get_hips_section_index", no_result},
    {"creature_plant_get_chest_section_index", no_result},
    {"creature_plant_get_front_left_leg_chain_index", no_result},
    {"creature_plant_get_front_right_leg_chain_index", no_result},
    {"creature_plant_get_back_left_leg_chain_index", no_result},
    {"creature_plant_get_back_right_leg_chain_index", no_result},
    {"creature_plant_get_ray_up_length", no_result},
    {"creature_plant_get_ray_down_length", no_result},
    {"creature_plant_get_nb_rays", no_result},
    {"creature_plant_get_smoothing", no_result},
    {"creature_plant_get_chest_rotation_preserve", no_result},
    {"creature_push_chain_pin", no_result},
    {"creature_push_chain_reach_position", no_result},
    {"creature_push_chain_pull", no_result},
    {"creature_push_section_motion", no_result},
    {"creature_push_chain_motion", no_result},
    {"creature_chain_motion_get_chain_index", no_result},
    {"creature_chain_motion_get_type", no_result},
    {"creature_chain_motion_get_amplitude", no_result},
    {"creature_chain_motion_get_frequency", no_result},
    {"creature_chain_motion_get_phase", no_result},
    {"creature_chain_motion_get_pull", no_result},
    {"creature_chain_motion_get_reach_t", no_result},
    {"creature_chain_motion_get_reach_r", no_result},
    {"creature_num_chains", no_result},
    {"creature_num_sections", no_result},
    {"creature_chain_get_name", no_result},
    {"creature_section_get_name", no_result},
    {"creature_get_section_effector_position", no_result},
    {"creature_get_chain_effector_position", no_result},
    {"creature_chain_num_nodes", no_result},
    {"creature_get_chain_node_position", no_result},
    {"creature_get_chain_effector_transform", no_result},
    {"creature_get_section_effector_transform", no_result},
    {"creature_push_solve", no_result},
    {"creature_push_set_chain_reach_t", no_result},
    {"creature_chain_parent_section", no_result},
    {"creature_num_markers", no_result},
    {"creature_get_marker_position", no_result},
    {"creature_get_marker_color", no_result},
    {"creature_num_lines", no_result},
    {"creature_get_line_position", no_result},
    {"creature_get_line_color", no_result},
    {"creature_set_draw_rigs_flags", no_result},
    {"creature_get_draw_rigs_flags", no_result},
    {"creature_get_debug_name", no_result},
    {"creature_num_constraints", no_result},
    {"creature_get_constraint_type", no_result},
    {"creature_pop", no_result},
    {"creature_pop_all", no_result},
    {"creature_stats_get_chain_last_chain_pull_dir", no_result},
    {"creature_stats_get_chain_last_chain_weights_t", no_result},
    {"creature_stats_get_chain_last_chain_err_t", no_result},
    {"creature_stats_get_chain_last_chain_err_q", no_result},
    {"creature_stats_get_section_last_sum_err", no_result},
    {"creature_stats_get_section_last_section_err_weight_t", no_result},
    {"creature_stats_get_section_last_section_weights", no_result},
    {"creature_stats_get_section_last_section_err_q_pull", no_result},
    {"creature_stats_get_section_last_section_err_q_reach", no_result},
};
// clang-format on

constexpr size_t kScriptFunctionCount = std::size(kScriptFunctions);

// What the engine calls: it passes the script state alone, so every row has an entry of its own.
template <size_t Row>
int enter_row(ScriptState* state)
{
    ScriptCall call = {state, kScriptFunctions[Row].name};
    return kScriptFunctions[Row].body(call);
}

template <size_t... Rows>
void register_rows(const HostScriptService& service, std::index_sequence<Rows...> /*rows*/)
{
    (service.register_function("Limbrex", kScriptFunctions[Rows].name, &enter_row<Rows>), ...);
}

}  // namespace

}  // namespace script

void register_script_functions()
{
    script::register_rows(*host_services().script, std::make_index_sequence<script::kScriptFunctionCount>());
}
