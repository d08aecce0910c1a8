#pragma once

#include <COM/com_identifiers.h>
#include <COM/com_ptr.h>

class BLK_ProcessedData;
class SRC_IProcessedDataSource;

template <>
struct com_interface<SRC_IProcessedDataSource> {
    static constexpr IID iid = com_id::kProcessedDataSource;
};
typedef com_ptr<SRC_IProcessedDataSource> SRC_IProcessedDataSourcePtr;

/// A source that computed something from the pixels.
class HOST_API SRC_IProcessedDataSource : public IUnknown {
public:
    /// The three operations in front belong to the source's own library and are not called here. They answer
    /// E_NOTIMPL where there is none.
    virtual HRESULT source_operation_1() { return E_NOTIMPL; }
    virtual HRESULT source_operation_2() { return E_NOTIMPL; }
    virtual HRESULT source_operation_3() { return E_NOTIMPL; }
    /// Writes the data, or null when there is none. It stays the source's, and is not counted for the caller.
    virtual HRESULT GetProcessedData(BLK_ProcessedData** data) = 0;

protected:
    ~SRC_IProcessedDataSource() = default;
};
