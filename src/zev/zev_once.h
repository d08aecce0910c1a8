#pragma once

#include <atomic>
#include <mutex>

namespace zev {

/// Runs something once per process. A run that throws counts: it is not tried again, unlike std::call_once.
/// Other threads that arrive while the first one runs wait for its end and see what it wrote. A call from
/// inside the run, on the same thread, returns at once: what the run is to write still has its start values.
class OnlyOnce {
public:
    template <class Action>
    void Run(Action action) {
        if (m_Finished.load(std::memory_order_acquire)) return;
        std::lock_guard<std::recursive_mutex> guard(m_Mutex);
        if (m_Tried) return;
        m_Tried = true;
        struct Finish {
            std::atomic<bool>& flag;
            ~Finish() { flag.store(true, std::memory_order_release); }
        } finish{m_Finished};
        action();
    }

private:
    std::recursive_mutex m_Mutex;
    bool m_Tried = false;
    std::atomic<bool> m_Finished{false};
};

}  // namespace zev
