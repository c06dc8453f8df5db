// The functions that game scripts call, under the namespace Limbrex.
#pragma once

// Registers every function with the engine's script service, in table order.
void register_script_functions();
