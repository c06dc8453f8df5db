#include "tools/commands/commands.h"

int main(int argc, char** argv) { return limbrex_tools::run_command(argc, argv); }
