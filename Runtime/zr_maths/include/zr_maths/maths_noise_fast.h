#pragma once

#include <zr_support/config.h>
#include <zr_support/floating_point_traits.h>
#include <zr_support/memory_view.h>
#include <zr_support/pair.h>
#include <zr_support/random_generator.h>
#include <zr_support/simd_float4.h>
#include <zr_support/std_random_generator.h>
#include <zr_support/vector.h>

/// The noise module and its support types.
namespace Vestrel {

/// Smooth, repeatable noise: a scalar field that blends 256 random values, spread over an integer lattice by
/// Ken Perlin's reference permutation ("Improving Noise", SIGGRAPH 2002). The field repeats every 256 cells
/// on each axis.
///
/// | quality | blend by | continuous |
/// |---|---|---|
/// | `Linear` | t | value; creases at the cell faces |
/// | `Cubic` | 3t^2 - 2t^3 | first derivative |
/// | `Quintic` | 6t^5 - 15t^4 + 10t^3 | second derivative |
///
/// All qualities agree at the lattice points; later ones cost more.
///
/// For coordinates in [-2^31, 2^31), linear and cubic samples lie in [-1, 1]. Quintic samples leave it by at
/// most 2.5e-6 per dimension, 1e-5 in 4D: as computed in floats, the quintic fade peaks at 1 + 1.07e-6.
///
/// ## Same bits
/// A position has one value: the same bits from every path of a sampler, on every platform, with every
/// supported compiler. Only the sign and payload of NaN are unspecified. This holds in the default
/// floating-point environment (round to nearest, denormals kept). A program linked with -ffast-math runs in
/// another one: denormals are flushed to 0.
///
/// ## Threads
/// Any number of samplers may run at once on one object.
///
/// The caller guarantees that construction, assignment, destruction and ResetSampler do not overlap any other
/// call on the same object.
///
/// ## Batch samplers
/// `SampleLinear1D` and its siblings write one float per position.
///
/// Output:
/// - The output view alone sets the number of samples; the count of the position view is never read.
/// - The output is `m_Count * m_Stride` bytes from its data pointer, a 32-bit product that wraps, with a
///   sample every `m_Stride` bytes. An output of 0 bytes writes nothing, whatever its pointer.
/// - A sample is 4 bytes. With a stride that is no multiple of 4, the last one may end up to 3 bytes behind
///   the output.
///
/// Fast path, if both pointers are multiples of 16 and the position stride is that of packed positions:
/// - It samples four positions at a time while at least 16 bytes of output remain.
/// - It writes packed floats and ignores the output stride: an output with a stride of 8 gets twice as many
///   samples, of as many consecutive positions.
/// - In 4D it samples single positions and needs only an aligned position pointer and a position stride of
///   16. It fills the output to its end with packed samples, whatever the alignment and stride of the output.
///   With an output stride of 0 it writes exactly one.
///
/// All other samples are written one at a time, from where the fast path stopped, at every output stride that
/// begins before the end of the output, with any alignment and any strides. A position stride of 0 means one
/// position for all samples.
///
/// Positions:
/// - Only the bytes of the positions themselves are read, nothing between or behind them.
/// - NaN in a position gives NaN for its sample and affects no other.
/// - From 2^31 on the cell stays at 255 and the fraction is the distance from 2^31 (below -2^31, 1 more than
///   the distance from -2^31). Samples there are useless and may be infinite or NaN, but are the same
///   everywhere.
///
/// The caller guarantees
/// - an output stride that is not 0: otherwise the call does not return, except on the fast path of 4D (debug
///   builds assert);
/// - that all bytes of the output may be written, including those between samples and behind the last one;
/// - 3 more writable bytes if the output stride is no multiple of 4;
/// - as many readable positions as samples are written;
/// - an output that does not overlap the object's own memory;
/// - an output that overlaps the positions only if both strides are at least 4 and no sample lies at a higher
///   address than its position: in place in 1D, or from the start of the positions.
///
/// Nothing is checked, reported or thrown.
///
/// ## Exception flags
/// Samplers may set
/// - FE_INEXACT;
/// - FE_UNDERFLOW, at fractions below 2^-12, or if values of the field or samples are tiny;
/// - FE_INVALID and FE_OVERFLOW, at coordinates that are NaN, infinite or outside [-2^31, 2^31).
///
/// They never set FE_DIVBYZERO and clear none. docs/guarantees.md lists all operations.
///
/// ## Processors
/// Long batches use the widest instructions that library and processor support: on x86-64 AVX2 or AVX-512
/// with VBMI, otherwise SSE2. Nothing above depends on that. The processor is queried once, by the first call
/// that needs to know. LimitInstructionSet (zr_support/instruction_set.h) restricts the choice.
class VESTREL_PUBLIC CFastNoise3 {
public:
    /// Draws the field from `generator`, borrowed for the call. With null, the field is unspecified until
    /// ResetSampler is called with a generator or a drawn object is assigned.
    explicit CFastNoise3(CAbstractRandomGenerator* generator);

