#include "noise_preview_run.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <regex.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// POSIX, as g++ 12 warns of std::regex under sanitizers.
bool Matches(const std::string& text, const char* pattern) {
    regex_t regex;
    const bool isValid = regcomp(&regex, pattern, REG_EXTENDED | REG_NOSUB) == 0;
    const bool isMatch = isValid && regexec(&regex, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&regex);
    return isMatch;
}

TEST_F(NoisePreview, FilesThatCannotBeWrittenAreNamed) {
    fs::create_directory(m_Folder / "folder");
    ExpectFailure("--output folder", "folder' cannot be written: it is a folder; with a / at the end");
    ExpectFailure("--output missing/field.png",
                  "'missing/field.png' cannot be written: there is no such folder");
    ExpectFailure("--output /dev/full", "'/dev/full' cannot be written: it is not a file");
    // A folder that takes no files, from root either.
    ExpectFailure("--output /proc/self/field.png", "'/proc/self/field.png' cannot be written: ");
    fs::create_symlink("loop", m_Folder / "loop");
    ExpectFailure("--output loop", "'loop' cannot be written: Too many levels of symbolic links");
    std::ofstream(m_Folder / "file") << "precious";
    ExpectFailure("--output file/field.png", "'file/field.png' cannot be written: Not a directory");
    ExpectFailure("--output \"$(printf 'folder\\033[31m\\n/none/a.png')\"",
                  "'folder?[31m?/none/a.png' cannot be written: ");
}

TEST_F(NoisePreview, NamesThatCannotBeAreRefusedBeforeTheWork) {
    const CResult result = Run("--output " + std::string(300, 'x'));
    EXPECT_EQ(result.m_ExitCode, 1);
    EXPECT_NE(result.m_Errors.find("cannot be written: File name too long"), std::string::npos);
    EXPECT_EQ(result.m_Errors.find("drawing"), std::string::npos) << result.m_Errors;
}

const std::string kAllNames[] = {"a.png", "a.exr", "a.npy", "a.raw", "a.webp"};

std::string OptionsFor(const std::string& name) {
    return (name == "a.webp" ? "--animate 60 --fps 100 --size 900x900 --output " : "--output ") + name;
}

TEST_F(NoisePreview, AFailedRunKeepsTheFileThatIsThere) {
    for (const std::string& name : kAllNames) {
        // No file may exceed 4 blocks, as on a full disk.
        for (const std::string content : {"precious", ""}) {
            ExpectFailure("--size 500x500 " + OptionsFor(name),
                          "'" + name + "' cannot be written: File too large", "ulimit -f 4 && exec");
            std::ofstream(m_Folder / name) << "precious";
        }
    }
    // Noticed at the last bytes.
    for (const std::string name : {"b.exr", "b.npy", "b.raw", "b.png"}) {
        ExpectFailure("--size 40x40 --output " + name, "'" + name + "' cannot be written",
                      "ulimit -f 1 && exec");
    }
}

TEST_F(NoisePreview, OutputThatHasNoRoomIsRefusedBeforeAnythingIsWritten) {
    struct statvfs system = {};
    ASSERT_EQ(statvfs(m_Folder.c_str(), &system), 0);
    const uint64_t byteCount = uint64_t{system.f_blocks} * system.f_frsize;
    const std::string size =
        "--size 4294967295x" + std::to_string(byteCount / (4294967295u * uint64_t{4}) + 1);
    for (const std::string options :
         {"--output a.npy", "--output a.raw", "--shade gradient --output a.npy"}) {
        const CResult result = Run(size + " " + options);
        EXPECT_EQ(result.m_ExitCode, 1) << options;
        EXPECT_TRUE(Matches(result.m_Errors, "^noise_preview: 'a\\.(npy|raw)' cannot be written: it takes "
                                             "[0-9.]+ MB, and there are [0-9.]+ MB left on its file "
                                             "system\n$"))
            << result.m_Errors;
        EXPECT_TRUE(Files().empty());
    }
    ExpectFailure(size + " --format npy --output -", "left for temporary files (TMPDIR)",
                  "TMPDIR='" + m_Folder.string() + "' exec");
}

