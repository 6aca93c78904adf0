#include "command_line.h"

#include "help.h"
#include "settings.h"
#include "standard_output.h"

#include <qel/platform/console.h>
#include <qel/system/report/version.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <span>

namespace qelhosts {

namespace {

std::string longName(const Option& option) {
    return option.names.substr(option.names.find("--"));
}

/// Adds a row of the table to the parser, which then stores each value where it occurs on the command line.
void addOption(CLI::App& parser, const Option& option, const CommandLine& line) {
    const bool isFlag = option.value.empty();
    const auto store = [&option, &line, isFlag](const CLI::results_t& values) {
        const std::string& value = values.front();
        if (isFlag && value != "true") // what the parser passes for a flag without a value
            throw CLI::ValidationError("option " + inQuotes(longName(option)) + " takes no value");
        const std::string problem = option.setting.store(value);
        if (!problem.empty()) throw CLI::ValidationError(problem);
        if (line.help || line.version) throw CLI::CallForHelp();
        return true;
    };
    parser.add_option(option.names, store)->expected(isFlag ? 0 : 1)->trigger_on_parse();
}

/// Returns the name of an option that is followed by "=" without a value. The parser would take the next
/// argument as its value instead. @return empty if there is none.
std::string optionWithoutValue(const Program& program, int count, const char* const* argv) {
    for (int i = 1; i < count; ++i) {
        std::string name = argv[i];
        if (name.empty() || name.back() != '=') continue;
        name.pop_back();
        const auto hasName = [&name](const Option& option) {
            return longName(option) == name && !option.value.empty();
        };
        if (std::any_of(program.options.begin(), program.options.end(), hasName)) return name;
    }
    return {};
}

std::string needsValue(std::string_view option) {
    return "option " + inQuotes(option) + " needs a value";
}

/// Finds the first argument that is not an option. @param rest  what the parser did not recognise, and all
/// that follows it.
void findArguments(CommandLine& line, const Program& program, std::span<const std::string> rest, int argc) {
    const bool isMarked = !rest.empty() && rest.front() == "--";
    if (isMarked) rest = rest.subspan(1);
    line.firstArgument = std::max(argc, 1) - static_cast<int>(rest.size());
    if (rest.empty()) return;
    const std::string& first = rest.front();
    if (!isMarked && first.size() > 1 && first.front() == '-') {
        line.problem = "unknown option " + inQuotes(first.substr(0, first.find('=')));
    } else if (program.arguments.empty()) {
        line.problem = "unknown argument " + inQuotes(first);
    }
}

} // namespace

void addCommonOptions(Program& program, CommandLine& line) {
    program.options.push_back({"--version", "", flag(line.version), "print the version and exit"});
    program.options.push_back({"-h,--help", "", flag(line.help), "print a list of the options and exit"});
    program.statuses.emplace(kWrongUsage, "wrong command line");
}

void parseCommandLine(CommandLine& line, const Program& program, int argc, const char* const* argv) {
    CLI::App parser;
    parser.set_help_flag(); // it is in the table
    parser.prefix_command();
    for (const Option& option : program.options) addOption(parser, option, line);
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    std::reverse(arguments.begin(), arguments.end()); // as the parser expects them
    try {
        parser.parse(std::move(arguments));
        findArguments(line, program, parser.remaining(), argc);
        const std::string name = optionWithoutValue(program, line.firstArgument, argv);
        if (!name.empty()) line.problem = needsValue(name);
    } catch (const CLI::Success&) { // help or version
    } catch (const CLI::ArgumentMismatch&) {
        const std::string_view last = argv[argc - 1];
        line.problem = needsValue(last.substr(0, last.find('=')));
    } catch (const CLI::Error& error) {
        line.problem = error.what();
    }
}

std::optional<int> answerCommandLine(const CommandLine& line, const Program& program) {
    qel::platform::occupyMissingStandardStreams();
    if (!line.problem.empty()) {
        const std::string hint = "\nTry '" + program.name + " --help'.";
        complain(program.name, line.problem + hint + (program.advice.empty() ? "" : " " + program.advice));
        return kWrongUsage;
    }
    if (!line.help && !line.version) return std::nullopt;
    print(line.help ? helpText(program) : qel::Version::getAppTitle(program.name.c_str()) + "\n");
    return statusAfterOutput(0, program.name);
}

} // namespace qelhosts
