// Stylesheets: whatever the text, a sheet with errors is empty and its parent answers, and the search through
// the index and the cache of answers equal the plain search.
#include <fuzz/require.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/style/style_data.h>
#include <qel/testing/style_search.h>

#include <string>
#include <vector>

using namespace qel;

namespace {

/// Returns up to @p limit words of the text and some that are not in it.
std::vector<std::string> wordsOf(std::string_view text, size_t limit) {
    constexpr std::string_view kSeparators = " \t\n{}[]()#.:;,>+~*'\"@!%/\\\r\f";
    std::vector<std::string> words = {"Object", "Button", "width"};
    while (!text.empty() && words.size() < limit) {
        const size_t end = text.find_first_of(kSeparators);
        if (end != 0) words.emplace_back(text.substr(0, end));
        if (end == text.npos) break;
        text.remove_prefix(end + 1);
    }
    return words;
}

struct Answer {
    bool isColor = false;
    bool isLength = false;
    bool isUrl = false;
    IVec4<float> color{2, 2, 2, 2};
    int length = -1;
    String url;

    friend bool operator==(const Answer&, const Answer&) = default;
};

Answer ask(StyleData& data, const std::vector<std::string>& words, size_t i) {
    const auto word = [&](size_t step) { return words[(i * step + i / 7) % words.size()].c_str(); };
    const auto optional = [&](size_t bit, size_t step) { return (i & bit) != 0 ? word(step) : nullptr; };
    const ClassChain chain = {"Object", word(1), word(3)};
    const char* const property = word(5);
    const char* const id = optional(1, 11);
    const char* const pseudo = optional(2, 13);
    const char* const name = optional(4, 17);
    Answer answer;
    answer.isColor = data.getColor(answer.color, chain, property, id, pseudo, name);
    answer.isLength = data.getPixelLength(answer.length, chain, property, id, pseudo, name);
    answer.isUrl = data.getUrl(answer.url, chain, property, id, pseudo, name);
    require(answer.isLength || answer.length == -1);
    require(answer.isUrl || answer.url.empty());
    return answer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    logging::setConsoleWriter([](const logging::ConsoleLine&) {});
    const SmartPointer<StyleData> parent = new StyleData;
    require(parent->loadFromMemory(ConstByteSpan::fromText("Button{--parent:url(p)}")));
    const SmartPointer<StyleData> sheet = new StyleData;
    sheet->setParent(parent.get());
    const bool isLoaded = sheet->loadFromMemory({data, size});

    String url;
    const bool isAnswered = sheet->getUrl(url, {"Button"}, "--parent", nullptr, nullptr, nullptr);
    require(isAnswered && (isLoaded || url == "p"));

    const auto words = wordsOf({reinterpret_cast<const char*>(data), size}, 40);
    for (size_t i = 0; i < 14; ++i) { // each asks for a colour, a length and a URL
        seams::setStyleSearch(seams::StyleSearch::Plain);
        const Answer plain = ask(*sheet, words, i);
        require(isLoaded || plain == ask(*parent, words, i));
        seams::setStyleSearch(seams::StyleSearch::Indexed);
        require(ask(*sheet, words, i) == plain);
        seams::setStyleSearch(seams::StyleSearch::Cached);
        require(ask(*sheet, words, i) == plain);
        require(ask(*sheet, words, i) == plain);
    }
    return 0;
}
