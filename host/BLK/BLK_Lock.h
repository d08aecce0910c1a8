#pragma once

#include <HOST_Export.h>

class BLK_ProcessedData;

/// Holds processed data in place while it lives.
class HOST_API BLK_Lock {
public:
    /// Null is never locked.
    explicit BLK_Lock(BLK_ProcessedData* data);
    virtual ~BLK_Lock();
    BLK_Lock(const BLK_Lock&) = delete;
    BLK_Lock& operator=(const BLK_Lock&) = delete;

    /// The lock was obtained.
    bool IsLocked() const { return m_pData != nullptr; }

private:
    BLK_ProcessedData* m_pData;
};