/// Shell code that runs the program as the shell's own process, and sends it `signal` once it has opened its
/// temporary file.
std::string Interrupted(const fs::path& folder, int signal) {
    return "{ until ls -l /proc/$$/fd | grep -q '" + folder.string() + "/'; do sleep 0.02; done; kill -" +
           std::to_string(signal) + " $$; } & exec";
}

/// Without /proc, temporary files have names, as on file systems that lack unnamed ones.
const std::string kWithoutProc = " unshare -rm sh -c 'mount -t tmpfs none /proc && exec \"$0\" \"$@\"'";

TEST_F(NoisePreview, AnInterruptedRunLeavesNothingBehind) {
    const int folder = open(m_Folder.c_str(), O_TMPFILE | O_RDWR, 0600);
    const bool hasUnnamedFiles = folder >= 0;
    close(folder);
    std::ofstream(m_Folder / "a.png") << "precious";
    const auto filesBefore = Files();
    for (const std::string& name : kAllNames) {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGKILL}) {
            if (signal != SIGKILL || hasUnnamedFiles) {
                const CResult result =
                    Run("--size 20000x10000 " + OptionsFor(name), Interrupted(m_Folder, signal));
                EXPECT_EQ(result.m_ExitCode, -signal) << result.m_Errors;
                EXPECT_TRUE(Files() == filesBefore) << name << ": signal " << signal << " left something";
            }
        }
    }
}

TEST_F(NoisePreview, NamedTemporaryFilesAreReplacedOrRemoved) {
    if (Run("--version", "exec" + kWithoutProc).m_ExitCode != 0) {
        GTEST_SKIP() << "this user cannot hide /proc";
    }
    for (const std::string width : {"10", "20"}) { // a new file, and one that is there
        ASSERT_EQ(Run("--size " + width + "x10 --output a.png", "exec" + kWithoutProc).m_ExitCode, 0);
        EXPECT_EQ(std::to_string(ReadPng(m_Folder / "a.png").m_Width), width);
    }
    EXPECT_EQ(Run("--size 10x10 --format raw --output -", "exec" + kWithoutProc).m_Output.size(), 528u);
    const auto filesBefore = Files();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const CResult result =
            Run("--size 20000x10000 --output a.png", Interrupted(m_Folder, signal) + kWithoutProc);
        EXPECT_EQ(result.m_ExitCode, -signal) << result.m_Errors;
        EXPECT_TRUE(Files() == filesBefore) << "signal " << signal << " left something";
    }
}

/// At any time between its start and the first rows.
TEST_F(NoisePreview, ARunThatIsInterruptedAtOnceLeavesNothingBehind) {
    for (const std::string& output : {(m_Folder / "field.png").string(), std::string("-")}) {
        for (int k = 0; k < 300; ++k) {
            const pid_t child = fork();
            if (child == 0) {
                setenv("TMPDIR", m_Folder.c_str(), 1);
                const int nowhere = open("/dev/null", O_RDWR);
                dup2(nowhere, STDOUT_FILENO);
                dup2(nowhere, STDERR_FILENO);
                execl(NOISE_PREVIEW, NOISE_PREVIEW, "--size", "20000x20000", "--output", output.c_str(),
                      nullptr);
                _exit(127);
            }
            usleep(static_cast<useconds_t>(500 + 20 * k));
            kill(child, k % 2 == 0 ? SIGTERM : SIGINT);
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_TRUE(WIFSIGNALED(status)) << output << ", run " << k;
            ASSERT_TRUE(Files().empty()) << output << ", run " << k << " left something behind";
        }
    }
}

