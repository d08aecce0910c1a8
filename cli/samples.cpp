#include "samples.h"

#include <algorithm>
#include <cstring>

#include "io/atomic_file.h"
#include "io/dicom_elements.h"
#include "io/dicom_tags.h"
#include "io/dicom_writer.h"
#include "phantoms.h"
#include "sample_state.h"

namespace {

/// Under the root for derived UIDs; fixed, so that the files are the same each time.
constexpr const char* kUidRoot = "2.25.30281746518203945761028374650192837";

struct Attribute {
    std::uint32_t tag;
    const char* vr;
    const char* text;
};

struct Sample {
    const char* name;
    const char* sopClass;
    const char* modality;
    const char* photometric;
    int bits;  ///< 32: floating-point numbers
    bool isSigned;
    Phantom (*draw)();
    std::vector<Attribute> attributes;
    /// What no text tells; may be null.
    void (*complete)(DicomDataSet& set);
};

void add_padding(DicomDataSet& set) {
    set.PutWord(tag::kPixelPaddingValue, "US", 0);
    set.PutWord(tag::kPixelPaddingRangeLimit, "US", 40);
}

/// 350 MBq of F-18, an hour before the scan.
void add_radiopharmaceutical(DicomDataSet& set) {
    DicomDataSet drug;
    drug.PutText(DicomTag(0x0018, 0x0031), "LO", "Fluorodeoxyglucose");
    drug.PutText(DicomTag(0x0018, 0x1072), "TM", "110000");
    drug.PutText(DicomTag(0x0018, 0x1074), "DS", "350000000");
    drug.PutText(DicomTag(0x0018, 0x1075), "DS", "6586.2");
    set.elements[DicomTag(0x0054, 0x0016)] = DicomElement{"SQ", "", {drug}};
}

/// A ring around the lesion, and an arrow to it.
void add_overlay(DicomDataSet& set) {
    constexpr int kSide = 256, kX = 168, kY = 94;
    std::string bits(kSide * kSide / 8, '\0');
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) {
            const int dx = x - kX, dy = y - kY, square = dx * dx + dy * dy;
            const bool isRing = square >= 20 * 20 && square < 22 * 22;
            const bool isShaft = dx == -dy && dx >= 18 && dx < 44;
            const bool isHead = (dy == -18 && dx >= 18 && dx < 30) || (dx == 18 && dy <= -18 && dy > -30);
            const std::size_t at = static_cast<std::size_t>(y * kSide + x);
            if (isRing || isShaft || isHead) bits[at / 8] = static_cast<char>(bits[at / 8] | 1 << at % 8);
        }
    }
    set.PutWord(DicomTag(0x6000, 0x0010), "US", kSide);
    set.PutWord(DicomTag(0x6000, 0x0011), "US", kSide);
    set.PutText(DicomTag(0x6000, 0x0040), "CS", "G");
    set.elements[DicomTag(0x6000, 0x0050)] = DicomElement{"SS", std::string("\1\0\1\0", 4), {}};
    set.PutWord(DicomTag(0x6000, 0x0100), "US", 1);
    set.PutWord(DicomTag(0x6000, 0x0102), "US", 0);
    set.PutText(DicomTag(0x6000, 0x1500), "LO", "Lesion");
    set.elements[DicomTag(0x6000, 0x3000)] = DicomElement{"OW", bits, {}};
}

/// Values are diffusion coefficients as they are.
void add_diffusion(DicomDataSet& set) {
    const auto number = [](double value) {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        std::string bytes;
        for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(bits >> shift & 0xFF);
        return DicomElement{"FD", bytes, {}};
    };
    DicomDataSet mapping, units;
    units.PutText(DicomTag(0x0008, 0x0100), "SH", "mm2/s");
    units.PutText(DicomTag(0x0008, 0x0102), "SH", "UCUM");
    units.PutText(DicomTag(0x0008, 0x0104), "LO", "square millimetres per second");
    mapping.PutText(DicomTag(0x0028, 0x3003), "LO", "Apparent diffusion coefficient");
    mapping.PutText(DicomTag(0x0040, 0x9210), "SH", "ADC");
    mapping.elements[DicomTag(0x0040, 0x9213)] = number(1.0);
    mapping.elements[DicomTag(0x0040, 0x9214)] = number(0.0);
    mapping.elements[DicomTag(0x0040, 0x9224)] = number(0.0);
    mapping.elements[DicomTag(0x0040, 0x9225)] = number(1.0);
    mapping.elements[DicomTag(0x0040, 0x08EA)] = DicomElement{"SQ", "", {units}};
    set.elements[tag::kRealWorldValueMapping] = DicomElement{"SQ", "", {mapping}};
}

