#include <chrono>
#include <filesystem>
#include <thread>

#include "image_support.h"
#include "io/dicom_editor.h"

namespace {

using support::BytesOf;
using support::Encoded;
using support::Fragments;
using support::OneRow;

constexpr const char* kExplicit = "1.2.840.10008.1.2.1";
constexpr const char* kRle = "1.2.840.10008.1.2.5";
constexpr const char* kJpegLossless = "1.2.840.10008.1.2.4.70";
constexpr std::uint32_t kFrameCount = DicomTag(0x0028, 0x0008), kColumns = DicomTag(0x0028, 0x0011);
const LoadOptions kPartial{0, true};

/// One row as a lossless JPEG frame of 16 bits (ISO 10918-1 Annex H): the difference from the pixel on the
/// left, as a category in a code of 5 bits and that many bits of the number.
std::string jpeg_lossless(const std::vector<std::uint32_t>& row) {
    std::string bits;
    const auto put = [&](std::uint32_t value, int count) {
        while (count-- > 0) bits += static_cast<char>('0' + ((value >> count) & 1));
    };
    std::uint32_t left = 0x8000;
    for (std::uint32_t value : row) {
        const int difference = static_cast<std::int16_t>(value - left);
        int category = 0;
        while ((std::abs(difference) >> category) != 0) ++category;
        put(static_cast<std::uint32_t>(category), 5);
        if (category < 16) put(static_cast<std::uint32_t>(difference - (difference < 0)), category);
        left = value;
    }
    while (bits.size() % 8 != 0) bits += '1';
    std::string data;
    for (std::size_t i = 0; i < bits.size(); i += 8) {
        data += static_cast<char>(std::stoi(bits.substr(i, 8), nullptr, 2));
        if (data.back() == '\xFF') data += '\0';
    }
    std::string stream("\xFF\xD8\xFF\xC3\x00\x0B\x10\x00\x01\x00", 10);
    stream += static_cast<char>(row.size());
    stream +=
        std::string("\x01\x01\x11\x00\xFF\xC4\x00\x24\x00\x00\x00\x00\x00\x11", 14) + std::string(11, '\0');
    for (char category = 0; category <= 16; ++category) stream += category;
    return stream + std::string("\xFF\xDA\x00\x08\x01\x01\x00\x01\x00\x00", 10) + data + "\xFF\xD9";
}

/// One row of bytes.
std::string rle(const std::string& row) {
    std::vector<std::uint32_t> header(16);
    header[0] = 1;
    header[1] = 64;
    return BytesOf(header, 4) + static_cast<char>(row.size() - 1) + row;
}

std::string native(const std::string& bytes, std::uint32_t claimed = 0) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    return BytesOf({0x00107FE0}, 4) + "OW" + BytesOf({0}, 2) + BytesOf({claimed == 0 ? size : claimed}, 4) +
           bytes;
}

class Frames : public support::ImageTest {};