TEST_F(NoisePreview, LongWorkTellsItsRateAndTheTimeLeft) {
    const CResult result = Run("--size 20000x20000 --output field.png",
                               "{ until grep -q left '" + m_Folder.string() +
                                   ".errors'; do sleep 0.1; done; kill -INT $$; } & exec");
    EXPECT_EQ(result.m_ExitCode, -SIGINT) << result.m_Errors;
    EXPECT_TRUE(Matches(result.m_Errors, "drawing (25|50|75) %, [0-9.]+( thousand| million)? pixels/s, "
                                         "([0-9]+ min )?[0-9]+ s left\n"))
        << result.m_Errors;
}

TEST_F(NoisePreview, ASuccessfulRunReplacesTheFileThatIsThere) {
    std::ofstream(m_Folder / "field.png") << "old";
    fs::permissions(m_Folder / "field.png", static_cast<fs::perms>(0600));
    fs::create_symlink("field.png", m_Folder / "link.png");
    ASSERT_EQ(Run("--size 10x10 --output link.png").m_ExitCode, 0);
    EXPECT_TRUE(fs::is_symlink(m_Folder / "link.png"));
    EXPECT_EQ(ReadPng(m_Folder / "field.png").m_Width, 10u);
    EXPECT_EQ(static_cast<unsigned>(fs::status(m_Folder / "field.png").permissions()), 0600u);
    EXPECT_EQ(Files().size(), 2u);
}

TEST_F(NoisePreview, ALinkToNothingIsFollowed) {
    fs::create_symlink("field.png", m_Folder / "link.png");
    ASSERT_EQ(Run("--size 10x10 --output link.png").m_ExitCode, 0);
    EXPECT_TRUE(fs::is_symlink(m_Folder / "link.png"));
    EXPECT_EQ(ReadPng(m_Folder / "field.png").m_Width, 10u);
}

TEST_F(NoisePreview, AFailedRunLeavesALinkToNothing) {
    fs::create_symlink("field.png", m_Folder / "link.png");
    ExpectFailure("--size 500x500 --output link.png", "'link.png' cannot be written: File too large",
                  "ulimit -f 4 && exec");
    fs::create_symlink("none/field.png", m_Folder / "astray.png");
    ExpectFailure("--output astray.png", "'astray.png' cannot be written: there is no such folder");
}

TEST_F(NoisePreview, LinksLeadToFiles) {
    fs::create_directory(m_Folder / "folder");
    ASSERT_EQ(mkfifo((m_Folder / "pipe").c_str(), 0600), 0);
    fs::create_symlink("folder", m_Folder / "to_folder");
    fs::create_symlink("pipe", m_Folder / "to_pipe");
    fs::create_symlink("/dev/null", m_Folder / "to_device");
    ExpectFailure("--output to_folder", "'to_folder' cannot be written: it is a folder; with a / at the end");
    ExpectFailure("--output to_pipe", "'to_pipe' cannot be written: it is not a file");
    ExpectFailure("--output to_device", "'to_device' cannot be written: it is not a file");
}

TEST_F(NoisePreview, AFileWithoutANameIsRefused) {
    ExpectFailure("--output /proc/self/fd/3", "cannot be written: the file behind the link has no name",
                  "exec 3>gone && rm gone && exec");
}

