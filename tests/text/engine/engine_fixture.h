// Reads texts and shows their tokens.
#pragma once

#include <qel/plugins/resource_locator.h>
#include <qel/text/engine/text_actor.h>
#include <tests/support/log_capture.h>
#include <tests/support/scratch_folder.h>
#include <tests/support/system_fixture.h>

#include <string>

namespace qel::test {

/// Returns the tokens in a short form: characters as they are, "_" for a space, "{type:value}" for all other
/// tokens but "|" for the end of a line, "¶" for the end of a paragraph and "$" for the end of the text.
std::string shown(const Vector<Token>& tokens);

/// A System whose translations are files of a scratch folder.
class TextEngine : public SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        system().getResourceLocator()->addResourceDirectory(m_folder.path());
        system().setLanguage("en");
    }
    /// Defines the translation of @p key.
    void translate(const std::string& key, const std::string& text) {
        m_folder.write("tr-" + key + ".txt", text);
    }
    /// Returns the tokens of @p text as shown() does.
    static std::string read(const String& text, TextActor::Parser parser = TextActor::Parser::ControlCodes) {
        TextActor actor;
        actor.setParser(parser).setText(text).update();
        return shown(actor.getTokens());
    }

private:
    ScratchFolder m_folder;
};

/// The same with a theme whose medium font has 18 pixels.
class ThemedTextEngine : public TextEngine {
protected:
    void SetUp() override;
    void TearDown() override;
};

} // namespace qel::test
