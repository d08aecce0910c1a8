#include <algorithm>

#include "image_support.h"
#include "io/dicom_dictionary.h"
#include "io/dicom_editor.h"
#include "io/dicomdir.h"
#include "io/pixel_decoder.h"
#include "io/plain_reader.h"

namespace {

using support::BytesOf;
using support::Item;
using support::OneRow;

bool operator==(const DicomDataSet& a, const DicomDataSet& b);

bool same(const DicomElement& a, const DicomElement& b) {
    return a.vr == b.vr && a.bytes == b.bytes &&
           std::equal(a.items.begin(), a.items.end(), b.items.begin(), b.items.end(),
                      [](const DicomDataSet& x, const DicomDataSet& y) { return x == y; });
}

bool operator==(const DicomDataSet& a, const DicomDataSet& b) {
    return std::equal(
        a.elements.begin(), a.elements.end(), b.elements.begin(), b.elements.end(),
        [](const auto& x, const auto& y) { return x.first == y.first && same(x.second, y.second); });
}

/// The tags that differ.
std::string differences(const DicomDataSet& a, const DicomDataSet& b) {
    std::ostringstream text;
    for (const auto& [one, other] : {std::pair{&a, &b}, {&b, &a}}) {
        for (const auto& [tag, element] : one->elements) {
            const DicomElement* found = other->Find(tag);
            if (found == nullptr || !same(element, *found))
                text << std::hex << tag << " " << element.vr << " " << (found ? found->vr : "absent") << "; ";
        }
    }
    return text.str();
}

void expect_as_library(const std::string& path, const DicomHead& own) {
    const DicomHead other = LoadDicomLibrary().ReadHead(path, true);
    EXPECT_TRUE(own.dataSet == other.dataSet) << differences(own.dataSet, other.dataSet);
    EXPECT_EQ(own.transferSyntax, other.transferSyntax);
    EXPECT_EQ(own.pixels.isEncapsulated, other.pixels.isEncapsulated);
    EXPECT_EQ(own.pixels.isCutShort, other.pixels.isCutShort);
    EXPECT_EQ(own.pixels.claimed, other.pixels.claimed);
    EXPECT_EQ(own.pixels.frameOffsets, other.pixels.frameOffsets);
    ASSERT_EQ(own.pixels.extents.size(), other.pixels.extents.size());
    for (std::size_t i = 0; i < own.pixels.extents.size(); ++i) {
        EXPECT_TRUE(own.pixels.read(own.pixels.extents[i]) == other.pixels.read(other.pixels.extents[i]));
    }
}

class Plain : public support::ImageTest {
protected:
    std::optional<DicomHead> Read(const std::string& bytes) {
        const std::string path = m_Directory / "plain.dcm";
        support::WriteFile(path, bytes);
        return ReadPlainHead(path);
    }
    /// A file of explicit elements, or of implicit ones, with four pixels.
    static std::string FileOf(const std::string& elements, const char* syntax = "1.2.840.10008.1.2.1") {
        const bool isExplicit = std::string(syntax) != "1.2.840.10008.1.2";
        DicomDataSet pixels;
        pixels.elements[support::kPixels] = DicomElement{"OW", "abcd", {}};
        const DicomEditor::Encoding encoding{isExplicit, false};
        return support::Encoded({}, syntax, elements + EncodeDataSet(pixels, encoding));
    }
};

TEST_F(Plain, ReadsWhatTheLibraryReads) {
    std::vector<std::string> paths = WriteSamples(m_Directory.Path());
    std::size_t plain = 0;
    for (auto& row : support::TestData().empty() ? decltype(support::Manifest())() : support::Manifest())
        paths.push_back(support::TestData() + "/" + row["file"]);
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        const std::optional<DicomHead> own = ReadPlainHead(path);
        if (!own) continue;
        ++plain;
        expect_as_library(path, *own);
    }
    // The others are deflated, big-endian or not DICOM.
    EXPECT_GE(plain + 4, paths.size());
}

