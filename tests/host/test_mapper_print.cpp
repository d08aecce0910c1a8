#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_US.h>
#include <MAPPER/Mapper_PrinterLUT.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <OBJ/OBJ_Msg.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "support.h"

namespace {

OBJ_Msg MsgWithLut(std::vector<unsigned short> entries, unsigned short bits) {
    OBJ_Msg msg;
    Dicom_Msg* const item = msg.AddItem(Dicom_Tag(0x20500010));
    item->Put(Dicom_Tag(0x00283002),
              Dicom_US(static_cast<unsigned short>(entries.size())) | Dicom_US(0) | Dicom_US(bits));
    item->Put(Dicom_Tag(0x00283006),
              Dicom_OW(entries.data(), static_cast<unsigned int>(entries.size() * 2), 2, nullptr, false));
    return msg;
}

}  // namespace

TEST(MapperPval, ShapesTheWindow) {
    OBJ_Msg msg = MsgWithLut({0, 100, 400, 1023}, 10);
    Mapper_Pval pval(&msg);
    ASSERT_TRUE(pval.HasPvalLut());
    EXPECT_FALSE(pval.IsLutReversing());
    EXPECT_EQ(pval.GetLutInputCount(), 4);
    const struct {
        const char* name;
        int low, high, top, index, level;
    } rows[] = {
        // Levels of the four entries at top 255: 0, 25, 100, 255; at top 4095: 0, 400, 1601, 4095.
        {"just before the second entry", 100, 400, 255, 149, 0},
        {"fourth entry from its half", 100, 400, 255, 350, 255},
        {"finer output", 100, 400, 4095, 250, 1601},
        {"starts before the table", -300, 300, 255, 0, 100},
        {"backwards, above the end", 400, 100, 255, 50, 255},
        {"no output", 100, 400, 0, 400, 0},
        {"top beyond 16 bits", 100, 400, INT_MAX, 400, 65535},
        {"all the range there is", INT_MIN, INT_MAX, 255, 0, 100},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        pval.UpdateWindowValues(row.low, row.high, row.top);
        EXPECT_EQ(pval.m_pWindowLut[row.index], row.level);
    }
}

TEST(MapperPval, ComesBehindTheChosenVoiFunction) {
    for (const bool isFalling : {false, true}) {
        SCOPED_TRACE(isFalling ? "negative slope: values for 1 - u, inverted" : "");
        support::Message msg;
        msg.Window("100", "50", "SIGMOID").Lut(0x20500010, 0, 8, {0, 10, 20, 200, 255});
        msg.Lut(0x00283010, 0, 8, {0, 255, 64}).Rescale(isFalling ? "-1" : "1", "0");
        Mapper_WindowingManager manager(&msg);
        manager.Init();
        ASSERT_EQ(manager.m_Entries.size(), 2u);
        Mapper_Pval pval(&msg);
        const struct {
            const Mapper_WindowingEntry* entry;
            int index;  // in a window from 100 to 200
            int level;
        } rows[] = {
            // The sigmoid is 0.119 at the lower end, 0.378 at 0.375 of the window, 0.646 at 0.65, 0.881.
            {manager.m_Entries[0], 100, 0},
            {manager.m_Entries[0], 110, 10},
            {manager.m_Entries[0], 165, 200},
            {manager.m_Entries[0], 199, 255},
            {manager.m_Entries[1], 133, 0},
            {manager.m_Entries[1], 134, 255},
            {manager.m_Entries[1], 199, 10},
            {nullptr, 165, 200},
            {nullptr, 110, 0},
        };
        for (const auto& row : rows) {
            SCOPED_TRACE(row.index);
            pval.SetWindowingType(manager, row.entry);
            pval.UpdateWindowValues(100, 200, 255);
            EXPECT_EQ(pval.m_pWindowLut[isFalling ? 300 - row.index : row.index],
                      isFalling ? 255 - row.level : row.level);
        }
    }
}

