// Reads the options of a host's command line by a table of them.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace qelhosts {

/// What every host's options have.
struct CommonOptions {
    bool help = false;    ///< print how the host is used, and nothing else
    bool version = false; ///< print the version, and nothing else
    std::string problem;  ///< what is wrong with the command line; empty if nothing is
};

/// One option. One with a value stores it, one without sets a flag.
template <class Options>
struct OptionRow {
    std::string_view name;                                   ///< as it is typed, with its dashes
    bool (*store)(Options& options, std::string_view value); ///< false for a value that can't be; or null
    bool Options::*flag;                                     ///< the flag to set; null with a store function
    std::string_view complaint = {};                         ///< what is said before a value that can't be
};

/// @p text in single quotes, for a complaint.
inline std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

/// Reads the one option at @p index. @return how many arguments it takes; 0 with a problem noted.
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

/// Reads the options, up to the first argument that is none or up to `--`; stops at a problem and at a call
/// for help. @return the index of the first argument that is left.
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
