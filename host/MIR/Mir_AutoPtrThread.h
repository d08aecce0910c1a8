#pragma once

#include <HOST_Export.h>
#include <MIR/Mutex.h>

#include <memory>
#include <utility>

/// A shared pointer whose copies may live on different threads: every copy and every release happens under
/// one mutex that all copies share. It guards the count, not the object. An empty pointer shares nothing.
template <class T>
class HOST_TEMPLATE_API Mir_AutoPtrThread {
public:
    Mir_AutoPtrThread() = default;
    /// Takes ownership; null gives an empty pointer.
    explicit Mir_AutoPtrThread(T* object) {
        if (object == nullptr) return;
        // Until all three are there the object has an owner that an exception finds.
        std::unique_ptr<T> owned(object);
        std::unique_ptr<int> count(new int(1));
        std::unique_ptr<int> owns(new int(1));
        m_pMutex = new Mutex;
        m_pObject = owned.release();
        m_pCount = count.release();
        m_pOwns = owns.release();
    }
    Mir_AutoPtrThread(const Mir_AutoPtrThread& other) { share(other); }
    virtual ~Mir_AutoPtrThread() { release(); }

    Mir_AutoPtrThread& operator=(const Mir_AutoPtrThread& other) {
        if (this != &other && m_pCount != other.m_pCount) {
            // The new share is taken before the old one goes: the old object's end may reach back here.
            Mir_AutoPtrThread taken(other);
            swap(taken);
        }
        return *this;
    }

    T* get() const { return m_pObject; }
    T* operator->() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }
    explicit operator bool() const { return m_pObject != nullptr; }

    void swap(Mir_AutoPtrThread& other) noexcept {
        std::swap(m_pObject, other.m_pObject);
        std::swap(m_pCount, other.m_pCount);
        std::swap(m_pOwns, other.m_pOwns);
        std::swap(m_pMutex, other.m_pMutex);
    }

private:
    void share(const Mir_AutoPtrThread& other) {
        if (other.m_pMutex == nullptr) return;
        Sync_LockGuard guard(*other.m_pMutex, true);
        m_pObject = other.m_pObject;
        m_pCount = other.m_pCount;
        m_pOwns = other.m_pOwns;
        m_pMutex = other.m_pMutex;
        ++*m_pCount;
    }
    void release() {
        if (m_pMutex == nullptr) return;
        bool last = false;
        {
            Sync_LockGuard guard(*m_pMutex, true);
            last = --*m_pCount == 0;
            if (last) {
                if (*m_pOwns != 0) delete m_pObject;
                delete m_pCount;
                delete m_pOwns;
            }
        }
        if (last) delete m_pMutex;
        m_pObject = nullptr;
        m_pCount = nullptr;
        m_pOwns = nullptr;
        m_pMutex = nullptr;
    }

    T* m_pObject = nullptr;
    int* m_pCount = nullptr;
    int* m_pOwns = nullptr;
    Mutex* m_pMutex = nullptr;
};
