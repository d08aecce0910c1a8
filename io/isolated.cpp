#include "isolated.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>

namespace {

bool g_IsIsolated = false;

void limit(int resource, unsigned long long value) {
    rlimit now{};
    if (getrlimit(static_cast<__rlimit_resource>(resource), &now) != 0) return;
    const rlim_t wanted = static_cast<rlim_t>(value);
    if (now.rlim_max != RLIM_INFINITY && wanted > now.rlim_max) return;
    now.rlim_cur = wanted;
    setrlimit(static_cast<__rlimit_resource>(resource), &now);
}

bool write_all(int file, const char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(file, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

[[noreturn]] void run_child(const std::function<std::string()>& work, int answerPipe,
                            unsigned long long memoryLimit, unsigned secondsLimit) {
    BecomeIsolated(memoryLimit);
    limit(RLIMIT_CPU, secondsLimit);
    int status = 1;
    try {
        const std::string answer = work();
        if (write_all(answerPipe, answer.data(), answer.size())) status = 0;
    } catch (...) {
        status = 1;
    }
    // No destructors and no exit handlers: they belong to the parent.
    _exit(status);
}

}  // namespace

bool IsIsolated() { return g_IsIsolated; }

void BecomeIsolated(unsigned long long memoryLimit) {
    g_IsIsolated = true;
    // A decoder's abort must not reach the parent's handlers (a sanitizer's, a test runner's).
    for (int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(signal, SIG_DFL);
    // An interrupt ends it, also where the parent puts it off.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        if (nowhere > STDERR_FILENO) close(nowhere);
    }
    limit(RLIMIT_CORE, 0);
    AllowMemory(memoryLimit);
}

void AllowMemory(unsigned long long bytes) {
    // Address space is what can be limited. A sanitizer's shadow takes terabytes of it, so what is there is
    // counted first.
    unsigned long long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    if (pages > 0) limit(RLIMIT_AS, pages * static_cast<unsigned long long>(sysconf(_SC_PAGESIZE)) + bytes);
}

IsolatedResult RunIsolated(const std::function<std::string()>& work, unsigned long long memoryLimit,
                           unsigned secondsLimit) {
    if (IsIsolated()) {
        try {
            return {IsolatedResult::kDone, work()};
        } catch (...) {
            return {IsolatedResult::kDied, std::string()};
        }
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
    const pid_t child = fork();
    if (child < 0) {
        const int error = errno;
        close(ends[0]);
        close(ends[1]);
        throw std::runtime_error(std::string("fork: ") + std::strerror(error));
    }
    if (child == 0) {
        close(ends[0]);
        run_child(work, ends[1], memoryLimit, secondsLimit);
    }
    close(ends[1]);

    IsolatedResult result;
    bool lost = false;
    try {
        char block[65536];
        for (;;) {
            const ssize_t got = read(ends[0], block, sizeof block);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            result.answer.append(block, static_cast<std::size_t>(got));
        }
    } catch (const std::bad_alloc&) {
        lost = true;
    }
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (lost) throw std::bad_alloc();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        result.end = IsolatedResult::kDone;
    } else {
        result.answer.clear();
        const bool outOfTime =
            WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
        result.end = outOfTime ? IsolatedResult::kOutOfTime : IsolatedResult::kDied;
    }
    return result;
}