TEST_F(Plain, WhatIsUnusualIsLeftToTheLibrary) {
    const auto element = [](std::uint32_t tag, const std::string& vr, const std::string& value) {
        const bool isLong = vr == "UN" || vr == "SQ" || vr == "OB";
        return BytesOf({tag >> 16, tag & 0xFFFF}, 2) + vr + (isLong ? std::string(2, '\0') : "") +
               BytesOf({static_cast<std::uint32_t>(value.size())}, isLong ? 4 : 2) + value;
    };
    const std::string modality = element(tag::kModality, "CS", "CT"),
                      uid = element(tag::kSopClass, "UI", "1.2");
    const std::string undefined = BytesOf({0xFFFFFFFF}, 4), end = Item("", 0xE0DDFFFE);
    std::string nested, deep;
    for (int depth = 0; depth < 100; ++depth) nested = element(0x00081140, "SQ", Item(nested));
    for (int depth = 0; depth < 100; ++depth)
        deep = std::string("\x08\0\x40\x11SQ\0\0", 8) + undefined + Item("").substr(0, 4) + undefined + deep;
    const char* implicit = "1.2.840.10008.1.2";
    const struct {
        const char* name;
        std::string bytes;
        bool isPlain;
    } rows[] = {
        {"sound", FileOf(modality), true},
        {"a private attribute of unknown form", FileOf(element(0x00091001, "UN", "abcd")), true},
        {"a public one of unknown form", FileOf(element(tag::kModality, "UN", "CT")), true},
        {"an unknown sequence", FileOf(element(0x00081140, "UN", Item(""))), false},
        {"a hundred sequences of known length", FileOf(nested), true},
        {"a hundred sequences without end", FileOf(deep), false},
        {"tags that descend", FileOf(modality + element(tag::kSopClass, "UI", "12")), false},
        {"the same tag twice", FileOf(modality + modality), false},
        {"an odd length", FileOf(uid), false},
        {"no representation", FileOf(element(tag::kModality, "??", "CT")), false},
        {"an unknown representation", FileOf(element(tag::kModality, "ZZ", "CT")), false},
        {"a length beyond the file",
         FileOf(element(0x00091001, "OB", "ab").replace(8, 4, "\xF0\xFF\xFF\x7F")), false},
        {"explicit elements in an implicit file", FileOf(modality, implicit), false},
        {"an implicit file", FileOf(BytesOf({0x00600008, 2, 0x41414343, 2}, 4).substr(0, 8) + "CT", implicit),
         true},
        {"big-endian", FileOf("", "1.2.840.10008.1.2.2"), false},
        {"no preamble", FileOf(modality).substr(128), false},
        {"nothing", "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::optional<DicomHead> head = Read(row.bytes);
        EXPECT_EQ(head.has_value(), row.isPlain);
        if (head) expect_as_library(m_Directory / "plain.dcm", *head);
    }

    EXPECT_EQ(RepresentationOf(tag::kModality, false), "CS");
    EXPECT_EQ(RepresentationOf(tag::kSmallestPixelValue, true), "SS");
    EXPECT_EQ(RepresentationOf(0x00280002, false), "US");
    EXPECT_EQ(RepresentationOf(DicomTag(0x0008, 0xFFFE), false), "UN");
}

TEST_F(Plain, CutAnywhereItStaysWithinTheBytes) {
    DicomDataSet set = OneRow({1, 2, 3, 4}, 16, 12, 11, true), inner;
    inner.PutText(tag::kModality, "CS", "MR");
    set.elements[tag::kReferencedImages] = DicomElement{"SQ", "", {inner, inner}};
    const std::string whole = EncodeDicomFile(set);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::optional<DicomHead> head = Read(whole.substr(0, size));
        if (head) {
            EXPECT_TRUE(head->pixels.isCutShort) << size;
        }
    }
    for (std::size_t at = 132; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = "\0\x7F\xFF"[at % 3];
        Read(changed);
    }
}

TEST_F(Plain, DicomDirNamesItsImages) {
    const auto record = [](const char* type, const char* file) {
        DicomDataSet set;
        set.PutText(DicomTag(0x0004, 0x1430), "CS", type);
        if (file != nullptr) set.PutText(DicomTag(0x0004, 0x1500), "CS", file);
        return set;
    };
    DicomDataSet set;
    set.PutText(tag::kSopClass, "UI", "1.2.840.10008.1.3.10");
    set.PutText(tag::kSopInstance, "UI", "2.25.1");
    std::string bytes = EncodeDicomFile(set);
    DicomDataSet records;
    records.elements[DicomTag(0x0004, 0x1220)] = DicomElement{
        "SQ",
        "",
        {record("PATIENT", nullptr), record("IMAGE", "IMAGES\\B"), record("IMAGE", "IMAGES\\A1"),
         record("IMAGE", "IMAGES\\GONE"), record("PRESENTATION", "IMAGES\\B"), record("IMAGE", "..\\B"),
         record("IMAGE", "\\IMAGES\\B"), record("IMAGE", "IMAGES\\\\B"), record("IMAGE", "IMAGES\\C")}};
    bytes.resize(bytes.size() - EncodeDataSet(set).size());
    const std::string path = m_Directory / "DICOMDIR", images = m_Directory / "images";
    support::WriteFile(path, bytes + EncodeDataSet(records));
    std::filesystem::create_directory(images);
    for (const char* name : {"B", "a1.dcm", "c."}) support::WriteFile(images + "/" + name, "");
    EXPECT_TRUE(IsDicomDir(path));
    EXPECT_FALSE(IsDicomDir(images + "/B"));
    EXPECT_EQ(ReadDicomDir(path), (std::vector<std::string>{images + "/B", images + "/a1.dcm",
                                                            images + "/GONE", images + "/c."}));
}

}  // namespace
