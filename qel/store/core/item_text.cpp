// Formats an Item as text for logs and for users.
#include <qel/store/core/element_cursor_p.h>
#include <qel/store/core/item.h>

#include <fmt/format.h>

#include <iterator>

namespace qel {
namespace {

using internal::ElementCursor;

/// The syntax of a text form.
struct Style {
    const char* beforeElement;
    const char* behindElement;
    const char* beforeText; // of a String
    const char* beforeList; // of a SubItem
    const char* behindList;
    const char* separator;
};

constexpr Style kForLogs{"<", ">", "STR:", "{", "}", ""};
constexpr Style kForPeople{"", "", "", "{", "}", ";"};

class TextWriter {
public:
    explicit TextWriter(const Style& style) : m_style(style) {}

    void list(ConstByteSpan bytes, int depth) {
        const size_t begin = m_out.size();
        ElementCursor element(depth <= Item::kMaxDepth ? bytes : ConstByteSpan());
        for (; element && hasForm(element.type()); element.next()) {
            beginElement(begin);
            write(element, depth);
            m_out += m_style.behindElement;
        }
        const size_t left = depth <= Item::kMaxDepth ? element.rest().size : bytes.size;
        if (left == 0) return;
        beginElement(begin);
        fmt::format_to(std::back_inserter(m_out), "TRAIL:{}{}", left, m_style.behindElement);
    }

    String take() { return std::move(m_out); }

private:
    static bool hasForm(ValueType type) {
        return type != ValueType::Pointer && type != ValueType::Referee && type != ValueType::Wildcard;
    }

    void beginElement(size_t listBegin) {
        if (m_out.size() != listBegin) m_out += m_style.separator;
        m_out += m_style.beforeElement;
    }

    void write(const ElementCursor& element, int depth) {
        const auto out = std::back_inserter(m_out);
        switch (element.type()) {
        case ValueType::Float:
            fmt::format_to(out, "FLT:{:g}", element.number());
            break;
        case ValueType::String:
            m_out.append(m_style.beforeText).append(element.text());
            break;
        case ValueType::Prefix:
            m_out.append("PREFIX:").append(element.text());
            break;
        case ValueType::Buffer:
            fmt::format_to(out, "BUF:{}", element.payload().size);
            break;
        case ValueType::SubItem:
            m_out.append("ITEM:").append(m_style.beforeList);
            list(element.payload(), depth + 1);
            m_out += m_style.behindList;
            break;
        case ValueType::GUID:
            m_out += "GUID:" + GUID::fromBytes(element.guid()).toString();
            break;
        case ValueType::NIL:
            m_out += "NIL";
            break;
        case ValueType::False:
            m_out += "BOOL:FALSE";
            break;
        case ValueType::True:
            m_out += "BOOL:TRUE";
            break;
        case ValueType::Meta:
            m_out += "META";
            break;
        case ValueType::End:
            m_out += "END";
            break;
        default:
            fmt::format_to(out, "INT:{}", element.integer());
            break;
        }
    }

    const Style& m_style;
    String m_out;
};

} // namespace

String Item::asString() const {
    TextWriter writer(kForLogs);
    writer.list(getConstByteSpan(), 0);
    return "{" + writer.take() + "}";
}

String Item::asBrowsableString() const {
    TextWriter writer(kForPeople);
    writer.list(getConstByteSpan(), 0);
    return writer.take();
}

} // namespace qel
