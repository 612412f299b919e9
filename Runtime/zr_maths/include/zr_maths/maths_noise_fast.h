#pragma once

#include <zr_support/config.h>
#include <zr_support/floating_point_traits.h>
#include <zr_support/memory_view.h>
#include <zr_support/pair.h>
#include <zr_support/random_generator.h>
#include <zr_support/simd_float4.h>
#include <zr_support/std_random_generator.h>
#include <zr_support/vector.h>

/// The noise module, and what it builds on.
namespace Vestrel {

/// Smooth, repeatable noise: a scalar field over space, blended between 256 random values that are spread
/// over an integer lattice. The field repeats every 256 cells on each axis. For coordinates between -2^31 and
/// 2^31, linear and cubic samples lie in [-1, 1], and quintic ones at most 2.5e-6 outside for each dimension,
/// 1e-5 in 4D: as computed in floats, the quintic fade peaks at 1 + 1.07e-6.
///
/// Samplers come in three qualities. `Linear` is continuous, with creases at the cell faces; `Cubic`
/// (3t^2 - 2t^3) has a continuous first derivative; `Quintic` (6t^5 - 15t^4 + 10t^3) a continuous second one.
/// They agree at the lattice points, and cost more in this order.
///
/// ## Same bits
/// A position has one value: the same bits from every path of a sampler, on every platform, with every
/// supported compiler. Only a sample that is not a number has an unspecified sign and payload. This holds in
/// the default floating-point environment (round to nearest, denormals kept), which a program loses that is
/// linked with -ffast-math: denormals are then 0.
///
/// ## Threads
/// Any number of samplers may run at once on one object. Construction, assignment, destruction and
/// ResetSampler must not overlap any other call on the same object; the caller sees to that.
///
/// ## Batch samplers
/// `SampleLinear1D` and its kind write one float per position:
/// - The output view alone says how many. The output is the `m_Count * m_Stride` bytes from its data pointer,
///   a 32-bit product that wraps, and holds a sample every `m_Stride` bytes. An output of 0 bytes writes
///   nothing, whatever its pointer. The count of the position view is never read.
/// - The fast path takes four positions at a time, as long as 16 bytes of output remain, if both pointers are
///   multiples of 16 and the position stride is that of packed positions. It writes packed floats and does
///   not look at the output stride: an output with a stride of 8 gets twice as many samples, of as many
///   consecutive positions. What remains goes one position at a time; so does everything else, with any
///   alignment and any stride, among them a position stride of 0, which means one position for all samples.
/// - One at a time, samples are written where the fast path has stopped (at the start, if it was not taken),
///   and at every stride from there that begins before the end of the output.
/// - A sample is 4 bytes, wherever it begins. With a stride that is no multiple of 4, the last one may
///   therefore end up to 3 bytes behind the output.
/// - Of the positions, their own bytes are read and no others: nothing between them, nothing behind the last.
/// - In 4D the fast path takes single positions: if the position pointer is a multiple of 16 and the position
///   stride is 16, it fills the output to its end with packed samples, whatever its alignment and stride.
///   With an output stride of 0 it writes exactly one.
/// - Not-a-number in a position gives a sample that is not a number and touches no other. From 2^31 on the
///   cell stays at 255 and the fraction is the distance from 2^31 (below -2^31, one more than that from
///   -2^31): samples there are of no use, and may be infinite or not a number, but are the same everywhere.
///
/// The caller guarantees:
/// - an output stride that is not 0 (with 0 a call would not return, the fast path of 4D aside; debug builds
///   assert);
/// - that all bytes of the output may be written, those between its elements and behind the last one too,
///   and 3 more where the stride is no multiple of 4;
/// - as many readable positions as samples are written;
/// - an output that does not overlap the object's own memory, and overlaps the positions only so that no
///   sample lies at a higher address than the position that it is made of, with strides of at least 4: in
///   place in 1D, or from the start of the positions on.
///
/// Nothing is checked, reported or thrown.
///
/// ## Exception flags
/// Samplers may set FE_INEXACT; FE_UNDERFLOW where a fraction is below 2^-12, or where values of the field or
/// samples are themselves tiny; FE_INVALID and FE_OVERFLOW at coordinates that are not numbers, infinite or
/// beyond +-2^31. They never set FE_DIVBYZERO and clear none. docs/guarantees.md has all operations.
///
/// ## Processors
/// Long runs are taken by the widest instructions that the library has for the processor: on x86-64 those of
/// AVX2 and of AVX-512 with VBMI, besides SSE2. Nothing above depends on them, neither the bits nor what is
/// read and written. Which the processor has is found out once, by the first call that asks.
/// LimitInstructionSet (zr_support/instruction_set.h) allows fewer.
class VESTREL_PUBLIC CFastNoise3 {
public:
    /// Draws the field from `generator`, which is borrowed for the call. With a null generator nothing is
    /// drawn: the field is unspecified until ResetSampler is called with a generator or a drawn object is
    /// assigned.
    explicit CFastNoise3(CAbstractRandomGenerator* generator);

