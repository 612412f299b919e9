#pragma once

// Runs code that ends the program in a child process. GoogleTest's death tests would do, but always write to
// /tmp.

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Defined by the coverage runtime, null in other builds.
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

/// Saves coverage counts, which would be lost by these exits.
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
        std::signal(SIGABRT, _SaveCounts); // the process still aborts afterwards
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
