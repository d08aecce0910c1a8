#pragma once

#include <COM/com_ptr.h>

class SRC_IImageDataSource;

template <>
struct com_interface<SRC_IImageDataSource> {
    static constexpr IID iid = {0x5D1E4B05, 0x6A3C, 0x4E0F, {0x9B, 0x57, 0x21, 0xC4, 0x7A, 0x10, 0xE8, 0x31}};
};
typedef com_ptr<SRC_IImageDataSource> SRC_IImageDataSourcePtr;

/// Where an image's data come from. It is asked for the other interfaces that it may have.
class HOST_API SRC_IImageDataSource : public IUnknown {
protected:
    ~SRC_IImageDataSource() = default;
};
