#pragma once

#include <HOST_Export.h>

#include <mutex>

class HOST_API Mutex_Base {
public:
    virtual ~Mutex_Base();
    virtual void lock() = 0;
    virtual void unlock() = 0;
};

/// A mutex that is not recursive.
class HOST_API Mutex : public Mutex_Base {
public:
    Mutex();
    ~Mutex() override;
    void lock() override;
    void unlock() override;

private:
    std::mutex m_Mutex;
};

/// Holds a mutex for its own lifetime; with false it holds nothing.
class HOST_API Sync_LockGuard {
public:
    Sync_LockGuard(Mutex_Base& mutex, bool lock);
    ~Sync_LockGuard();
    Sync_LockGuard(const Sync_LockGuard&) = delete;
    Sync_LockGuard& operator=(const Sync_LockGuard&) = delete;

private:
    Mutex_Base* m_pLocked;
};
