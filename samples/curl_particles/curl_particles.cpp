// Particles in a flow without divergence: the curl of a vector potential whose components are three noise
// fields. It needs only their gradients. First checks, by differences of the flow, that the divergence is
// about 0.

#include "../support/picture.h"
#include "../support/sample_program.h"
#include "../support/webp_file.h"

#include <zr_maths/maths_noise_fast.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

using namespace Samples;
using namespace Vestrel;
using SIMD_Neon::ExtractLane;
using SIMD_Neon::Float4;
using CVector = TVector<float, 3>;

constexpr uint32_t kWidth = 640;
constexpr uint32_t kHeight = 320;
constexpr float kPixelsPerCell = 120.0f;
constexpr uint32_t kParticles = 430;
constexpr int kFrames = 40;
constexpr int kMillisecondsPerFrame = 50;
constexpr int kStepsPerFrame = 4;
constexpr int kTrailSteps = 32 * kStepsPerFrame;
constexpr int kLifeSteps = kFrames * kStepsPerFrame; // as long as the animation, so that it has no seam
constexpr float kCellsPerStep = 0.0053f;             // at speed 1

/// The flow of an incompressible fluid.
class CCurlFlow {
public:
    explicit CCurlFlow(CAbstractRandomGenerator& generator)
        : m_X(&generator), m_Y(&generator), m_Z(&generator) {}

    CVector At(CVector position) const {
        const Float4 at(position.x, position.y, position.z, 0.0f);
        const Float4 x = m_X.Sample1stOrderDerivativesQuintic(at);
        const Float4 y = m_Y.Sample1stOrderDerivativesQuintic(at);
        const Float4 z = m_Z.Sample1stOrderDerivativesQuintic(at);
        return {ExtractLane<1>(z) - ExtractLane<2>(y), ExtractLane<2>(x) - ExtractLane<0>(z),
                ExtractLane<0>(y) - ExtractLane<1>(x)};
    }

private:
    CFastNoise3 m_X, m_Y, m_Z;
};

/// The derivatives of the flow's x, y and z along x, y and z, by differences.
CVector StretchAt(const CCurlFlow& flow, CVector at) {
    constexpr float kStep = 0x1p-7f;
    constexpr float kPerCell = 0.5f / kStep;
    return {kPerCell * (flow.At({at.x + kStep, at.y, at.z}).x - flow.At({at.x - kStep, at.y, at.z}).x),
            kPerCell * (flow.At({at.x, at.y + kStep, at.z}).y - flow.At({at.x, at.y - kStep, at.z}).y),
            kPerCell * (flow.At({at.x, at.y, at.z + kStep}).z - flow.At({at.x, at.y, at.z - kStep}).z)};
}

/// The divergence is the sum of three terms. It must be about 0, and the terms must not.
void CheckDivergence(const CCurlFlow& flow, CAbstractRandomGenerator& generator) {
    constexpr uint32_t kCount = 1000;
    std::vector<CVector> positions(kCount);
    generator.FillRandomFloats({&positions[0].x, 3 * kCount}, 0.0f, 16.0f);
    float divergence = 0.0f, terms = 0.0f;
    for (const CVector& position : positions) {
        const CVector stretch = StretchAt(flow, position);
        divergence = std::max(divergence, std::fabs(stretch.x + stretch.y + stretch.z));
        terms += (std::fabs(stretch.x) + std::fabs(stretch.y) + std::fabs(stretch.z)) / (3 * kCount);
    }
    std::printf("divergence at %u positions: at most %.4f, of terms that are %.1f on average\n", kCount,
                static_cast<double>(divergence), static_cast<double>(terms));
    if (!(divergence < 0.01f * terms)) {
        throw std::runtime_error("the flow is not free of divergence");
    }
}

/// The picture's directions to the right, down and away, tilted to hide the axes of the lattice.
constexpr CVector kRight = {0.8f, 0.0f, 0.6f}, kDown = {-0.36f, 0.8f, 0.48f}, kAway = {-0.48f, -0.6f, 0.64f};

