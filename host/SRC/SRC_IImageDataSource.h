#pragma once

#include <COM/com_identifiers.h>
#include <COM/com_ptr.h>

class SRC_IImageDataSource;

template <>
struct com_interface<SRC_IImageDataSource> {
    static constexpr IID iid = com_id::kImageDataSource;
};
typedef com_ptr<SRC_IImageDataSource> SRC_IImageDataSourcePtr;

/// Where an image's data come from. It is asked for the other interfaces that it may have.
class HOST_API SRC_IImageDataSource : public IUnknown {
protected:
    ~SRC_IImageDataSource() = default;
};
