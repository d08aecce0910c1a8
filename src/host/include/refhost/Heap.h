#pragma once

#include <HOST_Export.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// A look into Mir_PrivateHeap. Any thread.
namespace refhost {

struct HeapUsage {
    /// Blocks that are given out.
    std::size_t liveBlocks;
    /// Bytes kept for reuse.
    std::size_t cachedBytes;
    /// Allocations so far that were served from kept blocks.
    std::size_t recycled;
};

/// Most bytes that are kept for reuse.
constexpr std::size_t kHeapCacheBytes = 32u << 20;
/// Larger requests find no memory.
constexpr std::size_t kHeapLargestRequest =
    static_cast<std::size_t>(std::min<std::uint64_t>(std::uint64_t{1} << 32, PTRDIFF_MAX));

HOST_API HeapUsage GetHeapUsage();

/// Gives every kept block back to the system.
HOST_API void TrimHeap();

/// For tests: requests of more than `bytes` find no memory. kHeapLargestRequest at the start.
HOST_API void SetHeapLimit(std::size_t bytes);

}  // namespace refhost
