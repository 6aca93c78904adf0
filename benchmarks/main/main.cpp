// The main function of every benchmark program.
#include <qel/testing/simd.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    // For results as on machines with fewer vector instructions: QEL_SIMD_TARGET_CAP=AVX2 limits the kernels.
    const char* const target = std::getenv("QEL_SIMD_TARGET_CAP");
    if (target && !qel::seams::setSimdTarget(target)) {
        std::fprintf(stderr, "this machine does not have the instruction set %s\n", target);
        return EXIT_FAILURE;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
