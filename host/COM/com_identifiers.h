#pragma once

#include <COM/com_types.h>

#include <cstddef>

/// The identifiers of every class and interface of this system, in one place so that no two are the same.
namespace com_id {

/// Our own differ in the first field only.
constexpr GUID Own(unsigned int number) {
    return {0x5D1E4B00 + number, 0x6A3C, 0x4E0F, {0x9B, 0x57, 0x21, 0xC4, 0x7A, 0x10, 0xE8, 0x31}};
}

constexpr GUID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID kErrorInfo = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
constexpr GUID kSupportErrorInfo = {
    0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
constexpr GUID kTreeClass = Own(0);
constexpr GUID kTreeIteratorClass = Own(1);
constexpr GUID kTree = Own(2);
constexpr GUID kTreeRoot = Own(3);
constexpr GUID kTreeIterator = Own(4);
constexpr GUID kImageDataSource = Own(5);
constexpr GUID kProcessedDataSource = Own(6);
constexpr GUID kNodeAccess = Own(7);

constexpr GUID kAll[] = {kUnknown,   kErrorInfo, kSupportErrorInfo, kTreeClass,       kTreeIteratorClass,
                         kTree,      kTreeRoot,  kTreeIterator,     kImageDataSource, kProcessedDataSource,
                         kNodeAccess};

constexpr bool AllDiffer() {
    for (const GUID& a : kAll) {
        for (const GUID* b = &a + 1; b != kAll + sizeof(kAll) / sizeof(kAll[0]); ++b) {
            bool same = a.Data1 == b->Data1 && a.Data2 == b->Data2 && a.Data3 == b->Data3;
            for (std::size_t i = 0; i < 8; ++i) same = same && a.Data4[i] == b->Data4[i];
            if (same) return false;
        }
    }
    return true;
}
static_assert(AllDiffer(), "two classes or interfaces have one identifier");

}  // namespace com_id
