#pragma once

// Noise and gradient in plain scalar code, by definition: the reference for every sampler. It shares only the
// permutation table with the module. P is the permutation table, B the basis.

#include "lattice/permutations.h"
#include "operations.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vestrel::Reference {

struct CCell {
    uint32_t m_Coordinate;
    float m_Fraction;
};

/// Truncation toward zero, saturating; 0 for NaN.
inline int32_t SaturatingTruncation(float x) {
    if (std::isnan(x)) {
        return 0;
    }
    if (x >= 2147483648.0f) {
        return INT32_MAX;
    }
    if (x <= -2147483648.0f) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(x);
}

inline CCell Split(float x) {
    const int32_t n = SaturatingTruncation(x);
    const float r = static_cast<float>(n);
    // Added even if 0, so that the fraction of -0 is +0.
    const uint32_t decrement = r > x ? 1 : 0;
    const float correction = r > x ? 1.0f : 0.0f;
    const float difference = x - r;
    return {(static_cast<uint32_t>(n) - decrement) & 255u, difference + correction};
}

inline float Fade(EQuality quality, float t) {
    switch (quality) {
    case EQuality::kCubic: {
        const float square = t * t;
        const float twice = t + t;
        const float slope = 3.0f - twice;
        return square * slope;
    }
    case EQuality::kQuintic: {
        const float cube = t * (t * t);
        const float inner = t * 6.0f + -15.0f;
        const float outer = t * inner + 10.0f;
        return cube * outer;
    }
    case EQuality::kLinear:
        break;
    }
    return t;
}

inline float Lerp(float a, float b, float t) {
    const float difference = b - a;
    const float product = difference * t;
    return a + product;
}

template <typename TSplit = CCell (*)(float)>
inline float Sample(const float* B, EQuality quality, float position, TSplit split = Split) {
    const auto& P = Internal::kFastNoisePermutations;
    const CCell cell = split(position);
    const float c0 = B[P[cell.m_Coordinate]];
    const float c1 = B[P[cell.m_Coordinate + 1]];
    return Lerp(c0, c1, Fade(quality, cell.m_Fraction));
}

template <typename TSplit = CCell (*)(float)>
inline float Sample(const float* B, EQuality quality, const TVector<float, 2>& position,
                    TSplit split = Split) {
    const auto& P = Internal::kFastNoisePermutations;
    const CCell x = split(position.x);
    const CCell y = split(position.y);
    const float fx = Fade(quality, x.m_Fraction);
    const float fy = Fade(quality, y.m_Fraction);

    const uint32_t a = P[x.m_Coordinate] + y.m_Coordinate;
    const uint32_t b = P[x.m_Coordinate + 1] + y.m_Coordinate;
    const float r0 = Lerp(B[P[a]], B[P[b]], fx);
    const float r1 = Lerp(B[P[a + 1]], B[P[b + 1]], fx);
    return Lerp(r0, r1, fy);
}

template <typename TSplit = CCell (*)(float)>
inline float Sample(const float* B, EQuality quality, const TVector<float, 3>& position,
                    TSplit split = Split) {
    const auto& P = Internal::kFastNoisePermutations;
    const CCell x = split(position.x);
    const CCell y = split(position.y);
    const CCell z = split(position.z);
    const float fx = Fade(quality, x.m_Fraction);
    const float fy = Fade(quality, y.m_Fraction);
    const float fz = Fade(quality, z.m_Fraction);

    const uint32_t a = P[x.m_Coordinate] + y.m_Coordinate;
    const uint32_t b = P[x.m_Coordinate + 1] + y.m_Coordinate;
    const uint32_t aa = P[a] + z.m_Coordinate;
    const uint32_t ab = P[a + 1] + z.m_Coordinate;
    const uint32_t ba = P[b] + z.m_Coordinate;
    const uint32_t bb = P[b + 1] + z.m_Coordinate;

    const float below = Lerp(Lerp(B[aa], B[ba], fx), Lerp(B[ab], B[bb], fx), fy);
    const float above = Lerp(Lerp(B[aa + 1], B[ba + 1], fx), Lerp(B[ab + 1], B[bb + 1], fx), fy);
    return Lerp(below, above, fz);
}

