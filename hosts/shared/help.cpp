#include "help.h"

#include <algorithm>
#include <sstream>

namespace qelhosts {

namespace {

constexpr size_t kColumns = 80;

/// Appends @p paragraph from column @p indent on, broken at spaces. The first line is there already, up to
/// the column @p column.
void appendWrapped(std::string& help, std::string_view paragraph, size_t indent, size_t column) {
    std::istringstream words{std::string(paragraph)};
    bool isFirst = true;
    for (std::string word; words >> word; isFirst = false) {
        if (!isFirst && column + 1 + word.size() > kColumns) {
            help.append("\n").append(indent, ' ');
            column = indent;
        } else if (!isFirst) {
            help += ' ';
            ++column;
        }
        help += word;
        column += word.size();
    }
    help += '\n';
}

/// Appends the paragraphs of a text with an empty line before each.
void appendText(std::string& help, std::string_view text) {
    while (!text.empty()) {
        const size_t end = std::min(text.find("\n\n"), text.size());
        help += '\n';
        appendWrapped(help, text.substr(0, end), 0, 0);
        text.remove_prefix(std::min(end + 2, text.size()));
    }
}

/// Appends terms with their explanations in a second column.
void appendDefinitions(std::string& help, const std::vector<Definition>& definitions) {
    size_t width = 0;
    for (const auto& [term, text] : definitions) width = std::max(width, term.size());
    const size_t column = 2 + width + 2;
    for (const auto& [term, text] : definitions) {
        help.append("  ").append(term).append(column - 2 - term.size(), ' ');
        appendWrapped(help, text, column, column);
    }
}

} // namespace

std::string optionMeaning(const Option& option) {
    return option.command.empty() ? option.meaning : "for " + option.command + ": " + option.meaning;
}

std::string optionSynopsis(const Option& option) {
    std::string names = option.names;
    if (const size_t comma = names.find(','); comma != names.npos) names.insert(comma + 1, " ");
    return option.value.empty() ? names : names + " " + option.value;
}

std::string helpText(const Program& program) {
    std::string help = "Usage: " + program.name + " [OPTIONS]";
    if (!program.arguments.empty()) help += " " + program.arguments;
    help += '\n';
    appendText(help, program.description);
    if (!program.commands.empty()) help += "\nCommands:\n";
    appendDefinitions(help, program.commands);
    help += "\nOptions:\n";
    std::vector<Definition> options;
    std::vector<Definition> statuses;
    for (const Option& option : program.options)
        options.emplace_back(optionSynopsis(option), optionMeaning(option));
    for (const auto& [status, meaning] : program.statuses)
        statuses.emplace_back(std::to_string(status), meaning);
    appendDefinitions(help, options);
    appendText(help, program.notes);
    help += "\nExit status:\n";
    appendDefinitions(help, statuses);
    return help;
}

} // namespace qelhosts
