#pragma once

#include <HOST_Export.h>

class RWvistream;
class RWvostream;
class RWFile;

typedef unsigned short RWClassID;
typedef unsigned long RWspace;

/// Base of what an `RWOrdered` can hold. The order of the virtual operations is a contract.
/// Two objects are equal here when they are one and the same; a class with an order of its own replaces
/// compareTo.
class HOST_API RWCollectable {
public:
    RWCollectable();
    RWCollectable(const RWCollectable&) = default;
    RWCollectable& operator=(const RWCollectable&) = default;

    /// A new default-constructed object, which the caller owns.
    virtual RWCollectable* newSpecies() const;
    /// A copy, which the caller owns.
    virtual RWCollectable* copy() const;
    /// 0: classes are not numbered here.
    virtual RWClassID isA() const;
    virtual const RWCollectable* self() const;
    virtual RWCollectable* self();
    virtual ~RWCollectable();
    /// 0, since nothing is stored.
    virtual RWspace binaryStoreSize() const;
    /// 0 for the object itself, else -1 or 1 by address.
    virtual int compareTo(const RWCollectable* other) const;
    virtual unsigned int hash() const;
    virtual bool isEqual(const RWCollectable* other) const;
    /// Storing does nothing here.
    virtual void restoreGuts(RWvistream& stream);
    virtual void restoreGuts(RWFile& file);
    virtual void saveGuts(RWvostream& stream) const;
    virtual void saveGuts(RWFile& file) const;
};
