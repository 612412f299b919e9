#include "noise_preview_run.h"

#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class NoisePreviewResources : public NoisePreview {
protected:
    void SetUp() override {
        NoisePreview::SetUp();
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "sanitizers have memory of their own";
#endif
    }

    /// Peak resident memory in MB.
    double PeakOf(const std::string& options, const std::string& name) const {
        const std::string output = (m_Folder / name).string();
        const std::string command =
            "exec '" NOISE_PREVIEW "' >/dev/null 2>&1 --output '" + output + "' --size " + options;
        const pid_t child = fork();
        if (child == 0) {
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        int status = 0;
        rusage usage = {};
        EXPECT_EQ(wait4(child, &status, 0, &usage), child);
        EXPECT_EQ(status, 0) << command;
        fs::remove(output);
        return static_cast<double>(usage.ru_maxrss) / 1024.0;
    }
};

TEST_F(NoisePreviewResources, MemoryDoesNotGrowWithThePicture) {
    for (const std::string name : {"a.npy", "a.raw", "a.exr", "a.png"}) {
        const double small = PeakOf("500x500", name);
        const double large = PeakOf("3000x3000", name); // 36 MB of floats
        EXPECT_LT(large, 60.0) << name;
        EXPECT_LT(large - small, 6.0) << name << ": " << small << " MB, then " << large;
    }
}

TEST_F(NoisePreviewResources, WideRowsTakeWhatTheyTakeOnce) {
    // Two million columns: a row has 8 MB of values, or 24 MB of gradients.
    for (const std::string name : {"a.npy", "a.raw"}) {
        EXPECT_LT(PeakOf("2000000x2", name), 20.0) << name;
    }
    EXPECT_LT(PeakOf("2000000x2", "a.exr"), 45.0);
    EXPECT_LT(PeakOf("2000000x2 --shade gradient", "a.exr"), 110.0);
}

TEST_F(NoisePreviewResources, MemoryDoesNotGrowWithTheLengthOfAnAnimation) {
    // Frames of about 30 KB each.
    const double shortest = PeakOf("300x300 --cells 40 --animate 0.2 --spin-variation 1", "a.webp");
    const double longest = PeakOf("300x300 --cells 40 --animate 12 --spin-variation 1", "a.webp");
    EXPECT_LT(longest - shortest, 3.0) << shortest << " MB, then " << longest;
}

} // namespace
