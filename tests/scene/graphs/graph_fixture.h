// A fixture with the shipped fonts and a theme for a phone.
#pragma once

#include <tests/scene/actors/recording_renderer.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <qel/style/theme.h>

namespace qel::test {

class GraphFixture : public WithShippedFonts<SystemFixture> {
protected:
    void SetUp() override {
        WithShippedFonts::SetUp();
        system().getTheme()->setDeviceForce(200, 0, 400, 300, 1, 1);
    }
};

} // namespace qel::test
