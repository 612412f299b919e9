#pragma once

// For tests that change which wide kernels the samplers use: those after them run with the kernels from
// before.

#include "wide/wide_kernels.h"

namespace Vestrel {

/// Makes all samplers use `kernels` as long as it lives.
class CChosenKernels {
public:
    explicit CChosenKernels(const Internal::CWideKernels& kernels) {
        Internal::ChooseWideKernels(kernels);
    }

    ~CChosenKernels() {
        Internal::ChooseWideKernels(m_Before);
    }

    CChosenKernels(const CChosenKernels&) = delete;
    CChosenKernels& operator=(const CChosenKernels&) = delete;

private:
    const Internal::CWideKernels& m_Before = Internal::WideKernels();
};

} // namespace Vestrel
