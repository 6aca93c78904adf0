// Tests that run on every instruction set of the machine.
#pragma once

#include <qel/testing/simd.h>

#include <gtest/gtest.h>

#include <string>

namespace qel::test {

/// Runs a test with the kernels of one instruction set; see QEL_ON_EVERY_TARGET.
class OnTarget : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override { ASSERT_TRUE(seams::setSimdTarget(GetParam())); }
    void TearDown() override { seams::setSimdTarget(""); }
};

/// Runs the tests of SUITE, a class derived from OnTarget, on every instruction set of the machine.
#define QEL_ON_EVERY_TARGET(SUITE)                                                                           \
    INSTANTIATE_TEST_SUITE_P(Targets, SUITE, testing::ValuesIn(qel::seams::simdTargets()),                   \
                             [](const auto& parameter) { return parameter.param; })

} // namespace qel::test
