#include <qel/files/string_event.h>

#include <string_view>

namespace qel {

namespace {

constexpr std::string_view kBegin = "STRB16[";
constexpr std::string_view kEnd = "]";
constexpr char kSeparator = ':';

template <typename Form>
String joined(const Vector<String>& elements, const Form& form) {
    String text;
    for (const String& element : elements) {
        if (&element != &elements.front()) text += kSeparator;
        text += form(element);
    }
    return text;
}

} // namespace

void StringEvent::clear(const char* id) {
    m_elements.assign(1, String(id));
}

const String& StringEvent::element(size_t index) const {
    static const String kNone;
    return index < m_elements.size() ? m_elements[index] : kNone;
}

const String& StringEvent::operator[](int index) const {
    return element(static_cast<size_t>(int64{index} + 1));
}

String StringEvent::asString() const {
    return "<" + joined(m_elements, [](const String& element) { return element; }) + ">";
}

String StringEvent::generate() const {
    return String(kBegin) + joined(m_elements, [](const String& element) { return element.encodeBase16(); }) +
           String(kEnd);
}

bool StringEvent::parse(const String& text) {
    m_elements.clear();
    const bool framed = text.starts_with(kBegin) && text.ends_with(kEnd.front());
    if (!framed || text.size() == kBegin.size() + kEnd.size()) return false;
    const String content = text.substr(kBegin.size(), text.size() - kBegin.size() - kEnd.size());
    for (const String& part : content.split(kSeparator)) m_elements.push_back(part.decodeBase16());
    return true;
}

} // namespace qel
