#pragma once

#include <RW/RWCollection.h>

#include <vector>

/// Pointers in the order of insertion. Owns nothing until clearAndDestroy: neither the destructor nor copying
/// touches the elements.
class HOST_API RWOrdered : public RWCollection {
public:
    /// `capacity` elements fit before the first reallocation.
    explicit RWOrdered(std::size_t capacity = DEFAULT_CAPACITY);
    ~RWOrdered() override;

    /// The i-th pointer, writable; raises `RWBoundsErr` when i is not below entries().
    RWCollectable*& operator[](std::size_t i);
    RWCollectable* operator[](std::size_t i) const;

    void clearAndDestroy() override;
    std::size_t entries() const override;
    /// Appends.
    RWCollectable* insert(RWCollectable* element) override;

private:
    std::vector<RWCollectable*> m_Elements;
};
