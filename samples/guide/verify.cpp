#include <zr_maths/verify_arithmetic.h>

#include <cstdio>

int main() {
    if (!Vestrel::VerifyArithmetic()) {
        std::fprintf(stderr, "samples are not those that were promised: see VerifyArithmetic\n");
        return 1;
    }
    if (!Vestrel::VerifyCallerArithmetic()) {
        std::fprintf(stderr, "four-lane values are not what was promised: see VerifyCallerArithmetic\n");
        return 1;
    }
    std::puts("the bits are right");
}