/// Indexes 0 to 127 are greys with a touch of blue; above them blood that flows away, slow to fast from blue
/// to cyan, and from 192 on blood that comes near, from red to yellow.
void add_doppler_palette(DicomDataSet& set) {
    std::string colours[3];
    for (int index = 0; index < 256; ++index) {
        const int grey = 2 * index, flow = 4 * (index % 64);
        const int away[] = {0, flow, 128 + flow / 2}, near[] = {128 + flow / 2, flow, 0};
        const int tissue[] = {grey * 7 / 8, grey * 15 / 16, std::min(255, grey + grey / 16)};
        const int* colour = index < 128 ? tissue : index < 192 ? away : near;
        for (std::size_t c = 0; c < 3; ++c) colours[c] += static_cast<char>(colour[c]);
    }
    for (unsigned c = 0; c < 3; ++c) {
        // 256 entries of 8 bits, the first for index 0
        set.elements[DicomTag(0x0028, 0x1101 + c)] =
            DicomElement{"US", std::string("\x00\x01\x00\x00\x08\x00", 6), {}};
        set.elements[DicomTag(0x0028, 0x1201 + c)] = DicomElement{"OW", colours[c], {}};
    }
}

const std::vector<Sample>& samples() {
    static const std::vector<Sample> s_Samples = {
        {"ct",
         "1.2.840.10008.5.1.4.1.1.2",
         "CT",
         "MONOCHROME2",
         16,
         true,
         DrawChest,
         {{tag::kWindowCenter, "DS", "40"},
          {tag::kWindowWidth, "DS", "400"},
          {tag::kRescaleIntercept, "DS", "-1024"},
          {tag::kRescaleSlope, "DS", "1"},
          {tag::kRescaleType, "LO", "HU"}},
         nullptr},
        {"mr",
         "1.2.840.10008.5.1.4.1.1.4",
         "MR",
         "MONOCHROME2",
         12,
         false,
         DrawHead,
         {{tag::kWindowCenter, "DS", "1150\\1700"},
          {tag::kWindowWidth, "DS", "2300\\1200"},
          {tag::kWindowExplanation, "LO", "HEAD\\LESION"}},
         nullptr},
        {"cr",
         "1.2.840.10008.5.1.4.1.1.1",
         "CR",
         "MONOCHROME1",
         12,
         false,
         DrawHand,
         {{tag::kWindowCenter, "DS", "2048"}, {tag::kWindowWidth, "DS", "3600"}},
         nullptr},
        {"mg",
         "1.2.840.10008.5.1.4.1.1.1.2",
         "MG",
         "MONOCHROME2",
         12,
         false,
         DrawBreast,
         {{tag::kPresentationIntent, "CS", "FOR PRESENTATION"},
          {tag::kWindowCenter, "DS", "2100"},
          {tag::kWindowWidth, "DS", "3200"},
          {tag::kRescaleIntercept, "DS", "0"},
          {tag::kRescaleSlope, "DS", "1"},
          {tag::kRescaleType, "LO", "US"}},
         add_padding},
        {"nm",
         "1.2.840.10008.5.1.4.1.1.20",
         "NM",
         "MONOCHROME2",
         8,
         false,
         DrawBody,
         {{tag::kWindowCenter, "DS", "64"}, {tag::kWindowWidth, "DS", "128"}},
         nullptr},
        {"xa",
         "1.2.840.10008.5.1.4.1.1.12.1",
         "XA",
         "MONOCHROME2",
         12,
         false,
         DrawVessels,
         {{tag::kWindowCenter, "DS", "1800"},
          {tag::kWindowWidth, "DS", "1600"},
          {tag::kVoiLutFunction, "CS", "SIGMOID"}},
         nullptr},
        {"pt",
         "1.2.840.10008.5.1.4.1.1.128",
         "PT",
         "MONOCHROME2",
         16,
         false,
         DrawUptake,
         {{DicomTag(0x0008, 0x0021), "DA", "20240101"},
          {DicomTag(0x0008, 0x0022), "DA", "20240101"},
          {DicomTag(0x0008, 0x0031), "TM", "120000"},
          {DicomTag(0x0008, 0x0032), "TM", "120000"},
          {DicomTag(0x0010, 0x0040), "CS", "F"},
          {DicomTag(0x0010, 0x1020), "DS", "1.72"},
          {DicomTag(0x0010, 0x1030), "DS", "75"},
          {DicomTag(0x0028, 0x0051), "CS", "DECY\\ATTN\\SCAT"},
          {tag::kWindowCenter, "DS", "24000"},
          {tag::kWindowWidth, "DS", "48000"},
          {tag::kRescaleIntercept, "DS", "0"},
          {tag::kRescaleSlope, "DS", "1.6"},
          {DicomTag(0x0054, 0x1000), "CS", "WHOLE BODY\\IMAGE"},
          {DicomTag(0x0054, 0x1001), "CS", "BQML"},
          {DicomTag(0x0054, 0x1102), "CS", "START"}},
         add_radiopharmaceutical},
        {"us",
         "1.2.840.10008.5.1.4.1.1.6.1",
         "US",
         "PALETTE COLOR",
         8,
         false,
         DrawDoppler,
         {},
         add_doppler_palette},
        {"mr-overlay",
         "1.2.840.10008.5.1.4.1.1.4",
         "MR",
         "MONOCHROME2",
         12,
         false,
         DrawHead,
         {{tag::kWindowCenter, "DS", "1150"}, {tag::kWindowWidth, "DS", "2300"}},
         add_overlay},
        {"adc",
         "1.2.840.10008.5.1.4.1.1.30",
         "MR",
         "MONOCHROME2",
         32,
         false,
         DrawHead,
         {{tag::kWindowCenter, "DS", "0.001"},
          {tag::kWindowWidth, "DS", "0.002"},
          {tag::kVoiLutFunction, "CS", "LINEAR_EXACT"}},
         add_diffusion},
    };
    return s_Samples;
}