    /// A deep copy: the same field in its own table.
    CFastNoise3(const CFastNoise3& other);

    /// Copies the other's field. Self-assignment changes nothing.
    CFastNoise3& operator=(const CFastNoise3& other);

    virtual ~CFastNoise3();

    /// Redraws the field from `generator`, borrowed for the call. With null, the field stays.
    virtual void ResetSampler(CAbstractRandomGenerator* generator);

    /// @{
    /// Samples the 1D field at coordinates in cells; see "Batch samplers" above.
    void SampleLinear1D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const float>& positions) const noexcept;
    void SampleCubic1D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const float>& positions) const noexcept;
    void SampleQuintic1D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const float>& positions) const noexcept;
    /// @}

    /// @{
    /// Samples the 2D field at positions in cells; see "Batch samplers" above.
    void SampleLinear2D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept;
    void SampleCubic2D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept;
    void SampleQuintic2D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept;
    /// @}

    /// @{
    /// Samples the 3D field at positions in cells; see "Batch samplers" above.
    void SampleLinear3D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept;
    void SampleCubic3D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept;
    void SampleQuintic3D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept;
    /// @}

    /// @{
    /// Samples the 4D field at positions in cells; see "Batch samplers" above.
    void SampleLinear4D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept;
    void SampleCubic4D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept;
    void SampleQuintic4D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept;
    /// @}

    /// @{
    /// The sample of the 3D field at `position`, in cells, with x, y and z in lanes 0 to 2: the bits of
    /// SampleLinear3D and its siblings.
    ///
    /// Lane 3 is ignored, here and in all operations below: it changes neither results nor time and raises no
    /// floating-point exception.
    float SampleLinear(SIMD_Neon::Float4 position) const noexcept;
    float SampleCubic(SIMD_Neon::Float4 position) const noexcept;
    float SampleQuintic(SIMD_Neon::Float4 position) const noexcept;
    /// @}

    /// @{
    /// The samples of the 3D field at four positions in one lattice cell, for about the price of two. Lane n
    /// is the sample of `positions[n]`, in cells, with x, y and z in lanes 0 to 2.
    ///
    /// Fractions are measured from the first position, so a sample differs from that of SampleLinear and its
    /// siblings where this rounds differently. Four copies of one finite position give its sample. A
    /// coordinate that is not finite spoils its own sample, in the first position all four.
    ///
    /// The caller guarantees
    /// - four readable values at `positions`;
    /// - positions in the cell of the first. Others get a continuation of that cell's blend beyond its faces,
    ///   which may leave [-1, 1].
    SIMD_Neon::Float4 CoherentSampleLinear(const SIMD_Neon::Float4* positions) const noexcept;
    SIMD_Neon::Float4 CoherentSampleCubic(const SIMD_Neon::Float4* positions) const noexcept;
    SIMD_Neon::Float4 CoherentSampleQuintic(const SIMD_Neon::Float4* positions) const noexcept;
    /// @}

    /// @{
    /// The gradient of the 3D field at `position`, in cells, with x, y and z in lanes 0 to 2: (d/dx, d/dy,
    /// d/dz, 0), in units of the field per cell. Linear gradients jump at the cell faces and are those of the
    /// cell above the face.
    ///
    /// For values in [-1, 1], each derivative is within 3e-6 (linear), 6e-6 (cubic) or 2.5e-5 (quintic) of
    /// the exact derivative of the blend. The errors are absolute; derivatives go up to 2, 3 and 3.75.
    SIMD_Neon::Float4 Sample1stOrderDerivativesLinear(SIMD_Neon::Float4 position) const noexcept;
    SIMD_Neon::Float4 Sample1stOrderDerivativesCubic(SIMD_Neon::Float4 position) const noexcept;
    SIMD_Neon::Float4 Sample1stOrderDerivativesQuintic(SIMD_Neon::Float4 position) const noexcept;
    /// @}

    /// @{
    /// The gradients of the 3D field at `cells.m_Count` positions that the caller has split: `first` holds
    /// the fractions of x, y and z, `second` the cell; fourth components are ignored. For x, and likewise for
    /// y and z:
    ///
    ///     const float floor = std::floor(x); // between -2^31 and 2^31
    ///     record.first.x = x - floor;        // 0 to 1, including 1 just below a whole number
    ///     record.second.x = static_cast<int>(floor) & 255;
    ///
    /// Gradient k is written to `output.m_Data[k]`, as (d/dx, d/dy, d/dz, 0); the count of the output is
    /// never read. An empty `cells` writes nothing, whatever the output. Both views may have any alignment of
    /// floats.
    ///
    /// The error bound is that of a single position, but bits differ: the order of summation is another. NaN
    /// as a fraction makes its gradient NaN on all axes (linear: on the two other axes, since a linear
    /// derivative does not depend on its own axis) and affects no other record.
    ///
    /// The caller guarantees
    /// - cells from 0 to 255, which index the tables unchecked;
    /// - room for `cells.m_Count` gradients;
    /// - that no gradient lies at a higher address than its record, if the two overlap.
    void
    Sample1stOrderDerivativesLinear(const TMemoryView<const TPair<TVector<float, 4>, TVector<int, 4>>>& cells,
                                    const TMemoryView<TVector<float, 4>>& output) const noexcept;
    void
    Sample1stOrderDerivativesCubic(const TMemoryView<const TPair<TVector<float, 4>, TVector<int, 4>>>& cells,
                                   const TMemoryView<TVector<float, 4>>& output) const noexcept;
    void Sample1stOrderDerivativesQuintic(
        const TMemoryView<const TPair<TVector<float, 4>, TVector<int, 4>>>& cells,
        const TMemoryView<TVector<float, 4>>& output) const noexcept;
    /// @}

