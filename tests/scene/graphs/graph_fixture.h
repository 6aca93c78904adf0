// A fixture with the shipped fonts and a theme for a phone.
#pragma once

#include <tests/scene/actors/recording_renderer.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <qel/style/theme.h>

namespace qel::test {

class GraphFixture : public SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        addShippedFonts();
        system().getTheme()->setDeviceForce(200, 0, 400, 300, 1, 1);
    }
    void TearDown() override {
        SystemFixture::TearDown();
        Object::discardSingletons(); // the files of fonts
    }
};

} // namespace qel::test
