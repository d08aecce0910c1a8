#include "worker_pool.h"

#include <malloc.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "channel.h"

namespace {

constexpr int kPollMilliseconds = 100;
/// In place of a length: the request is done.
constexpr std::uint64_t kDone = UINT64_MAX;

/// From here on, so much more.
void allow_seconds(unsigned seconds) {
    rusage used{};
    rlimit now{};
    if (getrusage(RUSAGE_SELF, &used) != 0 || getrlimit(RLIMIT_CPU, &now) != 0) return;
    now.rlim_cur = static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) + seconds + 1;
    if (now.rlim_max != RLIM_INFINITY) now.rlim_cur = std::min(now.rlim_cur, now.rlim_max);
    setrlimit(RLIMIT_CPU, &now);
}

/// One request needs the buffers of the one before: giving them back between the two costs more than most of
/// the work, in page faults.
void keep_freed_memory() {
#ifdef __GLIBC__
    constexpr int kKept = 64 << 20;
    mallopt(M_MMAP_THRESHOLD, kKept);
    mallopt(M_TRIM_THRESHOLD, 4 * kKept);
#endif
}

}  // namespace

WorkerPool::WorkerPool(int workers, Work work, Limits limits)
    : m_Work(std::move(work)), m_Limits(limits), m_Workers(static_cast<std::size_t>(workers)) {
    try {
        for (Worker& worker : m_Workers) start(worker);
    } catch (const std::runtime_error&) {
        // Fewer are better than none.
        const auto isMissing = [](const Worker& worker) { return worker.process < 0; };
        m_Workers.erase(std::find_if(m_Workers.begin(), m_Workers.end(), isMissing), m_Workers.end());
        if (m_Workers.empty()) throw;
    }
}

WorkerPool::~WorkerPool() {
    for (Worker& worker : m_Workers) {
        if (worker.process < 0) continue;
        kill(worker.process, SIGKILL);
        end(worker);
    }
}

void WorkerPool::start(Worker& worker) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error(std::string("no channel to a worker: ") + std::strerror(errno));
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        const int error = errno;
        close(ends[0]), close(ends[1]);
        throw std::runtime_error(std::string("no worker can be started: ") + std::strerror(error));
    }
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(1);
        // The other workers' channels must close when the parent does.
        for (const Worker& other : m_Workers) {
            if (other.channel >= 0) close(other.channel);
        }
        close(ends[0]);
        serve(ends[1]);
    }
    close(ends[1]);
    worker = Worker();
    worker.process = child;
    worker.channel = ends[0];
}

void WorkerPool::serve(int channel) const {
    BecomeIsolated(m_Limits.memory);
    keep_freed_memory();
    // An interrupt from the terminal reaches every process of the group; the parent decides what becomes of
    // it.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    int status = 0;
    try {
        for (std::string request; ReceiveText(channel, &request);) {
            allow_seconds(m_Limits.seconds);
            m_Work(request, [&](const std::string& answer) {
                if (!SendText(channel, answer)) _exit(1);
                allow_seconds(m_Limits.seconds);
            });
            if (!SendAll(channel, &kDone, sizeof kDone)) break;
        }
    } catch (...) {
        status = 1;
    }
    _exit(status);
}

IsolatedResult::End WorkerPool::end(Worker& worker) {
    close(worker.channel);
    int status = 0;
    while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) continue;
    worker = Worker();
    if (!WIFSIGNALED(status)) return IsolatedResult::kDied;
    if (WTERMSIG(status) == SIGXCPU) return IsolatedResult::kOutOfTime;
    return WTERMSIG(status) == SIGKILL ? IsolatedResult::kKilled : IsolatedResult::kDied;
}

void WorkerPool::give(Worker& worker, const Events& events) {
    std::optional<std::string> request = events.next();
    if (!request) return;
    if (worker.process < 0) start(worker);
    worker.request = std::move(*request);
    worker.isBusy = true;
    // A worker that is gone is noticed when its channel is read.
    SendText(worker.channel, worker.request);
}

/// What has come. False at the end of the channel.
bool WorkerPool::read(Worker& worker, const Events& events) {
    char block[65536];
    const ssize_t got = recv(worker.channel, block, sizeof block, MSG_DONTWAIT);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return true;
    if (got <= 0) return false;
    worker.received.append(block, static_cast<std::size_t>(got));
    std::size_t at = 0;
    for (std::uint64_t size = 0; worker.received.size() - at >= sizeof size;) {
        std::memcpy(&size, worker.received.data() + at, sizeof size);
        if (size == kDone) {
            worker.isBusy = false;
            at += sizeof size;
            continue;
        }
        if (worker.received.size() - at - sizeof size < size) break;
        events.answered(worker.request, worker.received.substr(at + sizeof size, size));
        at += sizeof size + size;
    }
    worker.received.erase(0, at);
    return true;
}

void WorkerPool::Run(const Events& events) {
    for (bool isGoingOn = true;;) {
        std::vector<pollfd> channels;
        for (Worker& worker : m_Workers) {
            if (isGoingOn && !worker.isBusy) give(worker, events);
            channels.push_back({worker.isBusy ? worker.channel : -1, POLLIN, 0});
        }
        const bool isBusy =
            std::any_of(m_Workers.begin(), m_Workers.end(), [](const Worker& w) { return w.isBusy; });
        if (!isBusy) return;
        poll(channels.data(), channels.size(), kPollMilliseconds);
        for (std::size_t i = 0; i < m_Workers.size(); ++i) {
            Worker& worker = m_Workers[i];
            if (channels[i].revents == 0 || read(worker, events)) continue;
            const std::string request = worker.request;
            events.lost(request, end(worker));
        }
        isGoingOn = events.goOn();
    }
}
