#include "dicom_file.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "message_elements.h"
#include "present_error.h"

namespace {

constexpr std::uint32_t kBitsAllocated = DicomTag(0x0028, 0x0100);
constexpr std::uint32_t kBitsStored = DicomTag(0x0028, 0x0101);
constexpr std::uint32_t kHighBit = DicomTag(0x0028, 0x0102);
constexpr std::uint32_t kPixelRepresentation = DicomTag(0x0028, 0x0103);
constexpr std::uint32_t kPaddingValue = DicomTag(0x0028, 0x0120);
constexpr std::uint32_t kPaddingLimit = DicomTag(0x0028, 0x0121);
constexpr std::uint32_t kIntercept = DicomTag(0x0028, 0x1052);
constexpr std::uint32_t kSlope = DicomTag(0x0028, 0x1053);
constexpr std::uint32_t kModalityLut = DicomTag(0x0028, 0x3000);
constexpr std::uint32_t kLutDescriptor = DicomTag(0x0028, 0x3002);
constexpr std::uint32_t kLutData = DicomTag(0x0028, 0x3006);
constexpr std::uint32_t kRealWorldMapping = DicomTag(0x0040, 0x9096);
constexpr std::uint32_t kSharedGroups = DicomTag(0x5200, 0x9229);
constexpr std::uint32_t kFrameGroups = DicomTag(0x5200, 0x9230);

/// A decimal string has at most 16 characters.
std::string decimal(double value) {
    for (int digits = 15; digits > 0; --digits) {
        char text[40];
        std::snprintf(text, sizeof text, "%.*g", digits, value);
        // The C library writes the locale's decimal sign.
        std::string result(text);
        std::replace(result.begin(), result.end(), ',', '.');
        if (result.size() <= 16) return result;
    }
    return "0";
}

}  // namespace

DicomFile DicomFile::Load(const std::string& path, int frame) {
    DicomFileContent content = ReadDicomFile(path, frame);
    DicomFile file;
    file.m_Path = path;
    file.m_TransferSyntax = content.transferSyntax;
    file.m_Rows = content.frame.rows;
    file.m_Columns = content.frame.columns;
    file.m_Frames = content.frames;
    file.m_DataSet = std::move(content.dataSet);
    file.lift_functional_groups(frame);
    if (content.frame.samples == 3 || content.frame.photometric == "PALETTE COLOR") {
        file.take_colour(content.frame);
    } else if (content.frame.bitsStored > 16) {
        file.take_deep(content.frame);
    } else {
        file.take_mono(content.frame);
    }
    return file;
}

std::unique_ptr<OBJ_Msg> DicomFile::MakeMessage() const { return ::MakeMessage(m_DataSet); }

/// PS3.3 C.7.6.16: what holds for all frames first, then the frame's own.
void DicomFile::lift_functional_groups(int frame) {
    const DicomElement* frames = m_DataSet.Find(kFrameGroups);
    const DicomDataSet* shared = m_DataSet.FirstItem(kSharedGroups);
    const DicomDataSet* own = nullptr;
    if (frames != nullptr && static_cast<std::size_t>(frame) < frames->items.size()) {
        own = &frames->items[static_cast<std::size_t>(frame)];
    }
    std::map<std::uint32_t, DicomElement> lifted;
    for (const DicomDataSet* groups : {shared, own}) {
        if (groups == nullptr) continue;
        for (const auto& [tag, group] : groups->elements) {
            if (tag == kRealWorldMapping) {
                // This macro is a sequence that has the same place in an image without functional groups.
                lifted[tag] = group;
            } else if (!group.items.empty()) {
                for (const auto& [inner, element] : group.items.front().elements) lifted[inner] = element;
            }
        }
    }
    for (auto& [tag, element] : lifted) {
        // The shape of the pixels is the whole image's and has been relied on.
        const bool isShape = tag >= DicomTag(0x0028, 0x0002) && tag <= kPixelRepresentation;
        if (!isShape) m_DataSet.elements[tag] = std::move(element);
    }
}

void DicomFile::take_colour(const StoredFrame& frame) {
    StoredTable palette[3];
    if (frame.photometric == "PALETTE COLOR") {
        for (unsigned c = 0; c < 3; ++c) {
            const std::uint32_t descriptor = DicomTag(0x0028, 0x1101 + c);
            palette[c] = ReadStoredTable(m_DataSet, descriptor, DicomTag(0x0028, 0x1201 + c), frame.isSigned);
            if (palette[c].entries.empty()) {
                palette[c] =
                    ReadSegmentedTable(m_DataSet, descriptor, DicomTag(0x0028, 0x1221 + c), frame.isSigned);
            }
            if (palette[c].entries.empty())
                throw PresentError(m_Path, "its colour palette is missing or damaged");
        }
        if (frame.bitsStored > 16) throw PresentError(m_Path, "has palette indexes of more than 16 bits");
    }
    m_Colour = ConvertToTrueColour(frame, palette);
}

