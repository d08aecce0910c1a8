#include <MIR/Mir_PrivateHeap.h>
#include <RW/RWOrdered.h>
#include <RW/RWTPtrOrderedVector.h>
#include <RW/RWTValOrderedVector.h>
#include <RW/RWWString.h>
#include <SYS/critical_section.h>
#include <SYS/dynamic_library.h>
#include <TXT/Locale_DecimalConvertUtils.h>
#include <TXT/TXT_Strings.h>
#include <gtest/gtest.h>
#include <refhost/Heap.h>
#include <refhost/Texts.h>

#include <cfloat>
#include <climits>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

namespace {

Mir_PrivateHeap& Heap() { return Mir_SingletonHeap::GetInstance(0); }

TEST(EnvironmentHeap, BlocksOfEverySizeAreAlignedAndWhole) {
    const std::size_t live = refhost::GetHeapUsage().liveBlocks;
    for (const std::size_t bytes :
         std::initializer_list<std::size_t>{0, 1, 63, 64, 65, 256, 65536, 262144, 262145, (16 << 20) + 1}) {
        void* block = Heap().AllocateArray(bytes, "test");
        ASSERT_NE(block, nullptr) << bytes;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u) << bytes;
        std::memset(block, 0xAB, bytes);
        Heap().FreeArray(block, "test");
    }
    Heap().FreeArray(nullptr, "test");
    EXPECT_EQ(refhost::GetHeapUsage().liveBlocks, live);
}

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
            std::vector<std::vector<unsigned*>> held(1);
            for (int i = 0; i < 5000; ++i) {
                seed = seed * 1664525u + 1013904223u;
                const std::size_t words = 16u << (seed >> 29);
                unsigned* block =
                    static_cast<unsigned*>(Heap().AllocateArray(words * sizeof(unsigned), "test"));
                for (std::size_t w = 0; w < words; ++w) block[w] = t;
                held[0].push_back(block);
                if (held[0].size() < 8) continue;
                for (unsigned* old : held[0]) {
                    for (std::size_t w = 0; w < 16; ++w) ASSERT_EQ(old[w], t);
                    Heap().FreeArray(old, "test");
                }
                held[0].clear();
            }
            for (unsigned* old : held[0]) Heap().FreeArray(old, "test");
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
#if defined(__SANITIZE_ADDRESS__)
    EXPECT_DEATH(
        {
            char* block = static_cast<char*>(Heap().AllocateArray(100, "late.cpp"));
            block[100] = 1;
        },
        "use-after-poison");
    EXPECT_DEATH(
        {
            volatile char* block = static_cast<char*>(Heap().AllocateArray(100, "late.cpp"));
            Heap().FreeArray(const_cast<char*>(block), "late.cpp");
            block[0] = 1;
        },
        "use-after-poison");
#endif
}

class Counted : public RWCollectable {
public:
    static int s_Alive;
    Counted() { ++s_Alive; }
    ~Counted() override { --s_Alive; }
};
int Counted::s_Alive = 0;

TEST(EnvironmentCollections, OwnOnlyWhenToldTo) {
    {
        RWOrdered list(RWCollection::DEFAULT_CAPACITY);
        Counted* a = new Counted;
        Counted* b = new Counted;
        EXPECT_EQ(list.insert(a), a);
        list.insert(b);
        list.insert(a);
        EXPECT_EQ(list.insert(nullptr), nullptr);
        EXPECT_EQ(list.entries(), 3u);
        EXPECT_EQ(list[1], b);
        { RWOrdered copy = list; }
        EXPECT_EQ(Counted::s_Alive, 2);
        list.clearAndDestroy();
        EXPECT_EQ(Counted::s_Alive, 0);
        EXPECT_EQ(list.entries(), 0u);
    }
    RWTPtrOrderedVector<Counted> pointers;
    for (int i = 0; i < 3; ++i) pointers.append(new Counted);
    Counted* middle = pointers[1];
    EXPECT_EQ(pointers.removeAt(1), middle);
    EXPECT_EQ(pointers.entries(), 2u);
    EXPECT_EQ(pointers.data()[1], pointers.last());
    pointers.insertAt(0, middle);
    EXPECT_EQ(pointers.first(), middle);
    pointers.clearAndDestroy();
    EXPECT_EQ(Counted::s_Alive, 0);
}

TEST(EnvironmentCollections, IndexesBeyondTheEndRaise) {
    RWOrdered list;
    RWTPtrOrderedVector<int> pointers;
    RWTValOrderedVector<int> values;
    values.append(5);
    EXPECT_THROW(list[0], RWBoundsErr);
    EXPECT_THROW(pointers.at(0), RWBoundsErr);
    EXPECT_THROW(pointers.last(), RWBoundsErr);
    EXPECT_THROW(pointers.removeAt(0), RWBoundsErr);
    EXPECT_THROW(values.insertAt(2, 1), RWBoundsErr);
    EXPECT_THROW(values[static_cast<std::size_t>(-1)], RWBoundsErr);
    try {
        values.at(7);
        ADD_FAILURE();
    } catch (const std::exception& error) {
        EXPECT_NE(std::strstr(error.what(), "7"), nullptr);
        EXPECT_NE(std::strstr(error.what(), "1"), nullptr);
    }
}

