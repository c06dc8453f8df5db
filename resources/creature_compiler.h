// Turns the source text of a "creature" resource into its compiled block; like the character compiler it copies, converts and hashes.
#pragma once

#include "plugin/limbrex_plugin.h"

CompileResult* compile_creature(CompileResult* result, CompileJob* job);