TEST(MapperPval, OnlyASequenceMakesALut) {
    OBJ_Msg shaped;
    shaped.PutBytes(Dicom_Tag(0x20500020), "CS", "INVERSE ", 8);
    OBJ_Msg broken = MsgWithLut({1, 2}, 20);
    OBJ_Msg* const messages[] = {nullptr, &shaped, &broken};
    for (OBJ_Msg* msg : messages) {
        Mapper_Pval pval(msg);
        EXPECT_FALSE(pval.HasPvalLut() || pval.IsLutReversing() || pval.isPaic());
        EXPECT_EQ(pval.GetLutInputCount(), 0);
        EXPECT_EQ(pval.m_pWindowLut[Mapper_Pval::WINDOW_LUT_SIZE - 1], 0);
        pval.UpdateWindowValues(0, 10, 255);
        EXPECT_EQ(pval.m_pWindowLut[5], 128) << "a straight line";
    }
}

TEST(MapperPrinterLut, ChangesTheRegionOnly) {
    std::vector<unsigned short> inverse(256);
    for (unsigned int i = 0; i < 256; ++i) inverse[i] = static_cast<unsigned short>(255 - i);
    const Mapper_PrinterLUT lut(inverse.data(), inverse.size(), 8);
    const struct {
        const char* name;
        Mapper_Point from, to;
        unsigned long count;
        std::vector<int> changed;  // of the 4 x 3 pixels
    } rows[] = {
        {"one pixel", {1, 1}, {1, 1}, 12, {5}},
        {"both corners belong to it", {1, 0}, {2, 1}, 12, {1, 2, 5, 6}},
        {"clipped", {3, -5}, {900, 900}, 12, {3, 7, 11}},
        {"fewer pixels than width x height", {0, 0}, {3, 2}, 6, {0, 1, 2, 3, 4, 5}},
        {"absurd corners", {1, INT_MIN}, {INT_MAX, INT_MAX}, 12, {1, 2, 3, 5, 6, 7, 9, 10, 11}},
    };
    for (const auto& row : rows) {
        for (const int samples : {1, 4}) {
            SCOPED_TRACE(testing::Message() << row.name << ", samples " << samples);
            std::vector<unsigned char> pixels(12 * static_cast<std::size_t>(samples), 10);
            Mapper_Point from = row.from;
            Mapper_Point to = row.to;
            EXPECT_EQ(lut.ApplyPrinterLUT(pixels.data(), row.count, 8, 8,
                                          static_cast<unsigned short>(samples), 4, 3, &from, &to),
                      row.changed.size());
            for (int i = 0; i < static_cast<int>(pixels.size()); ++i) {
                const bool in = std::count(row.changed.begin(), row.changed.end(), i / samples) > 0;
                ASSERT_EQ(pixels[static_cast<std::size_t>(i)], in ? 245 : 10) << i;
            }
        }
    }
}

TEST(MapperPrinterLut, ScalesToTheSamples) {
    const unsigned short three[] = {0, 512, 1023};
    const Mapper_PrinterLUT lut(three, 3, 10);
    // The second has bits above the stored ones.
    for (const auto& [sample, expected] : {std::pair{2047, 2050}, {60000, 4095}}) {
        auto word = static_cast<unsigned short>(sample);
        EXPECT_EQ(lut.ApplyPrinterLUT(&word, 1, 16, 12, 1, 1, 1, nullptr, nullptr), 1u);
        EXPECT_EQ(word, expected);
    }
    unsigned char byte = 9;
    EXPECT_EQ(lut.ApplyPrinterLUT(nullptr, 1, 8, 8, 1, 1, 1, nullptr, nullptr), 0u);
    EXPECT_EQ(lut.ApplyPrinterLUT(&byte, 1, 12, 12, 1, 1, 1, nullptr, nullptr), 0u);
    EXPECT_EQ(byte, 9);
}
