// Stylesheets and short questions to them.
#pragma once

#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/style/style_data.h>

#include <optional>
#include <string>
#include <string_view>

namespace qel::test {

/// The parts of a question that are rarely asked for.
struct AskedFor {
    const char* id = nullptr;
    const char* pseudoElement = nullptr;
    const char* className = nullptr;
};

/// Asks stylesheets for an object of the class "Button" with the bases "Actor" and "Object".
class StyleFixture : public SystemFixture {
protected:
    static constexpr ClassChain kButton = {"Object", "Actor", "Button"};

    /// Returns a stylesheet with the rules of @p css; fails the test if it has errors.
    static SmartPointer<StyleData> parsed(std::string_view css) {
        SmartPointer<StyleData> data = new StyleData;
        EXPECT_TRUE(data->loadFromMemory(ConstByteSpan::fromText(css))) << css;
        return data;
    }
    /// Returns a length, if it is stated.
    static std::optional<int> length(StyleData& data, const AskedFor& asked = {},
                                     const ClassChain& chain = kButton, const char* property = "width") {
        int value = -1;
        if (!data.getPixelLength(value, chain, property, asked.id, asked.pseudoElement, asked.className))
            return std::nullopt;
        return value;
    }
    /// Returns the width of a button in @p css.
    static std::optional<int> lengthIn(std::string_view css, const AskedFor& asked = {}) {
        return length(*parsed(css), asked);
    }
    /// Returns the width of a button as a URL.
    static std::optional<std::string> url(StyleData& data) {
        String value;
        if (!data.getUrl(value, kButton, "width", nullptr, nullptr, nullptr)) return std::nullopt;
        return value;
    }
    /// Returns the texts that were logged, without their level.
    static std::vector<std::string> logged(LogCapture& log) {
        std::vector<std::string> texts;
        for (const LogLine& line : log.take()) texts.push_back(line.text);
        return texts;
    }
};

} // namespace qel::test
