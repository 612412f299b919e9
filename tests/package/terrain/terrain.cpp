#include <zr_maths/maths_noise_fast.h>

float HeightAt(float x, float z);

float HeightAt(float x, float z) {
    Vestrel::CStdRandomGenerator generator(42);
    return Vestrel::CFastNoise3(&generator).SampleQuintic({x, 0.5f, z, 0.0f});
}