    /// The same field, in a table of its own.
    CFastNoise3(const CFastNoise3& other);

    /// Takes over the other's field. Assignment of an object to itself changes nothing.
    CFastNoise3& operator=(const CFastNoise3& other);

    virtual ~CFastNoise3();

    /// Draws the field anew from `generator`, which is borrowed for the call. With a null generator the field
    /// stays as it is.
    virtual void ResetSampler(CAbstractRandomGenerator* generator);

    /// @{
    /// Samples the 1D field at coordinates in cells, in the quality of the name; see "Batch samplers" above.
    void SampleLinear1D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const float>& positions) const noexcept;
    void SampleCubic1D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const float>& positions) const noexcept;
    void SampleQuintic1D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const float>& positions) const noexcept;
    /// @}

    /// @{
    /// Samples the 2D field at positions in cells, in the quality of the name; see "Batch samplers" above.
    void SampleLinear2D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept;
    void SampleCubic2D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept;
    void SampleQuintic2D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const TVector<float, 2>>& positions) const noexcept;
    /// @}

    /// @{
    /// Samples the 3D field at positions in cells, in the quality of the name; see "Batch samplers" above.
    void SampleLinear3D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept;
    void SampleCubic3D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept;
    void SampleQuintic3D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const TVector<float, 3>>& positions) const noexcept;
    /// @}

    /// @{
    /// Samples the 4D field at positions in cells, in the quality of the name; see "Batch samplers" above.
    void SampleLinear4D(const TStridedMemoryView<float>& output,
                        const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept;
    void SampleCubic4D(const TStridedMemoryView<float>& output,
                       const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept;
    void SampleQuintic4D(const TStridedMemoryView<float>& output,
                         const TStridedMemoryView<const TVector<float, 4>>& positions) const noexcept;
    /// @}

    /// @{
    /// The sample of the 3D field at `position`, with x, y and z in lanes 0 to 2, bit for bit that of
    /// SampleLinear3D and its kind. Lane 3 is ignored: whatever it holds changes neither the sample nor the
    /// time that it takes, and raises no floating-point exception. So it is in all operations below.
    float SampleLinear(SIMD_Neon::Float4 position) const noexcept;
    float SampleCubic(SIMD_Neon::Float4 position) const noexcept;
    float SampleQuintic(SIMD_Neon::Float4 position) const noexcept;
    /// @}

    /// @{
    /// The samples of the 3D field at four positions close together, that of `positions[n]` in lane n, for
    /// about the price of two. `positions` points at four values, each with x, y and z in lanes 0 to 2; lane
    /// 3 is ignored.
    ///
    /// The caller guarantees that all four lie in the lattice cell of the first. One that does not is not
    /// moved to its own cell: its sample continues the blend of the first one's cell beyond its faces, and
    /// may leave [-1, 1]. Fractions are measured from the first position, so that a sample differs from that
    /// of SampleLinear and its kind where this rounds differently; four times the same finite position give
    /// the same bits. A coordinate that is not finite spoils the sample of its own position, in the first
    /// position all four.
    SIMD_Neon::Float4 CoherentSampleLinear(const SIMD_Neon::Float4* positions) const noexcept;
    SIMD_Neon::Float4 CoherentSampleCubic(const SIMD_Neon::Float4* positions) const noexcept;
    SIMD_Neon::Float4 CoherentSampleQuintic(const SIMD_Neon::Float4* positions) const noexcept;
    /// @}

    /// @{
    /// The gradient of the 3D field at `position`, with x, y and z in lanes 0 to 2; lane 3 is ignored. The
    /// derivatives along x, y and z, in units of the field per cell, stand in lanes 0 to 2; lane 3 is 0. In
    /// linear quality the gradient jumps at the cell faces, where it is that of the cell above the face.
    ///
    /// For values in [-1, 1] each derivative is within 3e-6 (linear), 6e-6 (cubic) or 2.5e-5 (quintic) of the
    /// exact derivative of the blend at that position. These errors are absolute, in the same units;
    /// derivatives themselves go up to 2, 3 and 3.75.
    SIMD_Neon::Float4 Sample1stOrderDerivativesLinear(SIMD_Neon::Float4 position) const noexcept;
    SIMD_Neon::Float4 Sample1stOrderDerivativesCubic(SIMD_Neon::Float4 position) const noexcept;
    SIMD_Neon::Float4 Sample1stOrderDerivativesQuintic(SIMD_Neon::Float4 position) const noexcept;
    /// @}

    /// @{
    /// The gradients of the 3D field at `cells.m_Count` positions that the caller has split: `first` holds
    /// the fractions of x, y and z, and `second` the cell; the fourth components are ignored. For x, and
    /// likewise for y and z:
    ///
    ///     const float floor = std::floor(x); // between -2^31 and 2^31
    ///     record.first.x = x - floor;        // 0 to 1; 1 itself, just below a whole number, is fine
    ///     record.second.x = static_cast<int>(floor) & 255;
    ///
    /// Gradient k is written to `output.m_Data[k]`, as (d/dx, d/dy, d/dz, 0); the count of the output is
    /// never read. It has the error bound of that of a single position, but not its bits: the terms are added
    /// in another order. Both views may have any alignment of floats. A fraction that is not a number makes
    /// its record's gradient not-a-number on all three axes, in linear quality on the two others (a linear
    /// derivative does not depend on its own axis), and touches no other record. No cells write nothing,
    /// whatever the output.
    ///
    /// The caller guarantees coordinates of cells in 0 to 255, which index the tables unchecked, room for as
    /// many gradients as there are cells, and that no gradient lies at a higher address than the record that
    /// it is made of, where the two overlap.
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
    /// What ResetSampler does to the basis, without the virtual call.
    void _ResetSampler(CAbstractRandomGenerator* generator);

    /// Repeats entries 0 to 255 of the basis in the entries from 256 on. To be called after every change of
    /// the former.
    void _RefreshBasis();

    /// The basis: 513 floats, 32-byte aligned, owned. Entries 0 to 255 are the random values in [-1, 1]; 256
    /// to 511 repeat them and 512 repeats entry 0, so that no sampler needs to wrap an index. Never null.
    float* m_Basis = nullptr;
};

/// A field that moves. Every one of its 256 random values is the sine of a phase, and turns at a speed of its
/// own, around one turn per unit of time; RotateBasis puts them where they are at a given time. All samplers
/// then see the field of that time. The 256 values stay within [-1, 1].
///
/// Half of the values start upward and half downward. How far the speeds differ is the spin variation v: they
/// are spread over (2 - v) / 2 to (2 + v) / 2 turns per unit of time. Without any, all turn at the same
/// speed: after n units of time every value is as drawn, within 1e-6 * (n + 1).
///
/// What CFastNoise3 says of bits and threads holds here: RotateBasis and SetSpinVariation, too, must not
/// overlap any other call on the same object. A rotation allocates nothing and costs about as much as 60
/// samples in 3D, beyond some 2500 turns two to five times as much; one to the time that the field is at
/// costs nothing.
class VESTREL_PUBLIC CRotatableFastNoise3 : public CFastNoise3 {
public:
    /// Draws the field and then the speeds from `generator`, which is borrowed for the call, with a spin
    /// variation of 0.2. The field is at time 0: exactly as drawn. With a null generator the field is
    /// unspecified, as that of CFastNoise3, and all speeds are one turn per unit of time.
    explicit CRotatableFastNoise3(CAbstractRandomGenerator* generator);

    /// The same field with the same speeds, in tables of its own. The field stays as it was last rotated, but
    /// the copy takes its time to be 0: a rotation to time 0 does nothing before one to another time.
    CRotatableFastNoise3(const CRotatableFastNoise3& other);

    /// Takes over the other's field and speeds, but not its time: a rotation to the time that this object was
    /// last rotated to does nothing before one to another time. Assignment of an object to itself changes
    /// nothing. Assignment through a reference to the base class takes over the values of the field alone;
    /// the next rotation brings back this object's own.
    CRotatableFastNoise3& operator=(const CRotatableFastNoise3& other);

    ~CRotatableFastNoise3() override;

    /// Draws the field and then the speeds anew from `generator`, which is borrowed for the call. With a null
    /// generator the values of the field stay as they are, become those of time 0, and turn at one speed. The
    /// spin variation stays, and so does the time: the field is exactly as drawn until it is rotated to
    /// another time than the last.
    void ResetSampler(CAbstractRandomGenerator* generator) override;

    /// Spreads the speeds over another interval, each keeping its place within; nothing is drawn. Below 1e-5,
    /// all entries turn at exactly one turn per unit of time, until a greater variation brings back the
    /// spread of speeds. Above 2 some entries turn backwards. The field changes at the next rotation to
    /// another time.
    ///
    /// Places are kept up to rounding: each call moves them by up to 1e-7 / v + 3e-7 of the interval's width.
    /// That is 1 % at 1e-5, where speeds merge for good.
    ///
    /// The caller guarantees
    /// - a variation of at most 5e37;
    /// - that it is at most 3e38 times the last one from 1e-5 on (at first that is 0.2).
    ///
    /// Otherwise speeds become infinite or not-a-number. To recover, set a variation of at most 5e37, then
    /// call ResetSampler with a generator.
    void SetSpinVariation(float variation) noexcept;

    /// Brings the field to `time`, counted from 0 and in units of about one turn. It depends on the time
    /// alone, not on the rotations before. A rotation back to time 0 gives the values as they were drawn
    /// within 1e-6, not bit for bit.
    ///
    /// Each value is the sine, within 3.1e-7, of an angle in floats: its phase + `time` * its speed, with
    /// both operations rounded. With a spin variation of v (0 without any) the angle is within 4e-7 *
    /// (|`time`| * (2 + v) + 1) radians of the exact one. With v = 0.2 that is 1.3e-6 at time 1, 9e-4 at time
    /// 1000, and half a turn at 3.6 million, where nothing of the motion is left.
    ///
    /// The caller guarantees |`time`| * (2 + v) <= 1e38. Beyond, angles may overflow; their values, like all
    /// at a time that is not a number, are not-a-number until the next rotation.
    void RotateBasis(float time) noexcept;

protected:
    /// The phases: 769 floats, 32-byte aligned, owned. Entries 0 to 255 are the angles of the basis at time 0
    /// in radians, 256 to 511 are the speeds; the others are spare. Never null.
    float* m_Phases = nullptr;

    /// Entry 256 of the phases: speeds in radians per unit of time.
    float* m_SpinSpeeds = nullptr;

    /// Whether all entries turn at the same speed, whatever theirs are.
    bool m_NoSpinVariation = false;

    /// Half the width of the speeds' interval, in units of pi.
    float m_SpinVariation = 0.2f;

    /// The time of the last rotation that did anything.
    float m_LastTime = 0.0f;

private:
    /// Draws the speeds.
    void _ResetSampler(CAbstractRandomGenerator* generator);

    /// Finds the phases that the basis has at time 0.
    void _RefreshFromBasis();
};

} // namespace Vestrel