template <typename TSplit = CCell (*)(float)>
inline float Sample(const float* B, EQuality quality, const TVector<float, 4>& position,
                    TSplit split = Split) {
    const auto& P = Internal::kFastNoisePermutations;
    const CCell x = split(position.x);
    const CCell y = split(position.y);
    const CCell z = split(position.z);
    const CCell w = split(position.w);
    const float fx = Fade(quality, x.m_Fraction);
    const float fy = Fade(quality, y.m_Fraction);
    const float fz = Fade(quality, z.m_Fraction);
    const float fw = Fade(quality, w.m_Fraction);

    const uint32_t a = P[x.m_Coordinate] + y.m_Coordinate;
    const uint32_t b = P[x.m_Coordinate + 1] + y.m_Coordinate;
    const uint32_t aa = P[a] + z.m_Coordinate;
    const uint32_t ab = P[a + 1] + z.m_Coordinate;
    const uint32_t ba = P[b] + z.m_Coordinate;
    const uint32_t bb = P[b + 1] + z.m_Coordinate;
    const uint32_t aaa = P[aa] + w.m_Coordinate;
    const uint32_t aab = P[aa + 1] + w.m_Coordinate;
    const uint32_t aba = P[ab] + w.m_Coordinate;
    const uint32_t abb = P[ab + 1] + w.m_Coordinate;
    const uint32_t baa = P[ba] + w.m_Coordinate;
    const uint32_t bab = P[ba + 1] + w.m_Coordinate;
    const uint32_t bba = P[bb] + w.m_Coordinate;
    const uint32_t bbb = P[bb + 1] + w.m_Coordinate;

    // The 3D blend on one side of w.
    const auto blend = [&](uint32_t side) {
        const float below =
            Lerp(Lerp(B[aaa + side], B[baa + side], fx), Lerp(B[aba + side], B[bba + side], fx), fy);
        const float above =
            Lerp(Lerp(B[aab + side], B[bab + side], fx), Lerp(B[abb + side], B[bbb + side], fx), fy);
        return Lerp(below, above, fz);
    };
    return Lerp(blend(0), blend(1), fw);
}

/// The expected sample of `sampler` for the position at `bytes`, at any alignment.
inline float Sample(const float* B, const CBatchSampler& sampler, const void* bytes) {
    TVector<float, 4> position = {};
    std::memcpy(&position, bytes, sampler.PositionSize());
    const auto& [x, y, z, w] = position;
    switch (sampler.m_Dimension) {
    case 1:
        return Sample(B, sampler.m_Quality, x);
    case 2:
        return Sample(B, sampler.m_Quality, TVector<float, 2>{x, y});
    case 3:
        return Sample(B, sampler.m_Quality, TVector<float, 3>{x, y, z});
    default:
        return Sample(B, sampler.m_Quality, position);
    }
}

/// The eight corners of a 3D cell: c[x][y][z].
struct CCorners {
    float c[2][2][2];
};

inline CCorners CornersOf(const float* B, uint32_t i, uint32_t j, uint32_t k) {
    const auto& P = Internal::kFastNoisePermutations;
    CCorners corners;
    for (uint32_t x = 0; x < 2; ++x) {
        for (uint32_t y = 0; y < 2; ++y) {
            for (uint32_t z = 0; z < 2; ++z) {
                corners.c[x][y][z] = B[P[P[i + x] + j + y] + k + z];
            }
        }
    }
    return corners;
}

