#include <MIR/Mir_PrivateHeap.h>
#include <refhost/Heap.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define HEAP_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HEAP_POISONS 1
#endif
#endif

#if defined(HEAP_POISONS)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#endif

// A block is a header of 64 bytes and a payload whose size is a power of two. A freed block goes to the list
// of its size and is given out again, last in, first out, while it may still lie in a cache. Under the
// address sanitizer whatever is not given out is poisoned, except the part of the header that a leak checker
// has to read.

namespace {

constexpr std::size_t kAlignment = 64;
constexpr unsigned int kSmallest = 6;  // 64 bytes
constexpr unsigned int kLargest = 24;  // 16 MiB; larger blocks are not kept
constexpr unsigned int kUnkept = kLargest + 1;

constexpr std::uint64_t kLive = 0x4C49564542574B31;
constexpr std::uint64_t kFree = 0x465245454B455054;

struct alignas(kAlignment) Header {
    Header* next;
    std::uint64_t state;
    std::size_t capacity;
    unsigned int sizeClass;
    // The rest of the line stays unused, and poisoned, so that a write in front of the payload is found.
    unsigned char guard[kAlignment - 32];
};
static_assert(sizeof(Header) == kAlignment);

struct FreeList {
    std::mutex mutex;
    Header* first = nullptr;
};

// All constant-initialised and trivially destroyed: usable before main and after it.
FreeList s_Free[kLargest + 1];
std::atomic<std::size_t> s_CachedBytes{0};
std::atomic<std::size_t> s_LiveBlocks{0};
std::atomic<std::size_t> s_Recycled{0};
std::atomic<std::size_t> s_Limit{refhost::kHeapLargestRequest};

unsigned int SizeClass(std::size_t bytes) {
    unsigned int sizeClass = kSmallest;
    while (sizeClass <= kLargest && (std::size_t(1) << sizeClass) < bytes) ++sizeClass;
    return sizeClass;
}

unsigned char* Payload(Header* block) { return reinterpret_cast<unsigned char*>(block) + sizeof(Header); }

void GiveBack(Header* block) {
    ASAN_UNPOISON_MEMORY_REGION(block->guard, sizeof(block->guard));
    ASAN_UNPOISON_MEMORY_REGION(Payload(block), block->capacity);
    ::operator delete(block, std::align_val_t(kAlignment));
}

Header* TakeKept(unsigned int sizeClass) {
    FreeList& list = s_Free[sizeClass];
    Header* block = nullptr;
    {
        const std::lock_guard<std::mutex> hold(list.mutex);
        block = list.first;
        if (block == nullptr) return nullptr;
        list.first = block->next;
    }
    s_CachedBytes.fetch_sub(block->capacity, std::memory_order_relaxed);
    s_Recycled.fetch_add(1, std::memory_order_relaxed);
    return block;
}

Header* MakeNew(std::size_t capacity, unsigned int sizeClass) {
    void* memory = ::operator new(sizeof(Header) + capacity, std::align_val_t(kAlignment), std::nothrow);
    if (memory == nullptr) return nullptr;
    Header* block = static_cast<Header*>(memory);
    block->capacity = capacity;
    block->sizeClass = sizeClass;
    ASAN_POISON_MEMORY_REGION(block->guard, sizeof(block->guard));
    ASAN_POISON_MEMORY_REGION(Payload(block), capacity);
    return block;
}

/// True when the block was put into its list; false when enough is kept already.
bool Keep(Header* block) {
    if (block->sizeClass == kUnkept) return false;
    const std::size_t kept =
        s_CachedBytes.fetch_add(block->capacity, std::memory_order_relaxed) + block->capacity;
    if (kept > refhost::kHeapCacheBytes) {
        s_CachedBytes.fetch_sub(block->capacity, std::memory_order_relaxed);
        return false;
    }
    ASAN_POISON_MEMORY_REGION(Payload(block), block->capacity);
    FreeList& list = s_Free[block->sizeClass];
    const std::lock_guard<std::mutex> hold(list.mutex);
    block->next = list.first;
    list.first = block;
    return true;
}

}  // namespace

void* Mir_PrivateHeap::AllocateArray(std::size_t bytes, const char*) {
    if (bytes > s_Limit.load(std::memory_order_relaxed) || bytes > refhost::kHeapLargestRequest)
        return nullptr;
    const unsigned int sizeClass = SizeClass(bytes);
    Header* block = nullptr;
    if (sizeClass == kUnkept) {
        block = MakeNew((bytes + kAlignment - 1) / kAlignment * kAlignment, sizeClass);
    } else {
        block = TakeKept(sizeClass);
        if (block == nullptr) block = MakeNew(std::size_t(1) << sizeClass, sizeClass);
    }
    if (block == nullptr) return nullptr;
    block->next = nullptr;
    block->state = kLive;
    s_LiveBlocks.fetch_add(1, std::memory_order_relaxed);
    // Exactly what was asked for: the slack behind it stays poisoned.
    ASAN_UNPOISON_MEMORY_REGION(Payload(block), bytes);
    return Payload(block);
}

void Mir_PrivateHeap::FreeArray(void* memory, const char* origin) {
    if (memory == nullptr) return;
    Header* block = reinterpret_cast<Header*>(static_cast<unsigned char*>(memory) - sizeof(Header));
    if (block->state != kLive) {
        // Going on would hand one block to two owners.
        std::fprintf(stderr, "Mir_PrivateHeap: %s frees a block that is not in use\n", origin ? origin : "?");
        std::abort();
    }
    block->state = kFree;
    s_LiveBlocks.fetch_sub(1, std::memory_order_relaxed);
    if (!Keep(block)) GiveBack(block);
}

Mir_SingletonHeap& Mir_SingletonHeap::GetInstance(Mir_HeapType) {
    static Mir_SingletonHeap heap;
    return heap;
}

refhost::HeapUsage refhost::GetHeapUsage() {
    return {s_LiveBlocks.load(std::memory_order_relaxed), s_CachedBytes.load(std::memory_order_relaxed),
            s_Recycled.load(std::memory_order_relaxed)};
}

void refhost::TrimHeap() {
    for (FreeList& list : s_Free) {
        Header* block = nullptr;
        {
            const std::lock_guard<std::mutex> hold(list.mutex);
            block = list.first;
            list.first = nullptr;
        }
        while (block != nullptr) {
            Header* next = block->next;
            s_CachedBytes.fetch_sub(block->capacity, std::memory_order_relaxed);
            GiveBack(block);
            block = next;
        }
    }
}

void refhost::SetHeapLimit(std::size_t bytes) { s_Limit.store(bytes, std::memory_order_relaxed); }
