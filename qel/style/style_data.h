// StyleData: answers questions about style from a CSS stylesheet.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/style/style_kinds.h>

#include <memory>

namespace qel {

class Sprite;

/// A stylesheet and the one that answers when it does not.
///
/// A question names the class chain of the asking object and a property. Tags of selectors are compared with
/// the class names, the most derived class first; later rules win over earlier ones. Id, class and
/// pseudo-element of a selector are compared with the arguments; a question with a class name is never
/// answered by a selector without a class, and the other way round.
///
/// Rules other than style rules and selectors with combinators, pseudo-classes, attributes or * never match.
/// Each of the first 100 of them in a stylesheet is logged once, by its number in style_kinds.h, when the
/// first search passes it. A value that cannot be used is logged once, too, and the search continues.
/// Answers are kept until a stylesheet changes.
/// @threads main thread; System must exist for sprites and translations, and without it an em is 0.
class QEL_API StyleData : public Object {
    QEL_CLASS(StyleData, Object)

public:
    StyleData();
    ~StyleData() override;

    /// Replaces the stylesheet by the CSS in @p text, which is UTF-8 and at most 16 MiB.
    /// @return false after a syntax error; the stylesheet is then empty.
    /// @errors logs the first 100 errors with line and column, and a warning for each of the first 100 import
    ///         rules.
    bool loadFromMemory(ConstByteSpan text);
    /// Replaces the stylesheet by that of the resource @p name. @return false if it cannot be loaded.
    bool loadFromResource(SmartCStr name);
    /// Sets the stylesheet that is asked when this one has no answer; null for none.
    /// @errors a stylesheet that asks this one itself is refused with a warning.
    void setParent(StyleData* parent);
    /// Returns the stylesheet that is asked when this one has no answer, or null.
    StyleData* getParent() const { return m_parent.get(); }
    /// Returns a number that grows with each change of any stylesheet, for users who keep answers.
    static uint32 getVersion();

    /// Looks up a colour: a web colour, hexadecimal digits after a hash sign, or rgb(), rgba() or hsl().
    /// @param classChain  ends at its first null.
    /// @param id, pseudoElement, className  null if the question does not name one.
    /// @return false, with @p out unchanged, if no rule states a usable value; true, with @p out unchanged,
    ///         if a rule states several values or a number, length, text or URL.
    bool getColor(IVec4<float>& out, const ClassChain& classChain, const char* property, const char* id,
                  const char* pseudoElement, const char* className);
    /// Looks up a length in px or em, truncated to pixels; an em is the line height of the theme's medium
    /// font.
    bool getPixelLength(int& out, const ClassChain& classChain, const char* property, const char* id,
                        const char* pseudoElement, const char* className);
    /// Looks up a sprite by a URL "res://" and the name of a resource. @owner the cache of System.
    bool getSprite(Sprite*& out, const ClassChain& classChain, const char* property, const char* id,
                   const char* pseudoElement, const char* className);
    /// Looks up a translated text by a URL "tr://" and the key.
    bool getTranslation(String& out, const ClassChain& classChain, const char* property, const char* id,
                        const char* pseudoElement, const char* className);
    /// Looks up the text of a URL.
    bool getUrl(String& out, const ClassChain& classChain, const char* property, const char* id,
                const char* pseudoElement, const char* className);

private:
    struct Private;

    std::unique_ptr<Private> m_private;
    SmartPointer<StyleData> m_parent;
};

} // namespace qel
