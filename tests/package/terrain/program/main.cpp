#include <cstdio>

float HeightAt(float x, float z);

// The first sample of samples/first_field.
int main() {
    std::printf("%+.6f\n", static_cast<double>(HeightAt(0.0f, 2.25f)));
}
