#include <MIR/Mir_PrivateHeap.h>
#include <TXT/Locale_DecimalConvertUtils.h>
#include <gtest/gtest.h>
#include <refhost/Heap.h>

#include <cfloat>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace {

Mir_PrivateHeap& Heap() { return Mir_SingletonHeap::GetInstance(0); }

TEST(EnvironmentHeap, FreedTablesComeBackAndTheCacheHasAnEnd) {
    refhost::TrimHeap();
    void* first = Heap().AllocateArray(65536, "test");
    Heap().FreeArray(first, "test");
    void* again = Heap().AllocateArray(65536, "test");
    EXPECT_EQ(first, again);
    Heap().FreeArray(again, "test");

    std::vector<void*> blocks;
    for (std::size_t kept = 0; kept <= 2 * refhost::kHeapCacheBytes; kept += 1 << 20) {
        blocks.push_back(Heap().AllocateArray(1 << 20, "test"));
    }
    for (void* block : blocks) Heap().FreeArray(block, "test");
    const std::size_t cached = refhost::GetHeapUsage().cachedBytes;
    EXPECT_LE(cached, refhost::kHeapCacheBytes);
    EXPECT_GT(cached, refhost::kHeapCacheBytes / 2);
    refhost::TrimHeap();
    EXPECT_EQ(refhost::GetHeapUsage().cachedBytes, 0u);
}

TEST(EnvironmentHeap, AbsurdRequestsFindNoMemory) {
    for (const std::size_t bytes :
         {SIZE_MAX, SIZE_MAX - 63, SIZE_MAX / 2 + 1, refhost::kHeapLargestRequest + 1}) {
        EXPECT_EQ(Heap().AllocateArray(bytes, "test"), nullptr) << bytes;
    }
    refhost::SetHeapLimit(1000);
    EXPECT_EQ(Heap().AllocateArray(1001, "test"), nullptr);
    void* block = Heap().AllocateArray(1000, "test");
    EXPECT_NE(block, nullptr);
    Heap().FreeArray(block, "test");
    refhost::SetHeapLimit(refhost::kHeapLargestRequest);
}

TEST(EnvironmentHeap, ThreadsNeverShareABlock) {
    std::vector<std::thread> threads;
    for (unsigned t = 1; t <= 4; ++t) {
        threads.emplace_back([t] {
            unsigned seed = t;
            std::vector<unsigned*> held;
            for (int i = 0; i < 5000; ++i) {
                seed = seed * 1664525u + 1013904223u;
                const std::size_t words = 16u << (seed >> 29);
                unsigned* block =
                    static_cast<unsigned*>(Heap().AllocateArray(words * sizeof(unsigned), "test"));
                for (std::size_t w = 0; w < words; ++w) block[w] = t;
                held.push_back(block);
                if (held.size() < 8) continue;
                for (unsigned* old : held) {
                    for (std::size_t w = 0; w < 16; ++w) ASSERT_EQ(old[w], t);
                    Heap().FreeArray(old, "test");
                }
                held.clear();
            }
            for (unsigned* old : held) Heap().FreeArray(old, "test");
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(EnvironmentHeapDeathTest, FreeingTwiceEndsTheProcess) {
    EXPECT_DEATH(
        {
            void* block = Heap().AllocateArray(4096, "twice.cpp");
            Heap().FreeArray(block, "twice.cpp");
            Heap().FreeArray(block, "twice.cpp");
        },
        "twice.cpp frees a block");
}

TEST(EnvironmentTexts, DecimalsReadAlikeEverywhere) {
    const std::pair<const char*, float> rows[] = {
        {" \t+0.5abc", 0.5F},
        {"1,5", 1.0F},
        {"1e", 1.0F},
        {"1e39", FLT_MAX},
        {"-1e400", -FLT_MAX},
        {"1e-60", 0.0F},
        {"", 0.0F},
        {"+-1", 0.0F},
        {"inf", 0.0F},
        {"-nan", 0.0F},
        // Half way between two floats in double: rounding twice would give the upper one.
        {"1.00000005960464477539062499", 1.0F},
        {"1.00000005960464477539062501", 1.00000011920928955078125F}};
    for (const auto& row : rows) {
        EXPECT_EQ(Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(_bstr_t(row.first)), row.second)
            << row.first;
    }
    EXPECT_EQ(Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(_bstr_t()), 0.0F);
}

}  // namespace
