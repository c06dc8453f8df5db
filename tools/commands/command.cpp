#include "tools/commands/commands.h"

namespace limbrex_tools
{

int run_command(int argc, const char* const* argv)
{
    CLI::App app{"Limbrex: whole-body inverse kinematics. Plays scenes, makes and checks rigs, shows what is in compiled files.",
                 "limbrex"};
    app.set_version_flag("--version", "limbrex " LIMBREX_VERSION);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 something is wrong with a file or a script, 2 wrong usage. `limbrex COMMAND --help` tells more.");

    int exit_code = 0;
    add_run_command(app, exit_code);
    add_rig_commands(app, exit_code);
    add_inspect_command(app, exit_code);
    add_measure_command(app, exit_code);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& stopped)  // --help and --version end the parse too, with code 0
    {
        return app.exit(stopped) == 0 ? 0 : kExitUsage;
    }
    return exit_code;
}

}  // namespace limbrex_tools
