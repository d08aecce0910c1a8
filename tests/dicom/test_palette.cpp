#include <DICOM/Dicom_OW.h>

#include <array>

#include "support.h"

namespace {

struct Table {
    int count, first, bits;
    int length;  ///< bytes of data; -1 for no attribute
};

void put_bytes(OBJ_Msg& msg, unsigned tag, int length, std::function<int(int)> entry) {
    std::vector<unsigned char> bytes;
    for (int i = 0; i < length; ++i) bytes.push_back(static_cast<unsigned char>(entry(i)));
    msg.Put(Dicom_Tag(tag), Dicom_OW(bytes.data(), static_cast<unsigned>(bytes.size()), 1, nullptr, false));
}

/// Red counts down, green counts up from 3, blue is half the index.
support::Message palette(const std::array<Table, 3>& tables) {
    support::Message msg;
    msg.Image(2, 2, "PALETTE COLOR");
    const std::function<int(int)> entries[] = {[](int i) { return 255 - i; }, [](int i) { return i + 3; },
                                               [](int i) { return i / 2; }};
    for (unsigned c = 0; c < 3; ++c) {
        const Table& t = tables[c];
        msg.Words(0x00281101 + c, "US",
                  {static_cast<std::uint16_t>(t.count), static_cast<std::uint16_t>(t.first),
                   static_cast<std::uint16_t>(t.bits)});
        if (t.length >= 0) put_bytes(msg, 0x00281201 + c, t.length, entries[c]);
    }
    return msg;
}

/// The map that an opening finds in the message; null for none. `params` owns it.
ZEV_ColorMap* read(OBJ_Msg& msg, ZEV_Params& params) {
    refhost::MemoryRaster raster(2, 2, 8, false);
    ZEV_Dicom().UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, nullptr);
    return params.GetDicomColorMap();
}

TEST(Palette, Tables) {
    const std::string name = " ZEV_Dicom::read_color_map ";
    const auto bitsDiffer = "3" + name + "The number of bits per color is not the same for all colors.\n";
    const auto notEight = "3" + name + "We don't support bits per pixel other than 8 in color tables\n";
    const auto sizes = "4" + name + "Unsupported different sizes for the color pallete lookup tables.\n";
    const auto smaller = [&name](const std::string& color) {
        return "5" + name + color + " table data is smaller than specified in the descriptor.\n";
    };
    const auto at = [](int i) { return ((255 - i) & 0xFF) << 16 | ((i + 3) & 0xFF) << 8 | ((i / 2) & 0xFF); };
    const auto grey = [](int i) { return i * 0x010101; };
    using Lines = std::vector<std::string>;
    const Lines allSmaller = {smaller("Red"), smaller("Green"), smaller("Blue")};
    const Table plain = {256, 0, 8, 256};
    const auto three = [](const Table& table) { return std::array<Table, 3>{table, table, table}; };
    const struct {
        const char* name;
        std::array<Table, 3> tables;
        Lines log;
        std::vector<std::pair<int, int>> expected;  ///< entry and colour; none for no map
    } rows[] = {
        {"256 entries", three(plain), {}, {{0, at(0)}, {77, at(77)}, {255, at(255)}}},
        {"128 entries", three({128, 0, 8, 128}), {}, {{2, at(1)}, {3, at(1)}, {255, at(127)}}},
        {"red's first decides", {{{256, 16, 8, 256}, plain, plain}}, {}, {{15, grey(15)}, {16, at(16)}}},
        {"first beyond all", {{{256, 65535, 8, 256}, plain, plain}}, {}, {{0, 0}, {255, grey(255)}}},
        {"data short", three({256, 0, 8, 200}), allSmaller, {{255, at(199)}, {128, at(100)}}},
        {"data long", {{plain, {256, 0, 8, 512}, plain}}, {smaller("Green"), sizes}, {{255, at(255)}}},
        {"two bytes for 65,536", three({0, 0, 8, 2}), allSmaller, {{127, at(0)}, {128, at(1)}}},
        {"a count of 0", three({0, 0, 8, 65536}), {}, {{0, at(0)}, {3, at(768)}, {255, at(65280)}}},
        {"bits differ", {{plain, plain, {256, 0, 16, 256}}}, {bitsDiffer}, {}},
        {"16 bits", three({256, 0, 16, 512}), {notEight}, {}},
        {"no data", {{plain, {256, 0, 8, -1}, plain}}, {}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        support::Message msg = palette(row.tables);
        support::LogCapture log;
        ZEV_Params params;
        const ZEV_ColorMap* const map = read(msg, params);
        log.lines.erase(std::remove_if(log.lines.begin(), log.lines.end(),
                                       [&](const std::string& line) { return line.find(name) == line.npos; }),
                        log.lines.end());
        EXPECT_EQ(log.lines, row.log);
        ASSERT_EQ(map == nullptr, row.expected.empty());
        for (const auto& [entry, color] : row.expected)
            EXPECT_EQ(map->TransformColor(entry).toRGB(), color) << entry;
    }
}

TEST(Palette, WhichImagesHaveOne) {
    const struct {
        const char *photometric, *presentation;
        bool palette;
    } rows[] = {{"PALETTE COLOR", nullptr, true},
                {"MONOCHROME2", nullptr, false},
                {"MONOCHROME2", "MIXED", true},
                {nullptr, "COLOR", true}};
    for (const auto& row : rows) {
        support::Message msg = palette({{{256, 0, 8, 256}, {256, 0, 8, 256}, {256, 0, 8, 256}}});
        msg.Remove(Dicom_Tag(0x00280004));
        if (row.photometric != nullptr) msg.Text(0x00280004, "CS", row.photometric);
        if (row.presentation != nullptr) msg.Text(0x00089205, "CS", row.presentation);
        ZEV_Params with, without;
        EXPECT_EQ(read(msg, with) != nullptr, row.palette);
        msg.Words(0x00281102, "US", {256});
        EXPECT_EQ(read(msg, without), nullptr);
    }
}

TEST(Palette, WrittenTablesComeBack) {
    ZEV_ColorMap map;
    map.AddEntry(L"0.0", L"102030");
    map.AddEntry(L"1.0", L"F0A001");
    map.CreateTable();
    map.SetUID(L"1.2.3");
    map.GetTable()[9].m_Green = 0x1FF;
    ZEV_Params params;
    support::Message msg;
    params.SetColorMap(&map);
    map.SetDummy(true);
    ZEV_Dicom().UpdateTheDicom(&msg, &params);
    EXPECT_EQ(msg.Get(Dicom_Tag(0x00281101)), nullptr);

    map.SetDummy(false);
    ZEV_Dicom().UpdateTheDicom(&msg, &params);
    EXPECT_EQ(msg.Get(Dicom_Dictionary::MIREL_COLOR_MAP_UID)->GetText(0), L"1.2.3");
    msg.Remove(Dicom_Dictionary::MIREL_COLOR_MAP_UID);
    ZEV_Params opened;
    ZEV_ColorMap* const back = read(msg.Image(2, 2, "PALETTE COLOR"), opened);
    ASSERT_NE(back, nullptr);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(back->TransformColor(i).toRGB(), map.TransformColor(i).toRGB()) << i;
}

}  // namespace
