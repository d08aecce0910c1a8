#include <MIR/Mutex.h>

Mutex_Base::~Mutex_Base() = default;

Mutex::Mutex() = default;
Mutex::~Mutex() = default;
void Mutex::lock() { m_Mutex.lock(); }
void Mutex::unlock() { m_Mutex.unlock(); }

Sync_LockGuard::Sync_LockGuard(Mutex_Base& mutex, bool lock) : m_pLocked(lock ? &mutex : nullptr) {
    if (m_pLocked != nullptr) m_pLocked->lock();
}

Sync_LockGuard::~Sync_LockGuard() {
    if (m_pLocked != nullptr) m_pLocked->unlock();
}
