// Program: what a host's command line accepts and what its manual says.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace qelhosts {

/// What the value of an option is, for the completion in a shell.
enum class ValueKind { Other, File, Folder };

/// Where an option stores its value and which values it accepts.
struct Setting {
    ValueKind kind = ValueKind::Other;
    /// Stores a value. @param value  the value; empty for a flag. @return what is wrong with the value; empty
    /// if it was stored.
    std::function<std::string(const std::string& value)> store;
};

/// A row of the table of options.
struct Option {
    std::string names;        ///< "--data", or "-h,--help"
    std::string value;        ///< name of the value, such as "FILE"; empty for a flag
    Setting setting;          ///< what the option changes
    std::string meaning;      ///< what the option does, in words without a capital letter and a full stop
    std::string command = {}; ///< the command that has the option; empty if every command has it
};

/// A term and its explanation.
using Definition = std::pair<std::string, std::string>;

/// A host's command line and manual. The parser, `--help`, the man page and the completion all use it, so
/// that they agree. All texts are UTF-8; the paragraphs of a text are separated by an empty line.
struct Program {
    std::string name;                    ///< the command
    std::string purpose;                 ///< the purpose in a few words
    std::string arguments;               ///< the synopsis after the options; empty if there are no arguments
    std::string description;             ///< what the program does
    std::vector<Option> options;         ///< in the order of the help
    std::string notes;                   ///< what follows the options; may be empty
    std::map<int, std::string> statuses; ///< exit statuses and when they occur
    std::vector<Definition> files;       ///< files that the program uses
    std::vector<Definition> examples;    ///< commands and what they do
    std::vector<std::string> related;    ///< related commands
    std::string advice; ///< a sentence that follows the hint at the help after an error; may be empty
    /// The commands that the first argument selects: a name with its arguments, such as "compare A B"; "..."
    /// repeats the last argument. Options may follow the arguments of such a program. Empty if it has no
    /// commands.
    std::vector<Definition> commands = {};
    /// Options may also follow the arguments of a program without commands; CommandLine::arguments holds the
    /// arguments then. Programs with commands always accept that.
    bool mixesOptions = false;
};

} // namespace qelhosts