constexpr float Dot(CVector a, CVector b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// `position` plus `part` times the direction.
constexpr CVector Moved(CVector position, float part, CVector direction) {
    return {position.x + part * direction.x, position.y + part * direction.y,
            position.z + part * direction.z};
}

/// A particle's position at every step of its life, and of the trail before that.
using CPath = std::array<CVector, kTrailSteps + kLifeSteps>;

CPath PathFrom(const CCurlFlow& flow, CVector position) {
    CPath path;
    for (CVector& place : path) {
        place = position;
        // Midpoint method.
        const CVector speed = flow.At(Moved(position, 0.5f * kCellsPerStep, flow.At(position)));
        position = Moved(position, kCellsPerStep, speed);
    }
    return path;
}

/// Accumulated light.
class CLight {
public:
    /// Spreads light over the sixteen pixels around a point.
    void Add(float x, float y, CColour colour) {
        const float left = std::floor(x) - 1.0f, top = std::floor(y) - 1.0f;
        if (!(left >= 0.0f && top >= 0.0f && left <= kWidth - 4 && top <= kHeight - 4)) {
            return;
        }
        for (int row = 0; row < 4; ++row) {
            const float down = top + static_cast<float>(row);
            CColour* const pixels = &m_Light[static_cast<size_t>(down) * kWidth + static_cast<size_t>(left)];
            for (int column = 0; column < 4; ++column) {
                const float across = left + static_cast<float>(column);
                const float share = (2.0f - std::fabs(x - across)) * (2.0f - std::fabs(y - down));
                pixels[column] = pixels[column] + colour * (0.25f * share);
            }
        }
    }

    /// Tone mapping: unbounded light to colours.
    void Paint(CPicture& picture) const {
        static constexpr CColour kGround = {0.028f, 0.042f, 0.085f};
        for (uint32_t k = 0; k < m_Light.size(); ++k) {
            const CColour light = m_Light[k] + kGround;
            picture.Set(k % kWidth, k / kWidth,
                        {light.r / (1.0f + light.r), light.g / (1.0f + light.g), light.b / (1.0f + light.b)});
        }
    }

private:
    std::vector<CColour> m_Light = std::vector<CColour>(size_t{kWidth} * kHeight);
};

/// A particle with its trail, `age` steps after its birth, fading in and out.
void DrawParticle(CLight& light, const CPath& path, CColour colour, int age) {
    const float life = static_cast<float>(age) / kLifeSteps;
    const float strength = std::min(2.2f, 9.0f * std::min(life, 1.0f - life));
    for (int step = 0; step <= kTrailSteps; ++step) {
        const CVector& place = path[static_cast<size_t>(age + step)];
        const float newness = static_cast<float>(step) / kTrailSteps;
        light.Add(kPixelsPerCell * Dot(place, kRight), kPixelsPerCell * Dot(place, kDown),
                  colour * (strength * newness * newness));
    }
}

/// The colour by the start of a particle, from the top of the picture to the bottom.
CColour ColourOf(float height) {
    static constexpr CColour kColours[] = {
        {0.12f, 0.36f, 1.00f}, {0.10f, 0.80f, 0.85f}, {1.00f, 0.66f, 0.22f}, {1.00f, 0.24f, 0.34f}};
    return RampAt(kColours, height);
}

std::vector<uint8_t> Draw() {
    CStdRandomGenerator generator(11);
    const CCurlFlow flow(generator);
    CheckDivergence(flow, generator);

    // Relative to the picture's size, and some beyond its edges.
    std::vector<CVector> births(kParticles);
    generator.FillRandomFloats({&births[0].x, 3 * kParticles}, -0.1f, 1.1f);
    std::vector<CPath> paths;
    for (const CVector& birth : births) {
        CVector position = Moved({}, birth.x * kWidth / kPixelsPerCell, kRight);
        position = Moved(position, birth.y * kHeight / kPixelsPerCell, kDown);
        paths.push_back(PathFrom(flow, Moved(position, birth.z, kAway)));
    }
    CPicture picture(kWidth, kHeight);
    CWebpAnimation animation(kWidth, kHeight, kMillisecondsPerFrame, 40.0f);
    for (int frame = 0; frame < kFrames; ++frame) {
        CLight light;
        for (uint32_t k = 0; k < kParticles; ++k) {
            // Births are spread over the animation.
            const int age = (frame * kStepsPerFrame + static_cast<int>(k)) % kLifeSteps;
            DrawParticle(light, paths[k], ColourOf(births[k].y), age);
        }
        light.Paint(picture);
        animation.Add(picture);
    }
    return animation.Finish();
}

} // namespace

int main(int argumentCount, char** arguments) {
    return RunSample(argumentCount, arguments, "curl_particles", "curl_particles.webp", Draw);
}
