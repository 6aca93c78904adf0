#include "completion.h"

#include <string_view>

namespace qelhosts {

namespace {

/// The script; the words in @ are replaced. Bash splits "--data=FILE" into three words.
constexpr std::string_view kScript =
    R"(# Completion of @program@ for bash, generated from its table of options.
_@program@()
{
    local word=${COMP_WORDS[COMP_CWORD]} option='' command='' i=1
    COMPREPLY=()
    while ((i < COMP_CWORD)); do
        case ${COMP_WORDS[i]} in
            --) break ;;
@valued@            -?*) ;;
            *) @other@ ;;
        esac
        i=$((i + 1))
    done
    if ((i > COMP_CWORD)); then
        if [[ $word == '=' ]]; then word=''; fi
        case $option in
@files@@folders@        esac
    elif ((i == COMP_CWORD)) && [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '@names@' -- "$word")
@commands@@arguments@    fi
}
complete -F _@program@ @program@
)";

constexpr std::string_view kSkipValue = R"(                option=${COMP_WORDS[i]}
                i=$((i + 1))
                if [[ ${COMP_WORDS[i]} == '=' ]]; then i=$((i + 1)); fi
                ;;
)";

/// Returns the commands that complete the paths which compgen lists with the flag @p kind.
std::string completePaths(std::string_view kind, const std::string& indent) {
    return indent + "compopt -o filenames\n" + indent + "mapfile -t COMPREPLY < <(compgen " +
           std::string(kind) + " -- \"$word\")\n";
}

/// Returns a case for the options with values that match. @return empty if no option matches.
template <class Matches>
std::string caseOf(const Program& program, std::string_view commands, Matches matches) {
    std::string names;
    for (const Option& option : program.options) {
        if (!option.value.empty() && matches(option)) names += (names.empty() ? "" : " | ") + option.names;
    }
    return names.empty() ? "" : "            " + names + ")\n" + std::string(commands);
}

std::string pathCase(const Program& program, ValueKind kind, std::string_view flag) {
    const std::string indent(16, ' ');
    return caseOf(program, completePaths(flag, indent) + indent + ";;\n",
                  [kind](const Option& option) { return option.setting.kind == kind; });
}

/// Returns the branch that completes the names of the commands. @return empty without commands.
std::string commandBranch(const Program& program) {
    std::string names;
    for (const auto& [synopsis, meaning] : program.commands)
        names += (names.empty() ? "" : " ") + synopsis.substr(0, synopsis.find(' '));
    if (names.empty()) return {};
    return "    elif [ -z \"$command\" ]; then\n        mapfile -t COMPREPLY < <(compgen -W '" + names +
           "' -- \"$word\")\n";
}

/// Returns what the script does at an argument that is not an option.
const char* afterArgument(const Program& program) {
    if (!program.commands.empty()) return "command=${command:-${COMP_WORDS[i]}}";
    return program.mixesOptions ? ":" : "break";
}

std::string allNames(const Program& program) {
    std::string names;
    for (const Option& option : program.options) names += (names.empty() ? "" : " ") + option.names;
    for (char& c : names) c = c == ',' ? ' ' : c;
    return names;
}

} // namespace

std::string bashCompletion(const Program& program) {
    const Definition replacements[] = {
        {"@program@", program.name},
        {"@valued@", caseOf(program, kSkipValue, [](const Option&) { return true; })},
        {"@files@", pathCase(program, ValueKind::File, "-f")},
        {"@folders@", pathCase(program, ValueKind::Folder, "-d")},
        {"@names@", allNames(program)},
        {"@other@", afterArgument(program)},
        {"@commands@", commandBranch(program)},
        {"@arguments@", program.arguments.empty() ? "" : "    else\n" + completePaths("-f", "        ")},
    };
    std::string script(kScript);
    for (const auto& [mark, text] : replacements) {
        for (size_t at = script.find(mark); at != script.npos; at = script.find(mark, at + text.size()))
            script.replace(at, mark.size(), text);
    }
    return script;
}

} // namespace qelhosts
