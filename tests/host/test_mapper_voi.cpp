#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_SS.h>
#include <DICOM/Dicom_US.h>
#include <MAPPER/Mapper_WindowingManager.h>

#include <limits>
#include <set>
#include <thread>

#include "support.h"

namespace {

using support::Message;
const double INF = std::numeric_limits<double>::infinity();
const double NAN_ = std::numeric_limits<double>::quiet_NaN();

Message WindowMsg(const std::string& centers, const std::string& widths, const char* function = nullptr) {
    Message msg;
    return msg.Window(centers, widths, function);
}

/// Appends a VOI LUT Sequence item; the data are bytes of a file.
void AddTable(Dicom_Msg& msg, const Dicom_Type& descriptor, const std::string& data,
              const wchar_t* name = L"") {
    Dicom_Msg* const item = msg.AddItem(Dicom_Tag(0x00283010));
    item->Put(Dicom_Tag(0x00283002), descriptor);
    item->PutBytes(Dicom_Tag(0x00283006), "OW", data.data(), data.size());
    if (*name != 0) item->Put(Dicom_Tag(0x00283003), Dicom_LO(name, nullptr));
}

Dicom_US Descriptor(int count, int first, int bits) {
    const auto word = [](int value) { return Dicom_US(static_cast<unsigned short>(value)); };
    return word(count) | word(first) | word(bits);
}

void SetPixels(Dicom_Msg& msg, int bits, bool isSigned, double slope = 1.0, double intercept = 0.0) {
    msg.Put(Dicom_Tag(0x00280101), Dicom_US(static_cast<unsigned short>(bits)));
    msg.Put(Dicom_Tag(0x00280103), Dicom_US(isSigned ? 1 : 0));
    msg.Put(Dicom_Tag(0x00281053), Dicom_DS(slope));
    msg.Put(Dicom_Tag(0x00281052), Dicom_DS(intercept));
}

struct Opened {
    explicit Opened(const Dicom_Msg& msg, int maxOutput = 255) : m_Manager(&msg) {
        EXPECT_EQ(m_Manager.Init(), 0);
        if (!m_Manager.m_Entries.empty()) {
            m_pLut = m_Manager.CreateDicomVOILut(m_Manager.m_Entries[0], maxOutput, VOI_LUT_OWNED_BY_MANAGER);
        }
    }
    Mapper_WindowingManager m_Manager;
    Mapper_VOILut* m_pLut = nullptr;
};

std::vector<unsigned short> Fill(const Mapper_VOILut& lut, int size, double center, double width,
                                 bool inverse = false) {
    std::vector<unsigned short> table(static_cast<std::size_t>(size), 0xDEAD);
    lut.FillWindowingTable16(table.data(), size, center, width, inverse);
    return table;
}

std::wstring NameOf(const Mapper_WindowingEntry& entry) { return entry.GetWindowingExplanation().GetText(0); }

TEST(MapperVoi, FullTableOfAllInputs) {
    Message msg;
    SetPixels(msg, 16, true);
    std::string data;
    for (int i = 0; i < 65536; ++i) data += {static_cast<char>(i & 0xFF), static_cast<char>(i >> 8)};
    Dicom_SS descriptor(0);
    descriptor.Append(-32768);
    descriptor.Append(16);
    AddTable(msg, descriptor, data);
    const Opened opened(msg, 65535);
    ASSERT_NE(opened.m_pLut, nullptr);
    EXPECT_EQ(opened.m_pLut->GetVOICenter(), 0.0);
    const std::vector<unsigned short> table = Fill(*opened.m_pLut, 65536, 0, 65536);
    for (std::size_t i = 0; i < table.size(); ++i) ASSERT_EQ(table[i], i);
}

}  // namespace

TEST(MapperVoi, SigmoidFollowsTheStandard) {
    const struct {
        double center, width;
        int top, x, level;
    } rows[] = {{0, 100, 255, -1000, 0}, {0, 100, 255, -50, 30},   {0, 100, 255, 0, 128},
                {0, 100, 255, 1, 130},   {0, 100, 255, 1000, 255}, {2048, 4096, 4095, 1, 489}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.center << "/" << row.width << " at " << row.x);
        Message msg = WindowMsg("1", "0.5", "SIGMOID");
        SetPixels(msg, 12, true);
        const Opened opened(msg, row.top);
        ASSERT_NE(opened.m_pLut, nullptr);
        EXPECT_EQ(opened.m_pLut->GetFunctionCode(), 4);
        const std::vector<unsigned short> table = Fill(*opened.m_pLut, 4096, row.center, row.width);
        EXPECT_EQ(table[static_cast<std::size_t>(row.x + 2048)], row.level);
    }
}

