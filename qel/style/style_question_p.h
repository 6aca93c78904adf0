// A question to a stylesheet.
#pragma once

#include <qel/foundation/base/class_name.h>
#include <qel/foundation/base/types.h>

#include <cstddef>

namespace qel::internal {

/// What the asker wants to read.
enum class StyleGetter : uint8 { Color, PixelLength, Sprite, Translation, Url };

/// The arguments of the getters of StyleData. Every text may be null.
struct StyleQuestion {
    StyleGetter getter;
    const ClassChain& classChain;
    const char* property;
    const char* id;
    const char* pseudoElement;
    const char* className;

    /// Returns the number of class names.
    size_t countClasses() const {
        size_t count = 0;
        while (count < classChain.size() && classChain[count] != nullptr) ++count;
        return count;
    }
};

} // namespace qel::internal
