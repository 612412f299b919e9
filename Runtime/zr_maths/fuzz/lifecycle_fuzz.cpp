// Runs programs of a few objects of both classes that are constructed, copied, assigned, redrawn, rotated,
// sampled and destroyed in any order. After every step, all tables must have the bits of a plain model, and
// only the expected blocks may be allocated.

#include "fuzz_target.h"
#include "lifecycle_model.h"
#include "noise_reference.h"

#include <zr_support/mem_alloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

namespace Vestrel::Fuzz {

namespace {

constexpr uint64_t kBasisBytes = 2052;
constexpr uint64_t kPhasesBytes = 3076;

// This program's own allocator fills fresh blocks and knows which ones are in use.

bool s_IsFilling = false;
uint32_t s_AllocationCount = 0;
void* s_Blocks[16] = {};

/// The byte that fills block `number`, different for consecutive blocks: floats from 0x38383838, about
/// 0.00004, to 0x3F3F3F3F, about 0.75.
int PatternOf(uint32_t number) {
    return static_cast<int>(0x38 + number % 8);
}

void ForgetBlocks() {
    s_AllocationCount = 0;
    std::fill(std::begin(s_Blocks), std::end(s_Blocks), nullptr);
}

ptrdiff_t BlockCount() {
    return std::count_if(std::begin(s_Blocks), std::end(s_Blocks),
                         [](void* block) { return block != nullptr; });
}

} // namespace

} // namespace Vestrel::Fuzz

namespace Vestrel::Mem {

void* _RawAlloc(uint64_t size, uint32_t alignment, EAllocType type, EOrigin origin) {
    using namespace Fuzz;
    if ((size != kBasisBytes && size != kPhasesBytes) || alignment != 32 ||
        static_cast<uint32_t>(type) != 0 || static_cast<uint32_t>(origin) != 0) {
        Fail("unexpected allocation of %llu bytes, aligned to %u", static_cast<unsigned long long>(size),
             alignment);
    }
    void* block = nullptr;
    void** const place = std::find(std::begin(s_Blocks), std::end(s_Blocks), nullptr);
    if (place == std::end(s_Blocks) || posix_memalign(&block, alignment, static_cast<size_t>(size)) != 0) {
        Fail("more blocks are in use than all objects need");
    }
    *place = block;
    if (s_IsFilling) {
        std::memset(block, PatternOf(s_AllocationCount), static_cast<size_t>(size));
    }
    ++s_AllocationCount;
    return block;
}

void _RawFree(void* ptr, EAllocType type, EOrigin origin) {
    using namespace Fuzz;
    void** const place = std::find(std::begin(s_Blocks), std::end(s_Blocks), ptr);
    if (ptr == nullptr || place == std::end(s_Blocks) || static_cast<uint32_t>(type) != 0 ||
        static_cast<uint32_t>(origin) != 0) {
        Fail("freed a block that is not in use");
    }
    *place = nullptr;
    std::free(ptr);
}

} // namespace Vestrel::Mem

namespace Vestrel::Fuzz {

namespace {

/// Fails unless the table has the bits of the model's, with one canonical NaN; then copies it to the model.
void ExpectTable(const float* actual, float* expected, size_t count, const char* what) {
    if (std::memcmp(actual, expected, count * sizeof(float)) == 0) {
        return;
    }
    for (size_t k = 0; k < count; ++k) {
        ExpectSameBits(actual[k], expected[k], what, k);
    }
    std::memcpy(expected, actual, count * sizeof(float));
}

/// Accesses the basis of any object.
class COpenBasis : public CFastNoise3 {
public:
    static float* Of(const CFastNoise3& noise) {
        return noise.*&COpenBasis::m_Basis;
    }
};

/// An object, of one of two classes, and its model.
struct CObject {
    std::unique_ptr<CFastNoise3> m_Noise; // destroyed through the base class
    CModel m_Model;

    COpenRotatable& Rotatable() {
        return static_cast<COpenRotatable&>(*m_Noise);
    }

    float* Basis() {
        return COpenBasis::Of(*m_Noise);
    }

