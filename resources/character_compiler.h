// Turns the source text of a "character" resource into the block that the run time reads in place. It copies, converts and hashes what it finds and
// refuses nothing; what a rig must be like is checked by the authors' tools and once more when a context is built.
#pragma once

#include "plugin/limbrex_plugin.h"

CompileResult* compile_character(CompileResult* result, CompileJob* job);
