#pragma once

#include <HOST_Export.h>

/// A number of changes. The base of every parameter object, and a plain member wherever a second count is
/// kept. Whoever derives something from an object keeps the count at which it was derived and compares it
/// later. Counts wrap at the 32-bit end; they are only ever compared for equality. Not locked.
class HOST_API KIT_ChangeCounter {
public:
    KIT_ChangeCounter(int count = 0);
    KIT_ChangeCounter(const KIT_ChangeCounter& other);

    virtual ~KIT_ChangeCounter();
    virtual KIT_ChangeCounter& operator=(int count);
    virtual KIT_ChangeCounter& operator=(const KIT_ChangeCounter& other);
    virtual bool operator==(const KIT_ChangeCounter& other) const;
    virtual bool operator!=(const KIT_ChangeCounter& other) const;
    virtual KIT_ChangeCounter& operator++();
    /// The sum of both counts.
    virtual KIT_ChangeCounter operator+(const KIT_ChangeCounter& other) const;
    /// Advances the count by one. KIT_BaseParams also tells its listeners.
    virtual void MarkChange();
    virtual int GetCount() const;
    /// The product of both counts.
    virtual KIT_ChangeCounter operator*(const KIT_ChangeCounter& other) const;

protected:
    int m_Count;
};
