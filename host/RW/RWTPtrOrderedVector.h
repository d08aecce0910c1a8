#pragma once

#include <RW/RWBoundsErr.h>

#include <cstddef>
#include <vector>

/// Pointers in the order of appending. Owns nothing until clearAndDestroy. An operation that finds no memory
/// changes nothing: the pointer is still its caller's.
template <class T>
class RWTPtrOrderedVector {
public:
    typedef typename std::vector<T*>::iterator iterator;
    typedef typename std::vector<T*>::const_iterator const_iterator;

    explicit RWTPtrOrderedVector(std::size_t capacity = 64) { m_Pointers.reserve(capacity); }

    std::size_t entries() const { return m_Pointers.size(); }
    std::size_t length() const { return m_Pointers.size(); }
    bool isEmpty() const { return m_Pointers.empty(); }

    /// The i-th pointer; raises `RWBoundsErr` when i is not below entries().
    T*& at(std::size_t i) { return m_Pointers[checked(i)]; }
    T* at(std::size_t i) const { return m_Pointers[checked(i)]; }
    T*& operator[](std::size_t i) { return at(i); }
    T* operator[](std::size_t i) const { return at(i); }
    T* first() const { return at(0); }
    T* last() const { return at(entries() - 1); }
    /// The pointers as an array of entries() elements.
    T* const* data() const { return m_Pointers.data(); }

    void append(T* pointer) { m_Pointers.push_back(pointer); }
    void insert(T* pointer) { m_Pointers.push_back(pointer); }
    /// Puts `pointer` in front of the i-th; raises `RWBoundsErr` when i is above entries().
    void insertAt(std::size_t i, T* pointer) {
        if (i > entries()) RWThrowIndexError(i, entries());
        m_Pointers.insert(m_Pointers.begin() + static_cast<std::ptrdiff_t>(i), pointer);
    }
    /// Takes the i-th pointer out, and those behind it close up. The object behind it is left alone.
    T* removeAt(std::size_t i) {
        T* pointer = at(i);
        m_Pointers.erase(m_Pointers.begin() + static_cast<std::ptrdiff_t>(i));
        return pointer;
    }
    void clear() { m_Pointers.clear(); }
    /// Deletes every object and empties the list.
    void clearAndDestroy() {
        std::vector<T*> owned;
        owned.swap(m_Pointers);
        for (T* pointer : owned) delete pointer;
    }

    iterator begin() { return m_Pointers.begin(); }
    iterator end() { return m_Pointers.end(); }
    const_iterator begin() const { return m_Pointers.begin(); }
    const_iterator end() const { return m_Pointers.end(); }

private:
    std::size_t checked(std::size_t i) const {
        if (i >= entries()) RWThrowIndexError(i, entries());
        return i;
    }

    std::vector<T*> m_Pointers;
};
