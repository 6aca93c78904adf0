// Parses the options of a host's command line according to a table.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace qelhosts {

/// The options that every host has.
struct CommonOptions {
    bool help = false;    ///< print the usage and end
    bool version = false; ///< print the version and end
    std::string problem;  ///< what is wrong with the command line; empty if it is correct
};

/// An option, which either stores a value or sets a flag.
template <class Options>
struct OptionRow {
    std::string_view name;                                   ///< the name with its dashes
    bool (*store)(Options& options, std::string_view value); ///< returns false for an invalid value; or null
    bool Options::*flag;             ///< the flag to set; null if there is a store function
    std::string_view complaint = {}; ///< precedes an invalid value in the message
};

/// Returns @p text in single quotes.
inline std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

/// Parses the option at @p index. @param row  its row; null if it is unknown. @return how many arguments it
/// takes; 0 if Options::problem was set.
template <class Options>
int readOption(Options& options, const OptionRow<Options>* row, int argc, const char* const* argv,
               int index) {
    const std::string_view argument = argv[index];
    const size_t equals = argument.find('=');
    if (!row) {
        options.problem = "unknown option " + quoted(argument.substr(0, equals));
        return 0;
    }
    const bool isJoined = equals != argument.npos;
    if (row->flag) {
        options.*(row->flag) = true;
        if (isJoined) options.problem = "option " + quoted(row->name) + " takes no value";
        return isJoined ? 0 : 1;
    }
    if (!isJoined && index + 1 >= argc) {
        options.problem = "option " + quoted(row->name) + " needs a value";
        return 0;
    }
    const std::string_view value = isJoined ? argument.substr(equals + 1) : argv[index + 1];
    if (!row->store(options, value)) {
        options.problem = std::string(row->complaint) + quoted(value);
        return 0;
    }
    return isJoined ? 1 : 2;
}

/// Parses options up to the first argument that is not an option, up to `--`, or up to a problem or a request
/// for help. @return the index of the first argument that was not parsed.
template <class Options, size_t N>
int readOptions(Options& options, const std::array<OptionRow<Options>, N>& rows, int argc,
                const char* const* argv) {
    int index = 1;
    while (index < argc) {
        const std::string_view argument = argv[index];
        if (argument.size() < 2 || argument.front() != '-') break;
        if (argument == "--") return index + 1;
        const std::string_view name = argument.substr(0, argument.find('='));
        const OptionRow<Options>* found = nullptr;
        for (const OptionRow<Options>& row : rows) {
            if (row.name == name) found = &row;
        }
        const int taken = readOption(options, found, argc, argv, index);
        if (taken == 0 || options.help) break;
        index += taken;
    }
    return index;
}

} // namespace qelhosts