    void Check() {
        if (m_Model.m_IsBasisKnown) {
            ExpectTable(Basis(), m_Model.m_Basis, 513, "basis entry");
        }
        if (!m_Model.m_IsRotatable) {
            return;
        }
        const COpenRotatable& noise = Rotatable();
        if (m_Model.m_ArePhasesKnown) {
            ExpectTable(noise.m_Phases, m_Model.m_Phases, 256, "phase");
        }
        ExpectTable(noise.m_SpinSpeeds, m_Model.Speeds(), 256, "speed");
        if (m_Model.m_IsSpareKnown) {
            ExpectTable(noise.m_Phases + 512, m_Model.m_Phases + 512, 257, "spare entry");
        }
        ExpectSameBits(noise.m_SpinVariation, m_Model.m_SpinVariation, "the spin variation", 0);
        ExpectSameBits(noise.m_LastTime, m_Model.m_LastTime, "the last time", 0);
        if (noise.m_NoSpinVariation != m_Model.m_NoSpinVariation) {
            Fail("m_NoSpinVariation is %d, expected %d", noise.m_NoSpinVariation, m_Model.m_NoSpinVariation);
        }
        if (noise.m_SpinSpeeds != noise.m_Phases + 256) {
            Fail("the speeds do not follow the phases");
        }
    }
};

/// Generators in the same state for the object and its model, or null for both.
class CTwoGenerators {
public:
    explicit CTwoGenerators(CInput& input) : m_IsNull(input.OnceIn(4)) {
        const uint32_t seed = input.Byte();
        m_ForObject = m_ForModel = CSeededGenerator(seed);
        Print(m_IsNull ? "no generator\n" : "generator %u\n", seed);
    }

    CAbstractRandomGenerator* ForObject() {
        return m_IsNull ? nullptr : &m_ForObject;
    }

