#include "man_page.h"

#include <hosts/shared/help.h>

#include <algorithm>
#include <sstream>

namespace qelhosts {

namespace {

constexpr size_t kColumns = 76;

/// Returns @p text with all characters escaped that the formatter would interpret.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '\\':
            result += "\\e";
            break;
        case '-':
            result += "\\-";
            break;
        case '\'':
            result += "\\(aq";
            break;
        case '`':
            result += "\\(ga";
            break;
        case '"':
            result += "\\(dq";
            break;
        case '~':
            result += "\\(ti";
            break;
        case '^':
            result += "\\(ha";
            break;
        default:
            result += c;
        }
    }
    return result;
}

/// Appends a paragraph as lines of source, each sentence on lines of its own.
void appendProse(std::string& page, std::string_view paragraph) {
    std::istringstream words{std::string(paragraph)};
    size_t column = 0;
    for (std::string word; words >> word;) {
        std::string source = escaped(word);
        const bool fits = column + 1 + source.size() <= kColumns;
        if (column != 0) page += fits ? ' ' : '\n';
        if (!fits) column = 0;
        if (column == 0 && source.front() == '.') source.insert(0, "\\&"); // or it would be a macro
        page += source;
        column += source.size() + 1;
        if (word.back() == '.') {
            page += '\n';
            column = 0;
        }
    }
    if (column != 0) page += '\n';
}

/// Appends the paragraphs of a text.
void appendText(std::string& page, std::string_view text, bool continuesSection) {
    while (!text.empty()) {
        const size_t end = std::min(text.find("\n\n"), text.size());
        if (continuesSection) page += ".PP\n";
        continuesSection = true;
        appendProse(page, text.substr(0, end));
        text.remove_prefix(std::min(end + 2, text.size()));
    }
}

/// Returns @p words as a sentence.
std::string sentence(std::string words) {
    if (words.front() >= 'a' && words.front() <= 'z')
        words.front() = static_cast<char>(words.front() - 'a' + 'A');
    return words.back() == '.' ? words : words + ".";
}

void appendTerm(std::string& page, const std::string& term, const std::string& meaning) {
    page += ".TP\n" + term + "\n";
    appendProse(page, sentence(meaning));
}

std::string bold(std::string_view text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + escaped(text) + "\\fR";
}

void appendSynopsis(std::string& page, const Program& program) {
    page += ".SH SYNOPSIS\n" + bold(program.name) + " [" + italic("OPTIONS") + "]";
    page += (program.arguments.empty() ? "" : " " + escaped(program.arguments)) + "\n";
}

void appendCommands(std::string& page, const Program& program) {
    if (!program.commands.empty()) page += ".SH COMMANDS\n";
    for (const auto& [synopsis, meaning] : program.commands) {
        const size_t end = std::min(synopsis.find(' '), synopsis.size());
        appendTerm(page, bold(synopsis.substr(0, end)) + italic(synopsis.substr(end)), meaning);
    }
}

void appendOptions(std::string& page, const Program& program) {
    page += ".SH OPTIONS\n";
    for (const Option& option : program.options) {
        std::string term = bold(option.names);
        if (const size_t comma = term.find(','); comma != term.npos) term.replace(comma, 1, "\\fR, \\fB");
        if (!option.value.empty()) term += " " + italic(option.value);
        appendTerm(page, term, optionMeaning(option));
    }
    appendText(page, program.notes, true);
}

void appendExamples(std::string& page, const std::vector<Definition>& examples) {
    page += ".SH EXAMPLES\n";
    for (const auto& [command, meaning] : examples) {
        if (&command != &examples.front().first) page += ".PP\n";
        appendProse(page, meaning);
        page += ".PP\n.RS 4\n.nf\n" + bold(command) + "\n.fi\n.RE\n";
    }
}

void appendRelated(std::string& page, const std::vector<std::string>& related) {
    page += ".SH SEE ALSO\n";
    for (const std::string& name : related)
        page += ".BR " + escaped(name) + " (1)" + (&name == &related.back() ? "\n" : ",\n");
}

} // namespace

std::string manPage(const Program& program, std::string_view version, std::string_view date) {
    std::string title = program.name;
    std::transform(title.begin(), title.end(), title.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    std::string page = ".TH " + title + " 1 " + std::string(date) + " \"qelCore " + std::string(version) +
                       "\" \"User Commands\"\n";
    page += ".SH NAME\n" + program.name + " \\- " + escaped(program.purpose) + "\n";
    appendSynopsis(page, program);
    page += ".SH DESCRIPTION\n";
    appendText(page, program.description, false);
    appendCommands(page, program);
    appendOptions(page, program);
    page += ".SH EXIT STATUS\n";
    for (const auto& [status, meaning] : program.statuses)
        appendTerm(page, bold(std::to_string(status)), meaning);
    if (!program.files.empty()) page += ".SH FILES\n";
    for (const auto& [path, meaning] : program.files) appendTerm(page, italic(path), meaning);
    appendExamples(page, program.examples);
    appendRelated(page, program.related);
    return page;
}

} // namespace qelhosts
