#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "isolated.h"

/// Child processes that work on one request after the other. A request that ends its child costs itself
/// alone: a new child takes the place.
///
///     WorkerPool pool(4, work, limits);
///     pool.Run(events);
///
/// Children are copies of this process as it is when they are started: what the work reads should be there by
/// then. Their standard output and error are discarded. They end with this process.
class WorkerPool {
public:
    using Answer = std::function<void(const std::string&)>;
    /// Runs in a child; may answer any number of times. An exception ends the child.
    using Work = std::function<void(const std::string& request, const Answer& answer)>;

    struct Limits {
        unsigned long long memory;  ///< bytes beyond what a child begins with
        unsigned seconds;           ///< CPU time from one answer to the next
    };

    /// What Run calls, in this process.
    struct Events {
        /// The next request; nothing when there is none left.
        std::function<std::optional<std::string>()> next;
        std::function<void(const std::string& request, const std::string& answer)> answered;
        /// The child is gone, with whatever of the request was not answered yet.
        std::function<void(const std::string& request, IsolatedResult::End end)> lost;
        /// At least ten times a second. False ends the run when the requests that are being worked on are
        /// done.
        std::function<bool()> goOn;
    };

    /// Starts the children. Throws std::runtime_error when none can be started.
    WorkerPool(int workers, Work work, Limits limits);
    /// Ends the children at once.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Returns when all requests are done.
    void Run(const Events& events);

private:
    struct Worker {
        pid_t process = -1;
        int channel = -1;
        bool isBusy = false;
        std::string request;
        std::string received;
    };

    void start(Worker& worker);
    IsolatedResult::End end(Worker& worker);
    void give(Worker& worker, const Events& events);
    bool read(Worker& worker, const Events& events);
    [[noreturn]] void serve(int channel) const;

    Work m_Work;
    Limits m_Limits;
    std::vector<Worker> m_Workers;
};
