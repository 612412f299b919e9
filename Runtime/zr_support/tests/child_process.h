#pragma once

// Runs what ends a program in a child process. GoogleTest's own death tests would do, but write to /tmp
// whatever folder for temporary files they are given.

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Of the library that counts for coverage what is run, and not there in other builds.
extern "C" [[gnu::weak]] void __gcov_dump();

namespace Vestrel {

struct CChildResult {
    int m_Status;
    std::string m_Errors; // what the child wrote to standard error

    bool HasExitedWith(int code) const {
        return WIFEXITED(m_Status) && WEXITSTATUS(m_Status) == code;
    }

    bool WasKilledBy(int signal) const {
        return WIFSIGNALED(m_Status) && WTERMSIG(m_Status) == signal;
    }
};

/// Saves what was counted for coverage, which ends as these children do would lose.
inline void _SaveCounts(int = 0) {
    if (__gcov_dump != nullptr) {
        __gcov_dump();
    }
}

/// Makes the call in a child, which exits with 0 if the call returns.
template <typename TCall>
CChildResult RunInChild(const TCall& call) {
    std::fflush(nullptr);
    int ends[2];
    if (pipe(ends) != 0) {
        return {-1, "no pipe"};
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        std::signal(SIGABRT, _SaveCounts); // after which it aborts all the same
        call();
        _SaveCounts();
        _exit(0);
    }
    close(ends[1]);
    CChildResult result = {-1, ""};
    char buffer[4096];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof(buffer))) > 0;) {
        result.m_Errors.append(buffer, static_cast<size_t>(count));
    }
    close(ends[0]);
    waitpid(child, &result.m_Status, 0);
    return result;
}

} // namespace Vestrel