TEST(EnvironmentCollections, WideStringsCompareWhole) {
    const RWWString text(L"SAVE_WINDOW_LEVEL");
    EXPECT_TRUE(text == L"SAVE_WINDOW_LEVEL" && text == RWWString(text));
    EXPECT_TRUE(text != L"SAVE_WINDOW" && text != L"save_window_level" && text != nullptr);
    EXPECT_TRUE(RWWString(nullptr) == L"" && RWWString(nullptr).isNull());
}

TEST(EnvironmentTexts, AreCutToTheirSize) {
    const struct {
        unsigned id;
        int size;
        const wchar_t* text;
    } rows[] = {
        {2004, 512, L"Image palette"},
        {16270, 512, L"Window width and centre"},
        {16337, 512, L"Inverted grayscale"},
        {18034, 512, L"Grayscale"},
        {18034, 10, L"Grayscale"},
        {18034, 9, L"Grayscal"},
        {18034, 1, L""},
        {18034, 0, L""},
        {18034, INT_MIN, L""},
        {18034, INT_MAX, L"Grayscale"},
        {1, 512, L""},
    };
    for (const auto& row : rows)
        EXPECT_STREQ(WTxtLoadString(row.id, row.size), row.text) << row.id << " " << row.size;
    refhost::SetText(18034, L"Graustufen");
    EXPECT_STREQ(WTxtLoadString(18034, 512), L"Graustufen");
    refhost::SetText(18034, std::wstring(5000, L'x').c_str());
    EXPECT_EQ(std::wcslen(WTxtLoadString(18034, 5000)), 1023u);
    refhost::SetText(18034, nullptr);
    EXPECT_STREQ(WTxtLoadString(18034, 512), L"Grayscale");

    refhost::SetVendorName(nullptr);
    EXPECT_TRUE(!TxtGetVendorName());
    refhost::SetVendorName(L"vexor");
    EXPECT_TRUE(TxtGetVendorName() == L"vexor");
    refhost::SetVendorName(L"");
    EXPECT_FALSE(!TxtGetVendorName());
    EXPECT_STREQ(CreateString(INT_MIN), L"-2147483648");
}

TEST(EnvironmentTexts, DecimalsReadAlikeEverywhere) {
    const struct {
        const char* text;
        float value;
    } rows[] = {
        {"0.0", 0.0F},
        {"1.0", 1.0F},
        {" \t+0.5abc", 0.5F},
        {"-2.5e-1", -0.25F},
        {"1,5", 1.0F},
        {".5", 0.5F},
        {"5.", 5.0F},
        {"1e", 1.0F},
        // Half way between two floats in double: rounding twice would give the upper one.
        {"1.00000005960464477539062499", 1.0F},
        {"1.00000005960464477539062501", 1.00000011920928955078125F},
        {"1e39", FLT_MAX},
        {"-1e400", -FLT_MAX},
        {"1e-60", 0.0F},
        {"0.00000000000000000000000000000000000000000000000000001", 0.0F},
        {"999999999999999999999999999999999999999999999999999999", FLT_MAX},
        {"1e99999999999999999999", FLT_MAX},
        {"1e-99999999999999999999", 0.0F},
        {"", 0.0F},
        {"-", 0.0F},
        {"--1", 0.0F},
        {"+-1", 0.0F},
        {".", 0.0F},
        {"inf", 0.0F},
        {"-nan", 0.0F},
        {"0x10", 0.0F},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(_bstr_t(row.text)), row.value)
            << row.text;
    }
    EXPECT_EQ(Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(_bstr_t()), 0.0F);
}

TEST(EnvironmentSystem, CriticalSectionsAreRecursive) {
    critical_section section;
    const std::lock_guard<critical_section> outer(section);
    EXPECT_TRUE(section.try_lock());
    bool entered = true;
    std::thread([&] { entered = section.try_lock(); }).join();
    EXPECT_FALSE(entered);
    section.unlock();
}

TEST(EnvironmentSystem, LibrariesAreFoundByTheirName) {
    EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
    EXPECT_EQ(LoadLibraryW(L""), nullptr);
    EXPECT_EQ(LoadLibraryW(L"vexor_MRI_WL.dll"), nullptr);
    const HMODULE library = LoadLibraryW(L"libm.so.6");
    ASSERT_NE(library, nullptr);
    const FARPROC found = GetProcAddress(library, "cos");
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(reinterpret_cast<double (*)(double)>(found)(0.0), 1.0);
    EXPECT_EQ(GetProcAddress(library, "?vexor_MRI_WL@@YAHPAGGGHAAH1AAG2@Z"), nullptr);
    EXPECT_EQ(GetProcAddress(nullptr, "cos"), nullptr);
    EXPECT_EQ(GetProcAddress(library, nullptr), nullptr);
}

}  // namespace