    CAbstractRandomGenerator* ForModel() {
        return m_IsNull ? nullptr : &m_ForModel;
    }

private:
    bool m_IsNull;
    CSeededGenerator m_ForObject{0};
    CSeededGenerator m_ForModel{0};
};

void Construct(CInput& input, CObject& object) {
    const bool isRotatable = input.OnceIn(2);
    Print("  constructed, %s, from ", isRotatable ? "rotatable" : "plain");
    CTwoGenerators generators(input);
    object.m_Noise.reset();
    const uint32_t block = s_AllocationCount;
    if (isRotatable) {
        object.m_Noise = std::make_unique<COpenRotatable>(generators.ForObject());
    } else {
        object.m_Noise = std::make_unique<CFastNoise3>(generators.ForObject());
    }
    object.m_Model.Construct(isRotatable, generators.ForModel(), s_IsFilling, PatternOf(block),
                             PatternOf(block + 1));
}

/// Copies the other object, or only its base class.
void CopyConstruct(CInput& input, CObject& object, CObject& other) {
    const bool isRotatable = other.m_Model.m_IsRotatable && !input.OnceIn(4);
    Print("  constructed as a %s copy\n", isRotatable ? "rotatable" : "plain");
    if (&object == &other) {
        return;
    }
    object.m_Noise.reset();
    object.m_Model.m_IsRotatable = isRotatable;
    object.m_Model.CopyBasis(other.m_Model);
    if (isRotatable) {
        object.m_Noise = std::make_unique<COpenRotatable>(other.Rotatable());
        object.m_Model.CopyPhases(other.m_Model);
        object.m_Model.m_LastTime = 0.0f;
    } else {
        object.m_Noise = std::make_unique<CFastNoise3>(*other.m_Noise);
    }
}

void Assign(CInput& input, CObject& object, CObject& other) {
    const bool isWhole = object.m_Model.m_IsRotatable && other.m_Model.m_IsRotatable && !input.OnceIn(4);
    Print("  assigned%s\n", isWhole ? ", as a rotatable one" : ", through the base class");
    object.m_Model.CopyBasis(other.m_Model);
    if (isWhole) {
        object.m_Model.CopyPhases(other.m_Model);
        if (&(object.Rotatable() = other.Rotatable()) != &object.Rotatable()) {
            Fail("the assignment returns another object");
        }
    } else if (&(*object.m_Noise = *other.m_Noise) != object.m_Noise.get()) {
        Fail("the assignment gives another object");
    }
}

void Reset(CInput& input, CObject& object) {
    Print("  reset with ");
    CTwoGenerators generators(input);
    object.m_Noise->ResetSampler(generators.ForObject());
    object.m_Model.Reset(generators.ForModel());
}

/// Changes an entry of the basis from outside and resets without a generator, which wraps it.
void WriteAndWrap(CInput& input, CObject& object) {
    const size_t entry = input.Byte();
    const float value = input.OnceIn(8) ? input.Coordinate() : static_cast<float>(input.Byte()) / 255.0f;
    Print("  entry %zu set to %a, and reset without a generator\n", entry, static_cast<double>(value));
    object.Basis()[entry] = object.m_Model.m_Basis[entry] = value;
    object.m_Noise->ResetSampler(nullptr);
    object.m_Model.Reset(nullptr);
}

void Rotate(CInput& input, CObject& object) {
    const uint32_t kind = input.Below(4);
    const float time = kind == 3   ? object.m_Model.m_LastTime
                       : kind == 2 ? input.Coordinate()
                                   : static_cast<float>(input.Byte()) * 0.125f - 8.0f;
    Print("  rotated to %a\n", static_cast<double>(time));
    // The sine stream branches on the angles, so they must be initialised.
    if (object.m_Model.m_ArePhasesKnown) {
        object.Rotatable().RotateBasis(time);
        object.m_Model.Rotate(time);
    }
}

void SetSpinVariation(CInput& input, CObject& object) {
    constexpr float kVariations[] = {0.0f, 1e-5f, 0.99e-5f, -1.0f, 0.2f, 0.4f, 1.0f, 3.0f};
    const float variation = input.OnceIn(8) ? input.Coordinate() : kVariations[input.Below(8)];
    Print("  spin variation %a\n", static_cast<double>(variation));
    object.Rotatable().SetSpinVariation(variation);
    object.m_Model.SetSpinVariation(variation);
}

/// Samples; the samples of undrawn tables are not checked.
void Sample(CInput& input, CObject& object) {
    float positions[5];
    for (float& position : positions) {
        position = input.Coordinate();
    }
    Print("  sampled from %a on\n", static_cast<double>(positions[0]));
    float samples[5];
    object.m_Noise->SampleCubic1D({samples, 5, 4}, {positions, 5, 4});
    const float sample =
        object.m_Noise->SampleQuintic(SIMD_Neon::Float4(positions[0], positions[1], positions[2], 0.0f));
    if (!object.m_Model.m_IsBasisKnown) {
        return;
    }
    for (size_t k = 0; k < 5; ++k) {
        ExpectSameBits(samples[k], Reference::Sample(object.m_Model.m_Basis, EQuality::kCubic, positions[k]),
                       "sample", k);
    }
    ExpectSameBits(sample,
                   Reference::Sample(object.m_Model.m_Basis, EQuality::kQuintic,
                                     TVector<float, 3>{positions[0], positions[1], positions[2]}),
                   "3D sample", 0);
}

/// One step with `object`, and with `other` if it needs two.
void Step(CInput& input, CObject& object, CObject& other) {
    const uint32_t kind = input.Below(9);
    if (kind == 0 || object.m_Noise == nullptr) {
        return kind == 1 && other.m_Noise != nullptr ? CopyConstruct(input, object, other)
                                                     : Construct(input, object);
    }
    const uint32_t count = s_AllocationCount;
    switch (kind) {
    case 1:
        if (other.m_Noise != nullptr) {
            return CopyConstruct(input, object, other);
        }
        break;
    case 2:
    case 3:
        if (other.m_Noise != nullptr) {
            Assign(input, object, other);
        }
        break;
    case 4:
        Reset(input, object);
        break;
    case 5:
        WriteAndWrap(input, object);
        break;
    case 6:
        Sample(input, object);
        break;
    case 7:
        if (object.m_Model.m_IsRotatable) {
            Rotate(input, object);
        }
        break;
    default:
        if (object.m_Model.m_IsRotatable) {
            SetSpinVariation(input, object);
        } else {
            Print("  destroyed\n");
            object.m_Noise.reset();
        }
        break;
    }
    if (s_AllocationCount != count) {
        Fail("this step must not allocate");
    }
}

} // namespace

void RunInput(CInput& input) {
    ForgetBlocks();
    s_IsFilling = !input.OnceIn(4);
    Print("fresh blocks are %s\n", s_IsFilling ? "filled" : "left as they are");
    constexpr int kMaxSteps = 24;
    CObject objects[3];
    for (int step = 0; step < kMaxSteps && (step == 0 || !input.IsAtEnd()); ++step) {
        const uint32_t which = input.Below(9);
        Print("step %d: object %u, the other one %u\n", step, which % 3, which / 3);
        Step(input, objects[which % 3], objects[which / 3]);
        ptrdiff_t blocks = 0;
        for (CObject& object : objects) {
            if (object.m_Noise != nullptr) {
                object.Check();
                blocks += object.m_Model.m_IsRotatable ? 2 : 1;
            }
        }
        if (blocks != BlockCount()) {
            Fail("%td blocks are in use, expected %td", BlockCount(), blocks);
        }
    }
    for (CObject& object : objects) {
        object.m_Noise.reset();
    }
    if (BlockCount() != 0) {
        Fail("%td blocks are in use at the end", BlockCount());
    }
}

} // namespace Vestrel::Fuzz
