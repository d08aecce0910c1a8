#pragma once

#include <atomic>
#include <mutex>

namespace zev {

/// Runs something once per process. A run that throws counts: it is not tried again, unlike std::call_once.
/// Callers that arrive while the first one runs wait for its end.
class OnlyOnce {
public:
    template <class Action>
    void Run(Action action) {
        if (m_Finished.load(std::memory_order_acquire)) return;
        std::lock_guard<std::mutex> guard(m_Mutex);
        if (m_Tried) return;
        m_Tried = true;
        struct Finish {
            std::atomic<bool>& flag;
            ~Finish() { flag.store(true, std::memory_order_release); }
        } finish{m_Finished};
        action();
    }

private:
    std::mutex m_Mutex;
    bool m_Tried = false;
    std::atomic<bool> m_Finished{false};
};

}  // namespace zev
