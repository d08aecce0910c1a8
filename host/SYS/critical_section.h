#pragma once

#include <HOST_Export.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <mutex>
#endif

/// A recursive lock: the thread that holds it may enter again, and leaves as often as it entered.
/// Has the names that std::lock_guard asks for.
class critical_section {
public:
#if defined(_WIN32)
    critical_section() { InitializeCriticalSection(&m_Section); }
    ~critical_section() { DeleteCriticalSection(&m_Section); }
    void lock() { EnterCriticalSection(&m_Section); }
    bool try_lock() { return TryEnterCriticalSection(&m_Section) != 0; }
    void unlock() { LeaveCriticalSection(&m_Section); }
#else
    critical_section() = default;
    void lock() { m_Section.lock(); }
    bool try_lock() { return m_Section.try_lock(); }
    void unlock() { m_Section.unlock(); }
#endif
    critical_section(const critical_section&) = delete;
    critical_section& operator=(const critical_section&) = delete;

private:
#if defined(_WIN32)
    CRITICAL_SECTION m_Section;
#else
    std::recursive_mutex m_Section;
#endif
};
