#pragma once

#include <RW/RWCollectable.h>

#include <cstddef>

/// Base of the collections of `RWCollectable` pointers.
class HOST_API RWCollection {
public:
    static constexpr std::size_t DEFAULT_CAPACITY = 64;

    RWCollection();
    virtual ~RWCollection();

    /// Deletes every element, in no particular order, and empties the collection; an element that was
    /// inserted twice is deleted once. Allocates nothing.
    virtual void clearAndDestroy() = 0;
    virtual std::size_t entries() const = 0;
    /// Adds `element` and returns it; null is not added. Without memory it raises std::bad_alloc and changes
    /// nothing: the element is still its caller's.
    virtual RWCollectable* insert(RWCollectable* element) = 0;
};