protected:
    /// Redraws the basis as ResetSampler does, without a virtual call.
    void _ResetSampler(CAbstractRandomGenerator* generator);

    /// Repeats entries 0 to 255 of the basis from entry 256 on. Call it after every change of these.
    void _RefreshBasis();

    /// The basis: 513 floats, 32-byte aligned, owned, never null. Entries 0 to 255 are random values in [-1,
    /// 1]; 256 to 511 repeat them and 512 repeats entry 0, so that samplers need not wrap an index.
    float* m_Basis = nullptr;
};

/// An animated field. Each of its 256 random values is the sine of a phase that turns at its own speed,
/// around one turn per unit of time; RotateBasis sets the values for a given time, and all samplers see the
/// field of that time. Values stay within [-1, 1].
///
/// Half of the values start upward, half downward. The spin variation v spreads the speeds over (2 - v) / 2
/// to (2 + v) / 2 turns per unit of time. Without variation all speeds are equal: after n units of time every
/// value is as drawn, within 1e-6 * (n + 1).
///
/// Bits and threads are those of CFastNoise3; RotateBasis and SetSpinVariation must not overlap other calls
/// on the same object, either. A rotation allocates nothing and costs about as much as 60 samples in 3D, from
/// some 2500 turns on two to five times as much. A rotation to the current time costs nothing.
class VESTREL_PUBLIC CRotatableFastNoise3 : public CFastNoise3 {
public:
    /// Draws the field and then the speeds from `generator`, borrowed for the call, with a spin variation of
    /// 0.2. The field is at time 0, exactly as drawn. With null, the field is unspecified, as that of
    /// CFastNoise3, and all speeds are one turn per unit of time.
    explicit CRotatableFastNoise3(CAbstractRandomGenerator* generator);