TEST(MapperVoi, TablesAreReadWhateverTheirShape) {
    using namespace std::string_literals;
    const struct {
        const char* name;
        int count, first, bits;
        std::string data;
        bool isSigned;
        double center, width;
        std::vector<unsigned short> expected;
        double intercept = 0;
        const char* vr = "US";
        int depth = 12;
    } rows[] = {
        {"words", 3, 2, 8, "\x0A\0\x14\0\x1E\0"s, false, 3, 3, {10, 10, 10, 20, 30, 30}},
        {"packed bytes, odd count", 3, 2, 8, "\x0A\x14\x1E\0"s, false, 3, 3, {10, 10, 10, 20, 30, 30}},
        {"scaled from 16 bits", 2, 0, 16, "\xFF\x7F\xFF\xFF", false, 1, 2, {127, 255, 255}},
        {"scaled from 12 bits, halves up", 2, 0, 12, "\xFF\x07\x08\0"s, false, 1, 2, {127, 0}},
        {"signed pixels, first below zero", 2, -2, 8, "\x0A\x14", true, -1, 2, {10, 10, 20, 20, 20, 20}},
        {"first below zero though unsigned", 2, -2, 8, "\x0A\x14", false, -1, 2, {20, 20}},
        {"too short", 4, 0, 16, "\0\0\xFF\xFF\x77"s, false, 2, 4, {0, 255, 255, 255}},
        {"signed by the intercept", 2, 63536, 8, "\x0A\x14", false, -1999, 2, {20, 20}, -1024, "US", 16},
        {"unsigned by it", 2, 37768, 8, "\x0A\x14", true, 37769, 2, {10, 10}, 32768, "US", 16},
        {"unsigned by it, as SS", 2, 37768, 8, "\x0A\x14", true, 37769, 2, {10, 10}, 32768, "SS", 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Message msg;
        SetPixels(msg, row.depth, row.isSigned, 1.0, row.intercept);
        const std::string bytes = {static_cast<char>(row.count), '\0',
                                   static_cast<char>(row.first), static_cast<char>(row.first >> 8),
                                   static_cast<char>(row.bits),  '\0'};
        AddTable(msg, *Dicom_Type::FromBytes(row.vr, bytes.data(), bytes.size()), row.data);
        const Opened opened(msg);
        ASSERT_NE(opened.m_pLut, nullptr);
        EXPECT_EQ(opened.m_pLut->GetFunctionCode(), 5);
        EXPECT_EQ(opened.m_pLut->GetVOICenter(), row.center);
        EXPECT_EQ(opened.m_pLut->GetVOIWidth(), row.width);
        const int size = static_cast<int>(row.expected.size());
        EXPECT_EQ(Fill(*opened.m_pLut, size, row.center, row.width), row.expected);
    }
}

TEST(MapperVoi, AbsurdWindowsStayDefined) {
    const double huge = std::numeric_limits<double>::max();
    for (const char* function : {"LINEAR", "SIGMOID"}) {
        Message msg = WindowMsg("100", "50", function);
        SetPixels(msg, 8, false, huge, -huge);
        const Opened extreme(msg);
        SetPixels(msg, 8, false);
        const Opened opened(msg);
        const std::vector<unsigned short> own = Fill(*opened.m_pLut, 256, 100, 50);
        for (double center : {100.0, NAN_, INF, -INF, huge, -huge, 0.0}) {
            for (double width : {50.0, 0.0, -3.0, 1e-300, NAN_, INF, huge, -huge}) {
                SCOPED_TRACE(testing::Message() << function << " " << center << "/" << width);
                const std::vector<unsigned short> table = Fill(*opened.m_pLut, 256, center, width);
                for (unsigned short level : table) ASSERT_LE(level, 255);
                for (unsigned short level : Fill(*extreme.m_pLut, 256, center, width)) ASSERT_LE(level, 255);
                const bool finite = std::isfinite(center) && std::isfinite(width);
                EXPECT_TRUE(finite || table == own);
                EXPECT_TRUE(center != 100.0 || !(width <= 0.0) || (table[99] == 0 && table[100] == 255));
            }
        }
        opened.m_pLut->FillWindowingTable8(nullptr, 256, 100, 50, false);
    }
}

TEST(MapperManager, ListsWhatCanBeShown) {
    const struct {
        const char* name;
        std::string centers, widths;
        const char* function;
        std::vector<double> expectedCenters;
        int code;
        bool usable;
    } rows[] = {
        {"no width", "40\\50", "0\\350 ", nullptr, {50}, 6, true},
        {"narrow linear", "40", "0.5 ", "LINEAR", {40}, 6, true},
        {"sigmoid", "40", "0.5 ", "SIGMOID ", {40}, 4, true},
        {"not numbers", "abc\\1,5\\7 ", "100\\100\\100", nullptr, {7}, 6, true},
        {"unheard-of function", "500 ", "1000", "LOGARITHM ", {500}, 6, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Message msg = WindowMsg(row.centers, row.widths, row.function);
        Opened opened(msg);
        std::vector<double> centers;
        for (const Mapper_WindowingEntry* entry : opened.m_Manager.m_Entries) {
            centers.push_back(entry->GetCenter());
            EXPECT_EQ(entry->m_FunctionCode, row.code);
        }
        EXPECT_EQ(centers, row.expectedCenters);
        EXPECT_EQ(opened.m_pLut != nullptr, row.usable && !centers.empty());
    }
    EXPECT_EQ(Mapper_WindowingManager(nullptr).Init(), -1);
}

TEST(MapperManager, LeavesOutBrokenTablesAndNamesTheRestApart) {
    Message msg = WindowMsg("1\\2\\3\\4\\5", "9\\9\\9\\9\\9");
    msg.Text(0x00281055, "LO", "SOFT\\ \\SOFT (2)\\SOFT\\Window 6");
    AddTable(msg, Descriptor(4, 0, 17), "abcd");
    AddTable(msg, Descriptor(4, 0, 8), "");
    AddTable(msg, Descriptor(4, 0, 9), "a");  // less than one entry
    AddTable(msg, Dicom_US(4), "abcd");
    msg.AddItem(Dicom_Tag(0x00283010));
    AddTable(msg, Descriptor(1, 0, 8), "a");
    AddTable(msg, Descriptor(1, 0, 8), "a", L" SOFT ");
    const Opened opened(msg);
    std::vector<std::wstring> names;
    for (const Mapper_WindowingEntry* entry : opened.m_Manager.m_Entries) names.push_back(NameOf(*entry));
    EXPECT_EQ(names, (std::vector<std::wstring>{L"SOFT", L"Window 2", L"SOFT (2)", L"SOFT (3)", L"Window 6",
                                                L"Window 6 (2)", L"SOFT (4)"}));
}

TEST(MapperManager, KeepsOneLutPerEntryAndMaximum) {
    Message msg = WindowMsg("40\\50", "400\\350", "SIGMOID");
    Opened opened(msg);
    Mapper_WindowingManager& manager = opened.m_Manager;
    const Mapper_WindowingEntry* const entry = manager.m_Entries[0];
    const std::unique_ptr<Mapper_VOILut> own(manager.CreateDicomVOILut(entry, 255, VOI_LUT_OWNED_BY_CALLER));
    EXPECT_NE(own.get(), opened.m_pLut);
    EXPECT_NE(manager.CreateDicomVOILut(entry, 1023, VOI_LUT_OWNED_BY_MANAGER), opened.m_pLut);
    EXPECT_EQ(manager.CreateDicomVOILut(entry, -1, VOI_LUT_OWNED_BY_MANAGER), nullptr);
    EXPECT_EQ(manager.CreateDicomVOILut(nullptr, 255, VOI_LUT_OWNED_BY_MANAGER), nullptr);
    EXPECT_EQ(manager.Init(), 0);
    EXPECT_EQ(manager.m_Entries[0], entry) << "a second Init leaves the entries alive";

    std::vector<std::thread> threads;
    std::vector<std::set<Mapper_VOILut*>> seen(4);
    for (std::set<Mapper_VOILut*>& luts : seen) {
        threads.emplace_back([&manager, &luts] {
            for (int top = 0; top < 200; ++top) {
                for (const Mapper_WindowingEntry* each : manager.m_Entries) {
                    luts.insert(manager.CreateDicomVOILut(each, top, VOI_LUT_OWNED_BY_MANAGER));
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::set<Mapper_VOILut*>& luts : seen) EXPECT_EQ(luts, seen[0]);
    EXPECT_EQ(seen[0].size(), 400u);
}

TEST(MapperManager, WrittenWindowIsTheFirstWhenReadAgain) {
    Message msg = WindowMsg("40\\50", "400\\350", "SIGMOID");
    msg.Text(0x00281055, "LO", "SHARP\\SOFT");
    SetPixels(msg, 12, false, 1.0, -1024.0);
    AddTable(msg, Descriptor(4, -1000, 8), "\x28\x1E\x14\x0A", L"FIRST");
    AddTable(msg, Descriptor(4, 10, 8), "\x0A\x14\x1E\x28", L"SECOND");
    const struct {
        const char* name;
        int entry;
        double center, width;
        int code;
        std::wstring explanation;
        std::size_t entries;
    } rows[] = {
        {"plain", -1, 100, 200, 6, L"as shown", 3},
        {"sigmoid", 1, 100, 200, 4, L"SOFT", 3},
        {"table through another window", 2, 100, 201, 5, L"FIRST", 2},
        {"window of all values", 3, 0, 65536, 5, L"SECOND", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Opened before(msg);
        OBJ_Msg saved(msg);
        const auto& list = before.m_Manager.m_Entries;
        const auto* const entry = row.entry < 0 ? nullptr : list[static_cast<std::size_t>(row.entry)];
        const Dicom_LO shown(L"as shown", nullptr);
        EXPECT_EQ(before.m_Manager.SetVOILUT(&saved, entry, row.center, row.width, shown), 1);
        const Opened after(saved);
        ASSERT_EQ(after.m_Manager.m_Entries.size(), row.entries);
        ASSERT_NE(after.m_pLut, nullptr);
        EXPECT_EQ(after.m_pLut->GetFunctionCode(), row.code);
        EXPECT_EQ(after.m_pLut->GetVOICenter(), row.center);
        EXPECT_EQ(after.m_pLut->GetVOIWidth(), row.width);
        EXPECT_EQ(NameOf(*after.m_Manager.m_Entries[0]), row.explanation);
        if (entry != nullptr) {
            const auto* const lut = before.m_Manager.CreateDicomVOILut(entry, 255, VOI_LUT_OWNED_BY_MANAGER);
            const auto expected = Fill(*lut, 4096, row.center, row.width);
            EXPECT_EQ(Fill(*after.m_pLut, 4096, row.center, row.width), expected);
        }
    }
    Opened opened(msg);
    OBJ_Msg untouched(msg);
    EXPECT_EQ(opened.m_Manager.SetVOILUT(&untouched, nullptr, NAN_, 2, Dicom_LO()), 0);
    EXPECT_TRUE(untouched == msg);
}

TEST(MapperManager, ATableWindowIsSavedAsFarAsItsDescriptorReaches) {
    const struct {
        double intercept, center, width;
        int saved;
    } rows[] = {{0, 100, 3, 1}, {0, 40001, 3, 1}, {-1, 40001, 3, 0}, {0, -40000, 3, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.center << " intercept " << row.intercept);
        Message msg;
        SetPixels(msg, 16, false, 1.0, row.intercept);
        AddTable(msg, Descriptor(4, 10, 8), "\x0A\x14\x1E\x28");
        Opened before(msg);
        EXPECT_EQ(before.m_Manager.SetVOILUT(&msg, before.m_Manager.m_Entries[0], row.center, row.width, {}),
                  row.saved);
        const Opened after(msg);
        EXPECT_EQ(after.m_pLut->GetVOICenter(), row.saved == 1 ? row.center : 12);
        EXPECT_EQ(Fill(*after.m_pLut, 65536, row.center, row.width)[65535], 40) << "the last entry";
    }
}
