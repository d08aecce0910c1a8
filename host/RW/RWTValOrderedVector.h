#pragma once

#include <RW/RWBoundsErr.h>

#include <algorithm>
#include <cstddef>
#include <vector>

/// Values in the order of appending. An operation that finds no memory changes nothing.
template <class T>
class RWTValOrderedVector {
public:
    typedef typename std::vector<T>::iterator iterator;
    typedef typename std::vector<T>::const_iterator const_iterator;

    explicit RWTValOrderedVector(std::size_t capacity = 64) { m_Values.reserve(capacity); }

    std::size_t entries() const { return m_Values.size(); }
    std::size_t length() const { return m_Values.size(); }
    bool isEmpty() const { return m_Values.empty(); }

    /// The i-th value; raises `RWBoundsErr` when i is not below entries().
    T& at(std::size_t i) { return m_Values[checked(i)]; }
    const T& at(std::size_t i) const { return m_Values[checked(i)]; }
    T& operator[](std::size_t i) { return at(i); }
    const T& operator[](std::size_t i) const { return at(i); }
    T& first() { return at(0); }
    const T& first() const { return at(0); }
    T& last() { return at(entries() - 1); }
    const T& last() const { return at(entries() - 1); }
    /// The values as an array of entries() elements.
    const T* data() const { return m_Values.data(); }

    void append(const T& value) { m_Values.push_back(value); }
    void insert(const T& value) { m_Values.push_back(value); }
    /// Puts `value` in front of the i-th; raises `RWBoundsErr` when i is above entries().
    void insertAt(std::size_t i, const T& value) {
        if (i > entries()) RWThrowIndexError(i, entries());
        // Appended and moved to its place, so that a failing copy changes nothing.
        m_Values.push_back(value);
        std::rotate(m_Values.begin() + static_cast<std::ptrdiff_t>(i), m_Values.end() - 1, m_Values.end());
    }
    /// Takes the i-th value out, and those behind it close up.
    T removeAt(std::size_t i) {
        T value = at(i);
        m_Values.erase(m_Values.begin() + static_cast<std::ptrdiff_t>(i));
        return value;
    }
    void clear() { m_Values.clear(); }

    iterator begin() { return m_Values.begin(); }
    iterator end() { return m_Values.end(); }
    const_iterator begin() const { return m_Values.begin(); }
    const_iterator end() const { return m_Values.end(); }

private:
    std::size_t checked(std::size_t i) const {
        if (i >= entries()) RWThrowIndexError(i, entries());
        return i;
    }

    std::vector<T> m_Values;
};
