#include "dicom_file.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "dicom_tags.h"
#include "present_error.h"

namespace {

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

/// PS3.3 C.7.6.16: what holds for all frames first, then the frame's own.
void DicomFile::lift_functional_groups(int frame) {
    const DicomElement* frames = m_DataSet.Find(tag::kPerFrameFunctionalGroups);
    const DicomDataSet* shared = m_DataSet.FirstItem(tag::kSharedFunctionalGroups);
    const DicomDataSet* own = nullptr;
    if (frames != nullptr && static_cast<std::size_t>(frame) < frames->items.size()) {
        own = &frames->items[static_cast<std::size_t>(frame)];
    }
    std::map<std::uint32_t, DicomElement> lifted;
    for (const DicomDataSet* groups : {shared, own}) {
        if (groups == nullptr) continue;
        for (const auto& [tag, group] : groups->elements) {
            if (tag == tag::kRealWorldValueMapping) {
                // This macro is a sequence that has the same place in an image without functional groups.
                lifted[tag] = group;
            } else if (!group.items.empty()) {
                for (const auto& [inner, element] : group.items.front().elements) lifted[inner] = element;
            }
        }
    }
    for (auto& [tag, element] : lifted) {
        // The shape of the pixels is the whole image's and has been relied on.
        const bool isShape = tag >= tag::kSamplesPerPixel && tag <= tag::kPixelRepresentation;
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

void DicomFile::take_mono(const StoredFrame& frame) {
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
    const double slope = m_DataSet.Number(tag::kRescaleSlope, 1);
    const double intercept = m_DataSet.Number(tag::kRescaleIntercept, 0);
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
        m_DataSet.PutText(tag::kRescaleSlope, "DS", decimal(slope * static_cast<double>(reduction.divisor)));
        m_DataSet.PutText(tag::kRescaleIntercept, "DS",
                          decimal(intercept + slope * static_cast<double>(reduction.offset)));
        m_Notes.push_back(was + "(value - " + std::to_string(reduction.offset) + ") / " +
                          std::to_string(reduction.divisor) +
                          ", taken back by the rescale slope and intercept");
        // The padding value has no place among the reduced ones.
        m_DataSet.Remove(tag::kPixelPaddingValue);
        m_DataSet.Remove(tag::kPixelPaddingRangeLimit);
        // Nor do real-world mappings, which tell of the values as they were.
        m_DataSet.Remove(tag::kRealWorldValueMapping);
    }
    apply_modality_lut();
    describe_pixels();
}

void DicomFile::apply_modality_lut() {
    const DicomDataSet* item = m_DataSet.FirstItem(tag::kModalityLutSequence);
    if (item == nullptr) return;
    const StoredTable lut = ReadStoredTable(*item, tag::kLutDescriptor, tag::kLutData, m_Mono.isSigned);
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
         {tag::kModalityLutSequence, tag::kRescaleIntercept, tag::kRescaleSlope, tag::kPixelPaddingValue,
          tag::kPixelPaddingRangeLimit, tag::kRealWorldValueMapping})
        m_DataSet.Remove(tag);
}

void DicomFile::describe_pixels() {
    m_DataSet.PutWord(tag::kBitsAllocated, "US", m_Mono.bits <= 8 ? 8 : 16);
    m_DataSet.PutWord(tag::kBitsStored, "US", m_Mono.bits);
    m_DataSet.PutWord(tag::kHighBit, "US", m_Mono.bits - 1);
    m_DataSet.PutWord(tag::kPixelRepresentation, "US", m_Mono.isSigned ? 1 : 0);
}
