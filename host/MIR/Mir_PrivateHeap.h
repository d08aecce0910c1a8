#pragma once

#include <HOST_Export.h>

#include <cstddef>

/// Which of the process's heaps; there is one, of type 0.
typedef int Mir_HeapType;

/// A heap for large arrays that come and go: a freed block is kept and given out again, so that its pages
/// need not be mapped afresh each time. Safe on any thread.
class HOST_API Mir_PrivateHeap {
public:
    /// `bytes` of uninitialised memory, aligned to 64; null when there is none. 0 bytes give a block of their
    /// own. `origin` is the source path of the caller.
    void* AllocateArray(std::size_t bytes, const char* origin);
    /// Gives a block of AllocateArray back; null does nothing.
    void FreeArray(void* block, const char* origin);

protected:
    constexpr Mir_PrivateHeap() = default;
    ~Mir_PrivateHeap() = default;
};

/// The process-wide heap.
class HOST_API Mir_SingletonHeap : public Mir_PrivateHeap {
public:
    /// The same heap for every type. Usable before main and after it.
    static Mir_SingletonHeap& GetInstance(Mir_HeapType type);

    Mir_SingletonHeap(const Mir_SingletonHeap&) = delete;
    Mir_SingletonHeap& operator=(const Mir_SingletonHeap&) = delete;

private:
    constexpr Mir_SingletonHeap() = default;
};
