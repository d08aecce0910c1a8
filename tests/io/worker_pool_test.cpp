#include "io/worker_pool.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <map>

namespace {

/// "spin" runs for ever, "abort" ends the child, "late" after an answer; anything else is answered with
/// itself.
void work(const std::string& request, const WorkerPool::Answer& answer) {
    if (request == "late") answer("early");
    if (request == "late" || request == "abort") std::abort();
    if (request == "throw") throw std::runtime_error("thrown");
    for (volatile bool isSpinning = request == "spin"; isSpinning;) continue;
    answer(request);
    answer("");
}

struct Outcome {
    std::map<std::string, std::string> answers;  ///< of each request, with a bar behind each
    std::map<std::string, IsolatedResult::End> lost;
};

Outcome run(int workers, const std::vector<std::string>& requests, std::size_t most = SIZE_MAX) {
    WorkerPool pool(workers, work, {std::uint64_t{1} << 30, 1});
    Outcome result;
    std::size_t given = 0;
    WorkerPool::Events events;
    events.next = [&]() -> std::optional<std::string> {
        if (given == requests.size()) return std::nullopt;
        return requests[given++];
    };
    events.answered = [&](const std::string& request, const std::string& answer) {
        result.answers[request] += answer + "|";
    };
    events.lost = [&](const std::string& request, IsolatedResult::End end) { result.lost[request] = end; };
    events.goOn = [&] { return given < most; };
    pool.Run(events);
    return result;
}

TEST(WorkerPool, ARequestThatEndsItsWorkerCostsItselfAlone) {
    const std::string large(3000000, 'x');
    const std::vector<std::string> requests = {"a", "abort", "spin", "b", "late", "throw", large, "c", ""};
    for (const int workers : {1, 4}) {
        SCOPED_TRACE(workers);
        const Outcome result = run(workers, requests);
        EXPECT_EQ(result.answers, (std::map<std::string, std::string>{{"a", "a||"},
                                                                      {"b", "b||"},
                                                                      {"c", "c||"},
                                                                      {"", "||"},
                                                                      {"late", "early|"},
                                                                      {large, large + "||"}}));
        EXPECT_EQ(result.lost,
                  (std::map<std::string, IsolatedResult::End>{{"abort", IsolatedResult::kDied},
                                                              {"late", IsolatedResult::kDied},
                                                              {"throw", IsolatedResult::kDied},
                                                              {"spin", IsolatedResult::kOutOfTime}}));
    }
}

TEST(WorkerPool, FewerWorkersAreBetterThanNone) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const int next = dup(0);
    close(next);
    rlimit few = before;
    few.rlim_cur = static_cast<rlim_t>(next) + 8;
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(run(16, {"a", "b", "c", "d"}).answers.size(), 4U);
    setrlimit(RLIMIT_NOFILE, &before);
}

TEST(WorkerPool, EndsEarlyWithWhatWasBegun) {
    std::vector<std::string> requests;
    for (int i = 0; i < 100; ++i) requests.push_back(std::to_string(i));
    EXPECT_EQ(run(2, requests).answers.size(), 100U);
    const Outcome cut = run(2, requests, 1);
    EXPECT_EQ(cut.answers.size(), 2U);
    EXPECT_TRUE(cut.lost.empty());
}

}  // namespace
