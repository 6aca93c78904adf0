#include "command_line.h"

#include "help.h"
#include "settings.h"
#include "standard_output.h"

#include <qel/platform/console.h>
#include <qel/system/report/version.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <span>
#include <sstream>

namespace qelhosts {

namespace {

using Words = std::vector<std::string>;

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
/// argument as its value instead. @return empty if every option has its value.
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

std::string unknownOption(std::string_view option) {
    return "unknown option " + inQuotes(option.substr(0, option.find('=')));
}

bool isOption(std::string_view word) {
    return word.size() > 1 && word.front() == '-';
}

/// Finds the first argument that is not an option. @param rest  what the parser did not recognise, and all
/// that follows it.
void findArguments(CommandLine& line, const Program& program, std::span<const std::string> rest, int argc) {
    const bool isMarked = !rest.empty() && rest.front() == "--";
    if (isMarked) rest = rest.subspan(1);
    line.firstArgument = std::max(argc, 1) - static_cast<int>(rest.size());
    if (rest.empty()) return;
    const std::string& first = rest.front();
    if (!isMarked && isOption(first)) {
        line.problem = unknownOption(first);
    } else if (program.arguments.empty()) {
        line.problem = "unknown argument " + inQuotes(first);
    }
}

/// Parses the options at the start of @p words. @return the words after them; empty after a mistake.
Words parseOptions(CLI::App& parser, CommandLine& line, std::span<const std::string> words) {
    try {
        parser.parse(Words(words.rbegin(), words.rend())); // in the order that the parser expects
        return parser.remaining();
    } catch (const CLI::Success&) { // help or version
    } catch (const CLI::ArgumentMismatch&) {
        line.problem = needsValue(std::string_view(words.back()).substr(0, words.back().find('=')));
    } catch (const CLI::Error& error) {
        line.problem = error.what();
    }
    return {};
}

/// Returns the option that @p word names, with or without a value. @return null if no option does.
const Option* findOption(const Program& program, std::string_view word) {
    const std::string name(word.substr(0, word.find('=')));
    for (const Option& option : program.options) {
        if (longName(option) == name || option.names.starts_with(name + ",")) return &option;
    }
    return nullptr;
}

/// Parses options and arguments in any order. @return the options that were given; incomplete after a mistake
/// and a request for the help or the version.
std::vector<const Option*> parseMixed(CLI::App& parser, CommandLine& line, const Program& program,
                                      std::span<const std::string> words) {
    std::vector<const Option*> given;
    while (!words.empty() && line.problem.empty() && !line.help && !line.version) {
        const std::string word = words.front();
        const bool isMarked = word == "--";
        if (isMarked || !isOption(word)) {
            const size_t count = isMarked ? words.size() : 1;
            line.arguments.insert(line.arguments.end(), words.begin() + isMarked, words.begin() + count);
            words = words.subspan(count);
            continue;
        }
        const Option* const option = given.emplace_back(findOption(program, word));
        const bool takesNext = option && !option->value.empty() && word.find('=') == word.npos;
        const size_t count = std::min<size_t>(takesNext ? 2 : 1, words.size());
        if (!option) {
            line.problem = unknownOption(word);
        } else if (word.back() == '=' && !option->value.empty()) {
            line.problem = needsValue(word.substr(0, word.size() - 1));
        } else {
            parseOptions(parser, line, words.first(count));
        }
        words = words.subspan(count);
    }
    return given;
}

Words wordsOf(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// Returns what is wrong with the command, its arguments or the options given with it; empty if nothing is.
std::string checkCommand(const Program& program, const Words& arguments,
                         std::span<const Option* const> given) {
    if (arguments.empty()) return "no command given";
    for (const auto& [synopsis, meaning] : program.commands) {
        const Words words = wordsOf(synopsis);
        if (words.front() != arguments.front()) continue;
        for (const Option* option : given) {
            if (!option->command.empty() && option->command != words.front())
                return "option " + inQuotes(longName(*option)) + " is not for " + inQuotes(words.front());
        }
        const bool repeats = synopsis.ends_with("...");
        if (arguments.size() == words.size() || (repeats && arguments.size() > words.size())) return {};
        return "the command is " + inQuotes(program.name + " " + synopsis);
    }
    return "unknown command " + inQuotes(arguments.front());
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
    const Words words(argv + std::min(argc, 1), argv + argc);
    const bool hasCommands = !program.commands.empty();
    if (hasCommands || program.mixesOptions) {
        const std::vector<const Option*> given = parseMixed(parser, line, program, words);
        const bool isWhole = hasCommands && line.problem.empty() && !line.help && !line.version;
        if (isWhole) line.problem = checkCommand(program, line.arguments, given);
        return;
    }
    const Words rest = parseOptions(parser, line, words);
    if (!line.problem.empty() || line.help || line.version) return;
    findArguments(line, program, rest, argc);
    const std::string name = optionWithoutValue(program, line.firstArgument, argv);
    if (!name.empty()) line.problem = needsValue(name);
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
