#pragma once

#include <HOST_Export.h>

/// The ring of holders that share one object of type T. Not for use across threads.
template <class T>
class HOST_TEMPLATE_API Mir_AutoPtrBasicType {
public:
    Mir_AutoPtrBasicType() : m_pObject(nullptr), m_pNext(this), m_pPrevious(this), m_NoDelete(0) {}
    explicit Mir_AutoPtrBasicType(T* object)
        : m_pObject(object), m_pNext(this), m_pPrevious(this), m_NoDelete(0) {}
    Mir_AutoPtrBasicType(const Mir_AutoPtrBasicType& other) : Mir_AutoPtrBasicType() { join(other); }
    virtual ~Mir_AutoPtrBasicType() { leave(); }

    Mir_AutoPtrBasicType& operator=(const Mir_AutoPtrBasicType& other) {
        if (this != &other && !shares_ring_with(other)) {
            leave();
            join(other);
        }
        return *this;
    }
    /// Takes ownership of `object`; null empties the holder. The object already held stays as it is.
    Mir_AutoPtrBasicType& operator=(T* object) {
        if (object != m_pObject) {
            leave();
            m_pObject = object;
        }
        return *this;
    }

    T* get() const { return m_pObject; }
    T* operator->() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }
    explicit operator bool() const { return m_pObject != nullptr; }
    bool operator==(const Mir_AutoPtrBasicType& other) const { return m_pObject == other.m_pObject; }
    bool operator!=(const Mir_AutoPtrBasicType& other) const { return m_pObject != other.m_pObject; }

    /// With true, no holder of the ring will delete the object.
    void SetNoDelete(bool noDelete) {
        const Mir_AutoPtrBasicType* holder = this;
        do {
            holder->m_NoDelete = noDelete ? 1 : 0;
            holder = holder->m_pNext;
        } while (holder != this);
    }

private:
    bool shares_ring_with(const Mir_AutoPtrBasicType& other) const {
        for (const Mir_AutoPtrBasicType* holder = m_pNext; holder != this; holder = holder->m_pNext) {
            if (holder == &other) return true;
        }
        return false;
    }
    void join(const Mir_AutoPtrBasicType& other) {
        m_pObject = other.m_pObject;
        m_NoDelete = other.m_NoDelete;
        if (m_pObject == nullptr) return;
        m_pPrevious = &other;
        m_pNext = other.m_pNext;
        other.m_pNext->m_pPrevious = this;
        other.m_pNext = this;
    }
    void leave() {
        if (m_pNext == this) {
            T* last = m_NoDelete == 1 ? nullptr : m_pObject;
            m_pObject = nullptr;
            delete last;
        } else {
            m_pNext->m_pPrevious = m_pPrevious;
            m_pPrevious->m_pNext = m_pNext;
            m_pNext = m_pPrevious = this;
            m_pObject = nullptr;
        }
        m_NoDelete = 0;
    }

    T* m_pObject;
    // A copy links itself beside its source, so the links of a const source move.
    mutable const Mir_AutoPtrBasicType* m_pNext;
    mutable const Mir_AutoPtrBasicType* m_pPrevious;
    mutable int m_NoDelete;
};

/// An owning pointer: the holders of one object form a ring, and the last one deletes it.
template <class T>
class HOST_TEMPLATE_API Mir_AutoPtr : public Mir_AutoPtrBasicType<T> {
public:
    using Mir_AutoPtrBasicType<T>::Mir_AutoPtrBasicType;
    using Mir_AutoPtrBasicType<T>::operator=;
};