/// The sample of `positions[index]` in the cell of `positions[0]`.
inline float SampleCoherent(const float* B, EQuality quality, const TVector<float, 3> (&positions)[4],
                            size_t index) {
    const TVector<float, 3>& first = positions[0];
    const TVector<float, 3>& position = positions[index];
    const CCell x = Split(first.x);
    const CCell y = Split(first.y);
    const CCell z = Split(first.z);
    const auto fraction = [&](float coordinate, float firstCoordinate, float firstFraction) {
        const float difference = coordinate - firstCoordinate;
        return index == 0 ? firstFraction : difference + firstFraction;
    };
    const float fx = Fade(quality, fraction(position.x, first.x, x.m_Fraction));
    const float fy = Fade(quality, fraction(position.y, first.y, y.m_Fraction));
    const float fz = Fade(quality, fraction(position.z, first.z, z.m_Fraction));
    const CCorners cell = CornersOf(B, x.m_Coordinate, y.m_Coordinate, z.m_Coordinate);
    const auto side = [&](int above) {
        return Lerp(Lerp(cell.c[0][0][above], cell.c[1][0][above], fx),
                    Lerp(cell.c[0][1][above], cell.c[1][1][above], fx), fy);
    };
    return Lerp(side(0), side(1), fz);
}

/// The derivative of Fade.
inline float Slope(EQuality quality, float t) {
    switch (quality) {
    case EQuality::kCubic: {
        const float q = t * 6.0f;
        const float product = t * q;
        return q - product;
    }
    case EQuality::kQuintic: {
        const float square = t * t;
        const float h = square * 30.0f;
        const float twice = t + t;
        const float bracket = square - twice;
        const float product = h * bracket;
        return h + product;
    }
    case EQuality::kLinear:
        break;
    }
    return 1.0f;
}

/// The gradient at a split position, with the order of summation of the batch or the single form.
inline TVector<float, 3> Gradient(const float* B, EQuality quality, bool isBatch,
                                  const TVector<float, 3>& fractions, uint32_t i, uint32_t j, uint32_t k) {
    const auto& c = CornersOf(B, i, j, k).c;
    const float dx = c[1][0][0] - c[0][0][0];
    const float dy = c[0][1][0] - c[0][0][0];
    const float dz = c[0][0][1] - c[0][0][0];
    const float exy = (c[1][1][0] - c[0][1][0]) - (c[1][0][0] - c[0][0][0]);
    const float eyz = (c[0][1][1] - c[0][0][1]) - (c[0][1][0] - c[0][0][0]);
    const float exz = (c[1][0][1] - c[1][0][0]) - (c[0][0][1] - c[0][0][0]);
    const float s =
        isBatch ? (c[0][0][0] - c[1][1][1]) +
                      ((c[1][0][1] - c[1][0][0]) + ((c[0][1][1] - c[0][0][1]) + (c[1][1][0] - c[0][1][0])))
                : ((c[0][0][0] - c[1][1][1]) + (c[1][1][0] - c[0][1][0])) +
                      ((c[0][1][1] - c[0][0][1]) + (c[1][0][1] - c[1][0][0]));
    const auto lane = [&](float d, float f1, float e1, float f2, float e2) {
        return isBatch ? (d + f1 * e1) + (f2 * e2 - f1 * (f2 * s))
                       : ((d + f1 * e1) + f2 * e2) - (f2 * f1) * s;
    };
    const float u = Fade(quality, fractions.x);
    const float v = Fade(quality, fractions.y);
    const float w = Fade(quality, fractions.z);
    return {Slope(quality, fractions.x) * lane(dx, v, exy, w, exz),
            Slope(quality, fractions.y) * lane(dy, w, eyz, u, exy),
            Slope(quality, fractions.z) * lane(dz, u, exz, v, eyz)};
}

inline TVector<float, 3> Gradient(const float* B, EQuality quality, bool isBatch, const CRecord& record) {
    const auto& [fractions, cell] = record;
    return Gradient(B, quality, isBatch, {fractions.x, fractions.y, fractions.z},
                    static_cast<uint32_t>(cell.x), static_cast<uint32_t>(cell.y),
                    static_cast<uint32_t>(cell.z));
}

/// The record of a position, with 0 for fourth components.
inline CRecord RecordOf(float x, float y, float z) {
    const CCell cells[] = {Split(x), Split(y), Split(z)};
    return {{cells[0].m_Fraction, cells[1].m_Fraction, cells[2].m_Fraction, 0.0f},
            {static_cast<int>(cells[0].m_Coordinate), static_cast<int>(cells[1].m_Coordinate),
             static_cast<int>(cells[2].m_Coordinate), 0}};
}

} // namespace Vestrel::Reference