void DicomFile::take_mono(const StoredFrame& stored) {
    StoredFrame frame = stored;
    // A padding value that the stored bits cannot hold is meant for the whole allocated sample.
    if (m_DataSet.Has(kPaddingValue) && frame.bitsAllocated <= 16) {
        const int word = m_DataSet.Word(kPaddingValue, 0);
        const int padding = frame.isSigned ? static_cast<std::int16_t>(word) : word;
        const int half = 1 << (frame.bitsStored - 1);
        const bool fits = frame.isSigned ? padding >= -half && padding < half : padding < 2 * half;
        if (!fits) {
            frame.bitsStored = frame.bitsAllocated;
            frame.highBit = frame.bitsAllocated - 1;
        }
    }
    m_Mono.bits = frame.bitsStored;
    m_Mono.isSigned = frame.isSigned;
    m_Mono.Resize(frame.Pixels());
    for (std::size_t i = 0; i < frame.Pixels(); ++i) {
        m_Mono.Put(i, static_cast<std::int32_t>(SampleValue(frame, i)));
    }
    apply_modality_lut();
    describe_pixels();
}

void DicomFile::take_deep(const StoredFrame& frame) {
    std::int64_t low = SampleValue(frame, 0), high = low;
    for (std::size_t i = 1; i < frame.Pixels(); ++i) {
        const std::int64_t value = SampleValue(frame, i);
        low = std::min(low, value);
        high = std::max(high, value);
    }
    const double slope = m_DataSet.Number(kSlope, 1);
    const double intercept = m_DataSet.Number(kIntercept, 0);
    const DeepReduction reduction = ReduceDeepPixels(low, high, slope);
    m_Mono.bits = 16;
    m_Mono.isSigned = reduction.isSigned;
    m_Mono.Resize(frame.Pixels());
    for (std::size_t i = 0; i < frame.Pixels(); ++i) {
        m_Mono.Put(i,
                   static_cast<std::int32_t>((SampleValue(frame, i) - reduction.offset) / reduction.divisor));
    }
    const std::string was = "pixels of " + std::to_string(frame.bitsStored) + " bits reduced to 16: ";
    if (reduction.offset == 0 && reduction.divisor == 1) {
        m_Notes.push_back(was + "exact");
    } else {
        m_DataSet.PutText(kSlope, "DS", decimal(slope * static_cast<double>(reduction.divisor)));
        m_DataSet.PutText(kIntercept, "DS",
                          decimal(intercept + slope * static_cast<double>(reduction.offset)));
        m_Notes.push_back(was + "(value - " + std::to_string(reduction.offset) + ") / " +
                          std::to_string(reduction.divisor) +
                          ", taken back by the rescale slope and intercept");
        // The padding value has no place among the reduced ones.
        m_DataSet.Remove(kPaddingValue);
        m_DataSet.Remove(kPaddingLimit);
        // Nor do real-world mappings, which tell of the values as they were.
        m_DataSet.Remove(kRealWorldMapping);
    }
    apply_modality_lut();
    describe_pixels();
}

void DicomFile::apply_modality_lut() {
    const DicomDataSet* item = m_DataSet.FirstItem(kModalityLut);
    if (item == nullptr) return;
    const StoredTable lut = ReadStoredTable(*item, kLutDescriptor, kLutData, m_Mono.isSigned);
    if (lut.entries.empty()) throw PresentError(m_Path, "its Modality LUT is missing or damaged");
    MonoPixels mapped;
    mapped.bits = lut.bits;
    const std::size_t pixels = static_cast<std::size_t>(m_Rows) * static_cast<std::size_t>(m_Columns);
    mapped.Resize(pixels);
    for (std::size_t i = 0; i < pixels; ++i) mapped.Put(i, lut.At(m_Mono.Get(i)));
    m_Mono = std::move(mapped);
    // What follows speaks of the values that the table gives. They need no rescale, and none of them is
    // padding.
    for (std::uint32_t tag :
         {kModalityLut, kIntercept, kSlope, kPaddingValue, kPaddingLimit, kRealWorldMapping})
        m_DataSet.Remove(tag);
}

void DicomFile::describe_pixels() {
    m_DataSet.PutWord(kBitsAllocated, "US", m_Mono.bits <= 8 ? 8 : 16);
    m_DataSet.PutWord(kBitsStored, "US", m_Mono.bits);
    m_DataSet.PutWord(kHighBit, "US", m_Mono.bits - 1);
    m_DataSet.PutWord(kPixelRepresentation, "US", m_Mono.isSigned ? 1 : 0);
}
