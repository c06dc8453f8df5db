// The subcommands of `limbrex`. Each adds itself to the parser and runs as its callback; the exit code is 0 for success, 1 for anything
// that went wrong with files or content, 2 for wrong usage.
#pragma once

#include <CLI/CLI.hpp>

namespace limbrex_tools
{

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

void add_run_command(CLI::App& app, int& exit_code);
void add_rig_commands(CLI::App& app, int& exit_code);
void add_inspect_command(CLI::App& app, int& exit_code);
void add_measure_command(CLI::App& app, int& exit_code);

// The whole command: parses, runs, answers the exit code. main() and the tests call it.
int run_command(int argc, const char* const* argv);

}  // namespace limbrex_tools
