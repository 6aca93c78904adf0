// A stylesheet that answers questions.
#pragma once

#include <qel/style/style_answer_p.h>
#include <qel/style/style_index_p.h>

#include <vector>

namespace qel::internal {

/// How stylesheets are searched. Tests and benchmarks choose; all ways have the same results.
enum class StyleSearch : int {
    Cached = 0,  ///< answers are kept; a new question is searched through the index
    Indexed = 1, ///< each question is searched through the index
    Plain = 2,   ///< each question is compared with each rule
};
extern StyleSearch g_styleSearch;

/// A parsed stylesheet with its index, and what has been logged about it.
class StyleSheet {
public:
    /// Parses @p text. The sheet must not be asked if it has errors.
    explicit StyleSheet(ConstByteSpan text);

    /// Logs the errors. @return true if there are any.
    bool logErrors();
    /// Logs the imports.
    void logImports();
    /// Searches the sheet.
    StyleAnswer ask(const StyleQuestion& question);

private:
    /// A rule or a part of a selector that the sheet cannot handle.
    struct Unhandled {
        uint32 position; ///< a search that has come to a selector below this index has passed it
        bool isRule;
        int type;
    };

    void listUnhandled();
    void warnAfter(int64 selector);

    CssTree m_tree;
    StyleIndex m_index;
    std::vector<Unhandled> m_unhandled; ///< in the order of the sheet; those that were logged are removed
    size_t m_warnings = 0;
};

} // namespace qel::internal