    /// A deep copy of field and speeds. The field stays as last rotated, but the copy's time is 0: a rotation
    /// to time 0 does nothing until one to another time.
    CRotatableFastNoise3(const CRotatableFastNoise3& other);

    /// Copies the other's field and speeds, but keeps this object's time: a rotation to it does nothing until
    /// one to another time. Self-assignment changes nothing. Assignment through a reference to the base class
    /// copies the values of the field only; the next rotation restores this object's own.
    CRotatableFastNoise3& operator=(const CRotatableFastNoise3& other);

    ~CRotatableFastNoise3() override;

    /// Redraws the field and then the speeds from `generator`, borrowed for the call. With null, the current
    /// values of the field become those of time 0, and all speeds become equal. Spin variation and time stay:
    /// the field is as drawn until a rotation to another time.
    void ResetSampler(CAbstractRandomGenerator* generator) override;

    /// Spreads the speeds over another interval without redrawing; each keeps its relative place. Below 1e-5,
    /// all entries turn at exactly one turn per unit of time, until a variation of at least 1e-5 restores
    /// their speeds. Above 2, some entries turn backwards. The field changes at the next rotation to another
    /// time.
    ///
    /// Places are kept up to rounding: each call moves them by up to 1e-7 / v + 3e-7 of the interval's width.
    /// At 1e-5 this is 1 %, and speeds that become equal stay so.
    ///
    /// The caller guarantees
    /// - a variation of at most 5e37;
    /// - at most 3e38 times the previous variation of at least 1e-5 (initially 0.2).
    ///
    /// Otherwise speeds become infinite or NaN. To recover, set a variation of at most 5e37, then call
    /// ResetSampler with a generator.
    void SetSpinVariation(float variation) noexcept;

    /// Rotates the field to `time`, in units of about one turn. The result depends on the time only, not on
    /// previous rotations. A rotation back to time 0 gives the drawn values within 1e-6, not bit for bit.
    ///
    /// Each value is the sine, within 3.1e-7, of an angle in floats: its phase + `time` * its speed, with
    /// both operations rounded. With a spin variation of v (0 without any) the angle is within 4e-7 *
    /// (|`time`| * (2 + v) + 1) radians of the exact one. With v = 0.2 this is 1.3e-6 at time 1 and 9e-4 at
    /// time 1000; at 3.6 million it is half a turn, and the motion is lost.
    ///
    /// The caller guarantees |`time`| * (2 + v) <= 1e38. Otherwise angles may overflow, and their values are
    /// NaN until the next rotation, as all are if `time` is NaN.
    void RotateBasis(float time) noexcept;

protected:
    /// The phases: 769 floats, 32-byte aligned, owned, never null. Entries 0 to 255 are the angles of the
    /// basis at time 0, in radians, 256 to 511 the speeds; the others are spare.
    float* m_Phases = nullptr;

    /// Entry 256 of the phases: the speeds, in radians per unit of time.
    float* m_SpinSpeeds = nullptr;

    /// Whether all entries turn at one turn per unit of time, whatever their speeds.
    bool m_NoSpinVariation = false;

    /// Half the width of the interval of speeds, in units of pi.
    float m_SpinVariation = 0.2f;

    /// The time of the last rotation that changed the field.
    float m_LastTime = 0.0f;

private:
    /// Draws the speeds.
    void _ResetSampler(CAbstractRandomGenerator* generator);

    /// Computes the phases of the basis at time 0.
    void _RefreshFromBasis();
};

} // namespace Vestrel
