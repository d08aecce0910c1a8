#pragma once

#include <RW/RWCollectable.h>

#include <cstddef>

/// Base of the collections of `RWCollectable` pointers.
class HOST_API RWCollection {
public:
    static constexpr std::size_t DEFAULT_CAPACITY = 64;

    RWCollection();
    virtual ~RWCollection();

    /// Deletes every element and empties the collection; an element that stands there twice is deleted once.
    virtual void clearAndDestroy() = 0;
    virtual std::size_t entries() const = 0;
    /// Adds `element` and answers with it; null is not added.
    virtual RWCollectable* insert(RWCollectable* element) = 0;
};