TEST_F(Frames, DecodedSamplesBeyondTheStoredBitsAreLimited) {
    const struct {
        const char* name;
        bool isSigned;
        int padding;  // 0 for none
        std::vector<std::uint32_t> samples;
        std::vector<int> expected;
    } rows[] = {
        {"unsigned", false, 0, {100, 4095, 4096, 60000}, {100, 4095, 4095, 4095}},
        {"signed", true, 0, {0xF800, 0xF000, 2047, 2048, 0xFFFF}, {-2048, -2048, 2047, 2047, -1}},
        {"signed in patterns of the stored bits", true, 0, {0x800, 0x7FF, 0xFFF}, {-2048, 2047, -1}},
        {"padding beyond the stored bits", false, 60000, {100, 60000}, {100, 60000}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow(row.samples, 16, 12, 11, row.isSigned);
        if (row.padding != 0) set.PutWord(DicomTag(0x0028, 0x0120), "US", row.padding);
        EXPECT_EQ(Values(LoadBytes(Encoded(set, kJpegLossless, Fragments("", {jpeg_lossless(row.samples)})))),
                  row.expected);
    }
}

TEST_F(Frames, PixelsOfAVendorsSyntaxAreBigEndian) {
    const DicomDataSet set = OneRow({0x0100, 0x0200, 0xFFFE}, 16, 16, 15, true);
    const std::string elements = EncodeDataSet(set, DicomEditor::Encoding{false, false});
    EXPECT_EQ(Values(LoadBytes(Encoded({}, "1.2.840.113619.5.2", elements))), (std::vector<int>{1, 2, -257}));
}

TEST_F(Frames, EachIsFoundWhereItLies) {
    const std::vector<std::uint32_t> pixels[] = {{1, 2, 3}, {40, 50, 60}, {700, 800, 900}};
    // What follows a frame's end is ignored; here it looks like a beginning, which only a table disproves.
    const std::string decoy = "\xFF\xD8junk";
    std::vector<std::string> whole, halves, decoyed;
    std::vector<std::uint32_t> offsets;
    std::uint32_t offset = 0;
    for (const auto& row : pixels) {
        whole.push_back(jpeg_lossless(row));
        halves.push_back(whole.back().substr(0, 30));
        halves.push_back(whole.back().substr(30));
        decoyed.push_back(whole.back());
        decoyed.push_back(decoy);
        offsets.push_back(offset);
        offset +=
            static_cast<std::uint32_t>(16 + whole.back().size() + whole.back().size() % 2 + decoy.size());
    }
    const std::string table = BytesOf(offsets, 4);
    const std::string extended = BytesOf({0x00017FE0}, 4) + "OV" + BytesOf({0}, 2) +
                                 BytesOf({24, offsets[0], 0, offsets[1], 0, offsets[2], 0}, 4);
    const std::string damaged = Fragments("", whole);
    const std::size_t second = damaged.find(whole[1]) - 4;
    const struct {
        const char* name;
        std::string pixelData;
        const char* refusal;  // null for none
    } rows[] = {
        {"a fragment each", Fragments("", whole), nullptr},
        {"offset table", Fragments(table, decoyed), nullptr},
        {"extended offset table", extended + Fragments("", decoyed), nullptr},
        {"where streams begin", Fragments("", halves), nullptr},
        {"a table that leads outside", Fragments(BytesOf({0, 0xFFFFFFF0, 8}, 4), halves), nullptr},
        {"a table that runs backwards", Fragments(BytesOf({offsets[1], 0, offsets[2]}, 4), halves), nullptr},
        {"too few", Fragments("", {whole[0], whole[1]}), "2 fragments of pixel data for 3 frames"},
        {"a length beyond the file", std::string(damaged).replace(second, 4, "\xF0\xFF\xFF\x7F"),
         "cut short"},
        {"an undefined length", std::string(damaged).replace(second, 4, "\xFF\xFF\xFF\xFF"), "cut short"},
        {"another tag between", std::string(damaged).replace(second - 4, 4, "abcd"), "cut short"},
    };
    DicomDataSet set = OneRow({0, 0, 0}, 16, 16, 15, false);
    set.PutText(kFrameCount, "IS", "3");
    // An icon has pixel data of its own.
    set.elements[DicomTag(0x0088, 0x0200)] = DicomElement{"SQ", "", {OneRow({9}, 8, 8, 7, false)}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string file = Encoded(set, kJpegLossless, row.pixelData);
        for (int frame = 0; frame < 3; ++frame) {
            if (row.refusal != nullptr) {
                const std::string refusal = RefusalOf(file, {frame});
                EXPECT_NE(refusal.find(row.refusal), std::string::npos) << refusal;
                continue;
            }
            const std::vector<std::uint32_t>& expected = pixels[frame];
            EXPECT_EQ(Values(LoadBytes(file, {frame})), std::vector<int>(expected.begin(), expected.end()));
        }
    }
    // Three fragments of six are not three frames, whatever a wrong table says.
    for (const std::string& wrong : {std::string(), BytesOf({0, 0, 0}, 4)}) {
        std::string cut = Fragments(wrong, {halves.begin(), halves.begin() + 3});
        cut.resize(cut.size() - 10);
        const std::string file = Encoded(set, kJpegLossless, cut);
        EXPECT_EQ(Values(LoadBytes(file, {0, true})), (std::vector<int>{1, 2, 3}));
        EXPECT_NE(RefusalOf(file, {1, true}).find("ends within a compressed frame"), std::string::npos);
    }
    // The file that was opened last is kept, but not beyond a change of it.
    const auto write = [&](const std::vector<std::uint32_t>& values) {
        support::WriteFile(m_Directory / "kept.dcm", Encoded(set, kExplicit, native(BytesOf(values, 2))));
        std::filesystem::last_write_time(
            m_Directory / "kept.dcm", std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::vector<int> read;
        for (int frame = 0; frame < 3; ++frame)
            read.push_back(Values(DicomFile::Load(m_Directory / "kept.dcm", frame))[2]);
        return read;
    };
    EXPECT_EQ(write({1, 2, 3, 4, 5, 6, 7, 8, 9}), (std::vector<int>{3, 6, 9}));
    set.PutWord(DicomTag(0x0028, 0x0102), "US", 14);
    set.PutWord(DicomTag(0x0028, 0x0101), "US", 15);
    EXPECT_EQ(write({1, 2, 0x8007, 4, 5, 8, 7, 8, 9}), (std::vector<int>{7, 8, 9}));
    // Three pixels of a bit each, from the lowest bit on: frames begin within bytes.
    set.PutWord(DicomTag(0x0028, 0x0100), "US", 1);
    set.PutWord(DicomTag(0x0028, 0x0101), "US", 1);
    set.PutWord(DicomTag(0x0028, 0x0102), "US", 0);
    const std::string bits = Encoded(set, kExplicit, native(std::string("\x9D\x01", 2)));
    EXPECT_EQ(Values(LoadBytes(bits, {0})), (std::vector<int>{1, 0, 1}));
    EXPECT_EQ(Values(LoadBytes(bits, {1})), (std::vector<int>{1, 1, 0}));
    EXPECT_EQ(Values(LoadBytes(bits, {2})), (std::vector<int>{0, 1, 1}));
}

TEST_F(Frames, OneThatIsCutShortIsDrawnAsFarAsItGoes) {
    // Two rows of four, six pixels of which are there.
    const std::string six("\x05\x03\x09\x84\x05\x06", 6);
    const std::string run = Fragments("", {rle(six + "ab")});
    const std::string cutRun = run.substr(0, run.size() - 11),
                      wholeFrame = native(six + "\x07\x08" + "abc", 16);
    const struct {
        const char* name;
        const char* syntax;
        std::string pixelData;
        bool isWhole;  // the first of two frames
    } rows[] = {
        {"shorter than its length", kExplicit, native(six, 8), false},
        {"shorter than the image", kExplicit, native(six), false},
        {"run-length coded", kRle, cutRun, false},
        {"the first of two", kExplicit, wholeFrame, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow({0, 0, 0, 0}, 8, 8, 7, false);
        set.PutWord(DicomTag(0x0028, 0x0010), "US", 2);
        if (row.isWhole) set.PutText(kFrameCount, "IS", "2");
        const std::string bytes = Encoded(set, row.syntax, row.pixelData);
        EXPECT_NE(RefusalOf(bytes).find("cut short"), std::string::npos);
        const DicomFile file = LoadBytes(bytes, kPartial);
        // What is missing repeats what is there.
        EXPECT_EQ(Values(file), row.isWhole ? (std::vector<int>{5, 3, 9, 0x84, 5, 6, 7, 8})
                                            : (std::vector<int>{5, 3, 9, 0x84, 5, 6, 5, 3}));
        EXPECT_EQ(file.PresentPixels(), row.isWhole ? 8U : 6U);
        ASSERT_EQ(file.Notes().size(), row.isWhole ? 0U : 1U);
        if (row.isWhole) {
            EXPECT_EQ(RefusalOf(bytes, {1, true}), "");
            EXPECT_NE(RefusalOf(Encoded(set, row.syntax, native(six + "ab", 16)), {1, true})
                          .find("before the first pixel"),
                      std::string::npos);
        } else {
            EXPECT_EQ(file.Notes()[0].code, "partial");
            EXPECT_EQ(file.Notes()[0].text,
                      "the pixel data are cut short: 1 of 2 rows missing or incomplete");
        }
    }
    DicomDataSet huge = OneRow({0}, 32, 32, 31, false);
    huge.PutWord(DicomTag(0x0028, 0x0010), "US", 65535);
    huge.PutWord(kColumns, "US", 65535);
    EXPECT_NE(RefusalOf(Encoded(huge, kExplicit, native(six)), kPartial).find("1 GiB"), std::string::npos);
}

TEST_F(Frames, RangeOfAllFrames) {
    using Range = std::optional<std::pair<double, double>>;
    const struct {
        const char* name;
        std::vector<std::uint32_t> pixels;  // of three frames of two
        int allocated;
        int low, high;  // of the file; -1 for none
        int padding;    // 0 for none
        Range expected;
    } rows[] = {
        {"read", {5, 6, 1, 7, 300, 8}, 16, -1, -1, 0, Range({1, 300})},
        {"without padding", {5, 6, 1, 7, 300, 8}, 16, -1, -1, 300, Range({1, 8})},
        {"given", {5, 6, 1, 7, 300, 8}, 16, 0, 1000, 0, Range({0, 1000})},
        {"given, but not of this image", {5, 6, 1, 7, 300, 8}, 16, 6, 9, 0, Range({1, 300})},
        {"reduced", {100000, 165540, 100000, 7, 0, 8}, 32, -1, -1, 0, Range({-50000, 32770})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DicomDataSet set = OneRow(row.pixels, row.allocated, row.allocated, row.allocated - 1, false);
        set.PutText(kFrameCount, "IS", "3");
        set.PutWord(kColumns, "US", 2);
        if (row.low >= 0) set.PutWord(DicomTag(0x0028, 0x0106), "US", row.low);
        if (row.high >= 0) set.PutWord(DicomTag(0x0028, 0x0107), "US", row.high);
        if (row.padding != 0) set.PutWord(DicomTag(0x0028, 0x0120), "US", row.padding);
        EXPECT_EQ(Load(set).WholeImageRange(), row.expected);
    }
    EXPECT_EQ(Load(OneRow({1, 2}, 16, 16, 15, false)).WholeImageRange(), Range());
    DicomDataSet cut = OneRow({5, 6, 1, 7}, 16, 16, 15, false);
    cut.PutText(kFrameCount, "IS", "9");
    cut.PutWord(kColumns, "US", 2);
    EXPECT_EQ(LoadBytes(EncodeDicomFile(cut), kPartial).WholeImageRange(), Range({1, 7}));
}

TEST_F(Frames, TransferSyntaxesThatCannotBeReadAreNamed) {
    const struct {
        const char* uid;
        const char* reason;
    } rows[] = {
        {"1.2.840.10008.1.2.4.201",
         "is compressed with High-Throughput JPEG 2000 (1.2.840.10008.1.2.4.201), which cannot be read"},
        {"1.2.840.10008.1.2.4.100.1", "is compressed with MPEG-2 ("},
        {"1.2.840.10008.1.2.4.53", "is compressed with a retired JPEG process ("},
        {"1.2.840.10008.1.2.4.94", "contains JPIP references to pixels elsewhere ("},
        {"1.2.3.4", "has an unknown transfer syntax (1.2.3.4)"},
        {"1.2.840.10008.1.2.8.1", "is compressed with Deflated Image Frame Compression ("},
    };
    const DicomDataSet set = OneRow({0, 0, 0}, 8, 8, 7, false);
    for (const auto& row : rows) {
        const std::string refusal = RefusalOf(Encoded(set, row.uid, Fragments("", {"abcd"})));
        EXPECT_NE(refusal.find(row.reason), std::string::npos) << row.uid << " " << refusal;
    }
}

}  // namespace
