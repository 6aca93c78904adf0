// Parses the command line of a host and answers --help, --version and mistakes before the host starts.
#pragma once

#include <hosts/shared/program.h>

#include <optional>
#include <string>
#include <vector>

namespace qelhosts {

/// The exit status for a wrong command line.
inline constexpr int kWrongUsage = 2;
/// The exit status of a program that an interrupt stopped: the one that a shell reports for a program ended
/// by Ctrl-C.
inline constexpr int kInterruptedStatus = 130;

/// What every host's command line has. The options of a host derive from it.
struct CommandLine {
    bool help = false;    ///< print the help and end
    bool version = false; ///< print the version and end
    std::string problem;  ///< what is wrong with the command line; empty if it is correct
    int firstArgument =
        1; ///< index of the first argument that is not an option; the argument count if none is
    std::vector<std::string> arguments; ///< of a program that has commands or Program::mixesOptions
};

/// Adds `--version` and `--help` to the table of @p program, and the exit status of a wrong command line.
/// @param line  stores both flags; must outlive @p program.
void addCommonOptions(Program& program, CommandLine& line);

/// Parses options up to the first argument that is not an option, up to `--`, up to a mistake, or up to a
/// request for the help or the version. Reads neither the environment nor configuration files. The command
/// line of a program with commands, or with Program::mixesOptions, is parsed to its end, and the number of a
/// command's arguments is checked.
/// @param line  receives everything that the settings of @p program do not store.
/// @param argc  number of elements in @p argv; may be 0.
void parseCommandLine(CommandLine& line, const Program& program, int argc, const char* const* argv);

/// Opens standard streams that are missing, then reports a mistake, or prints the help or the version if the
/// command line asks for it.
/// @return the exit status; nothing if the program must run.
std::optional<int> answerCommandLine(const CommandLine& line, const Program& program);

} // namespace qelhosts
