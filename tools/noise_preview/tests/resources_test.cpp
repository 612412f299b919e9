#include "noise_preview_run.h"

#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class NoisePreviewResources : public NoisePreview {
protected:
    /// The most memory that the program has had in use at one time, in MB.
    double PeakOf(const std::string& size, const std::string& name) const {
        const std::string output = (m_Folder / name).string();
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_RDWR);
            dup2(nowhere, STDOUT_FILENO);
            dup2(nowhere, STDERR_FILENO);
            execl(NOISE_PREVIEW, NOISE_PREVIEW, "--size", size.c_str(), "--output", output.c_str(), nullptr);
            _exit(127);
        }
        int status = 0;
        rusage usage = {};
        EXPECT_EQ(wait4(child, &status, 0, &usage), child);
        EXPECT_EQ(status, 0) << size << ", " << name;
        fs::remove(output);
        return static_cast<double>(usage.ru_maxrss) / 1024.0;
    }
};

TEST_F(NoisePreviewResources, MemoryDoesNotGrowWithThePicture) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers have memory of their own";
#endif
    for (const std::string name : {"a.npy", "a.raw", "a.exr", "a.png"}) {
        const double small = PeakOf("500x500", name);
        const double large = PeakOf("3000x3000", name); // 36 MB of floats
        EXPECT_LT(large, 60.0) << name;
        EXPECT_LT(large - small, 6.0) << name << ": " << small << " MB, then " << large;
    }
}

} // namespace