/// A link of somebody else's in a folder for everybody, such as /tmp, may be a trap. Whether it is followed
/// is for the kernel to say (fs.protected_symlinks).
TEST_F(NoisePreview, LinksOfOthersAreFollowedWhereTheKernelFollowsThem) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a link of somebody else's";
    }
    constexpr uid_t kNobody = 65534;
    const fs::path folder = m_Folder / "for_everybody";
    fs::create_directory(folder);
    ASSERT_EQ(chmod(folder.c_str(), 01777), 0);
    for (const bool exists : {true, false}) {
        const fs::path target = m_Folder / (exists ? "there.png" : "missing.png");
        const fs::path link = folder / (exists ? "a.png" : "b.png");
        fs::create_symlink(target, link);
        ASSERT_EQ(lchown(link.c_str(), kNobody, kNobody), 0);
        const int descriptor = open(link.c_str(), O_WRONLY | O_CREAT, 0600);
        const bool isRefused = descriptor < 0 && errno == EACCES;
        ASSERT_TRUE(descriptor >= 0 || isRefused) << std::strerror(errno);
        close(descriptor);
        fs::remove(target);
        if (exists) {
            std::ofstream(target) << "precious";
        }
        if (isRefused) {
            ExpectFailure("--size 10x10 --output '" + link.string() + "'",
                          "cannot be written: Permission denied");
            EXPECT_EQ(ReadFile(target), exists ? "precious" : "");
        } else {
            ASSERT_EQ(Run("--size 10x10 --output '" + link.string() + "'").m_ExitCode, 0);
            EXPECT_EQ(ReadPng(target).m_Width, 10u);
        }
        EXPECT_EQ(fs::exists(target), exists || !isRefused);
        EXPECT_TRUE(fs::is_symlink(link));
    }
}

/// On a file system of its own, on which the kernel follows no link.
TEST_F(NoisePreview, LinksThatTheKernelDoesNotFollowAreRefused) {
    const std::string mount = "unshare -rm sh -c 'mount -t tmpfs -o nosymfollow none . && cd \"$PWD\" && ";
    if (Run("", mount + "ln -s a b && ! echo >b' #").m_ExitCode != 0) {
        GTEST_SKIP() << "there is no file system on which links are not followed";
    }
    for (const std::string before : {"echo precious >field.png", ":"}) {
        const CResult result =
            Run("--size 10x10 --output link.png", mount + before +
                                                      " && ln -s field.png link.png && { \"$0\" \"$@\"; "
                                                      "echo $? $(ls -A) $(cat field.png); }'");
        const bool exists = before != ":";
        EXPECT_EQ(result.m_Output, exists ? "1 field.png link.png precious\n" : "1 link.png\n");
        EXPECT_NE(result.m_Errors.find("Too many levels of symbolic links"), std::string::npos)
            << result.m_Errors;
    }
}

TEST_F(NoisePreview, PermissionsAreKeptButNotThoseThatLendTheOwners) {
    for (const mode_t mode : {04777u, 02755u, 01644u, 06755u}) {
        std::ofstream(m_Folder / "field.png") << "old";
        ASSERT_EQ(chmod((m_Folder / "field.png").c_str(), mode), 0);
        ASSERT_EQ(Run("--size 10x10 --output field.png").m_ExitCode, 0);
        EXPECT_EQ(static_cast<unsigned>(fs::status(m_Folder / "field.png").permissions()), mode & 0777)
            << std::oct << mode;
    }
}

TEST_F(NoisePreview, NewFilesHaveTheUsualPermissions) {
    ASSERT_EQ(Run("--size 10x10 --output a.png", "umask 027 && exec").m_ExitCode, 0);
    EXPECT_EQ(static_cast<unsigned>(fs::status(m_Folder / "a.png").permissions()), 0640u);
}

TEST_F(NoisePreview, LongNamesAreFine) {
    const std::string name = std::string(251, 'x') + ".png";
    ASSERT_EQ(Run("--size 10x10 --output " + name).m_ExitCode, 0);
    EXPECT_EQ(ReadPng(m_Folder / name).m_Width, 10u);
}

TEST_F(NoisePreview, IgnoredSignalsStayIgnored) {
    // The shell becomes the program, and keeps its number.
    const CResult result =
        Run("--size 8000x4000 --output a.png", "trap '' HUP; { sleep 0.1; kill -HUP $$; } & exec");
    EXPECT_EQ(result.m_ExitCode, 0) << result.m_Errors;
    EXPECT_EQ(ReadPng(m_Folder / "a.png").m_Width, 8000u);
}

} // namespace