/// 0 to 0.0024.
std::string real_pixels(const Phantom& phantom) {
    std::string bytes;
    for (const std::int32_t value : phantom.Pixels()) {
        const float number = static_cast<float>(value) * 6e-7F;
        std::uint32_t bits;
        std::memcpy(&bits, &number, sizeof bits);
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(bits >> shift & 0xFF);
    }
    return bytes;
}

DicomDataSet make_data_set(const Sample& sample, int number) {
    const std::string uid = kUidRoot;
    const Phantom phantom = sample.draw();
    DicomDataSet set;
    set.PutText(tag::kImageType, "CS", "DERIVED\\SECONDARY");
    set.PutText(tag::kSopClass, "UI", sample.sopClass);
    set.PutText(tag::kSopInstance, "UI", uid + std::to_string(100 + number));
    set.PutText(DicomTag(0x0008, 0x0020), "DA", "20240101");
    set.PutText(DicomTag(0x0008, 0x0030), "TM", "120000");
    set.PutText(tag::kModality, "CS", sample.modality);
    set.PutText(DicomTag(0x0010, 0x0010), "PN", std::string("Phantom^") + sample.modality);
    set.PutText(DicomTag(0x0010, 0x0020), "LO", std::string("ZEV-") + sample.modality);
    set.PutText(DicomTag(0x0020, 0x000D), "UI", uid + "1");
    set.PutText(DicomTag(0x0020, 0x000E), "UI", uid + std::to_string(20 + number));
    set.PutText(DicomTag(0x0020, 0x0013), "IS", "1");
    set.PutWord(tag::kSamplesPerPixel, "US", 1);
    set.PutText(tag::kPhotometricInterpretation, "CS", sample.photometric);
    set.PutWord(tag::kRows, "US", phantom.Height());
    set.PutWord(tag::kColumns, "US", phantom.Width());
    const bool isReal = sample.bits == 32;
    set.PutWord(tag::kBitsAllocated, "US", isReal ? 32 : sample.bits <= 8 ? 8 : 16);
    if (!isReal) {
        set.PutWord(tag::kBitsStored, "US", sample.bits);
        set.PutWord(tag::kHighBit, "US", sample.bits - 1);
        set.PutWord(tag::kPixelRepresentation, "US", sample.isSigned ? 1 : 0);
    }
    for (const Attribute& attribute : sample.attributes)
        set.PutText(attribute.tag, attribute.vr, attribute.text);
    if (sample.complete != nullptr) sample.complete(set);

    std::string pixels;
    if (isReal) {
        set.elements[tag::kFloatPixelData] = DicomElement{"OF", real_pixels(phantom), {}};
        return set;
    }
    for (std::int32_t value : phantom.Pixels()) {
        pixels += static_cast<char>(value & 0xFF);
        if (sample.bits > 8) pixels += static_cast<char>((value >> 8) & 0xFF);
    }
    set.elements[DicomTag(0x7FE0, 0x0010)] =
        DicomElement{sample.bits <= 8 ? "OB" : "OW", std::move(pixels), {}};
    return set;
}

}  // namespace

std::vector<std::string> WriteSamples(const std::string& directory) {
    MakeDirectory(directory);
    std::vector<std::string> paths;
    for (const Sample& sample : samples()) {
        const std::string bytes = EncodeDicomFile(make_data_set(sample, static_cast<int>(paths.size())));
        paths.push_back(directory + "/" + sample.name + ".dcm");
        WriteFileAtomically(paths.back(), bytes.data(), bytes.size());
    }
    return paths;
}

std::string WriteSampleState(const std::string& directory) {
    MakeDirectory(directory);
    const std::string path = directory + "/ct-state.dcm";
    const std::string bytes =
        EncodeDicomFile(MakeSampleState(make_data_set(samples().front(), 0), std::string(kUidRoot) + "300"));
    WriteFileAtomically(path, bytes.data(), bytes.size());
    return path;
}
