// The stages of a solve, each a function in a file of its own. They read the solving-step mask themselves and leave globals and locals in step.
#pragma once

#include "limbrex/solvers/solve.h"

namespace lbx
{

void prepare_stage(const Solve& solve);           // locals from globals, joint limits, roll snapshot
void floor_clamp_stage(const Solve& solve);       // goals of hands and feet above their floors
void body_stage(const Solve& solve);              // hips, spine and chest
void limbs_stage(const Solve& solve);             // shoulders, stretch, arms and legs
void fingers_stage(const Solve& solve);           // fingers and toes toward their goals
void head_stage(const Solve& solve);              // neck and head
void floor_contact_stage(const Solve& solve);     // hands, feet and their tips onto their floors
void hips_translation_stage(const Solve& solve);  // the HipsTranslation node
void roll_stage(const Solve& solve);              // twist joints
void post_process_stage(const Solve& solve);      // mirror, axis locks

void solve_low_definition(const Solve& solve);

}  // namespace lbx
