#include "dicom_file.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "dicom_tags.h"
#include "number.h"
#include "pixel_decoder.h"
#include "present_error.h"
#include "refusal.h"

DicomFile DicomFile::Load(const std::string& path, LoadOptions options, const AttributeSource& changes) {
    DicomFileContent content = ReadDicomFile(path, options);
    DicomFile file;
    file.m_Path = path;
    file.m_bPartial = options.partial;
    file.m_TransferSyntax = content.transferSyntax;
    file.m_Rows = content.frame.rows;
    file.m_Columns = content.frame.columns;
    file.m_Frames = content.frames;
    file.m_Frame = options.frame;
    file.m_DataSet = std::move(content.dataSet);
    file.lift_functional_groups(options.frame);
    if (changes) {
        for (const auto& [tag, element] : changes(file.m_DataSet)) file.replace(tag, element);
    }
    if (content.frame.samples == 3 || content.frame.photometric == "PALETTE COLOR") {
        file.take_colour(content.frame);
    } else {
        file.take_mono(content.frame);
    }
    file.m_Present = content.frame.present;
    file.note_missing();
    file.take_overlays(content.frame, content.transferSyntax);
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

void DicomFile::replace(std::uint32_t tag, const std::optional<DicomElement>& element) {
    const DicomElement* const own = m_DataSet.Find(tag);
    m_Replaced.emplace(tag, own == nullptr ? std::nullopt : std::optional<DicomElement>(*own));
    element ? void(m_DataSet.elements[tag] = *element) : m_DataSet.Remove(tag);
}

DicomDataSet DicomFile::OwnDataSet() const {
    DicomDataSet own = m_DataSet;
    for (const auto& [tag, element] : m_Replaced) {
        element ? void(own.elements[tag] = *element) : own.Remove(tag);
    }
    return own;
}

void DicomFile::take_colour(const StoredFrame& frame) {
    StoredTable palette[3];
    if (frame.photometric == "PALETTE COLOR") {
        if (!ReadPalette(m_DataSet, frame.isSigned, palette))
            throw PresentError(m_Path, "its colour palette is missing or damaged");
        if (frame.bitsStored > 16) throw PresentError(m_Path, "has palette indexes of more than 16 bits");
    }
    m_Colour = ConvertToTrueColour(frame, palette);
}

void DicomFile::take_mono(const StoredFrame& frame) {
    if (m_DataSet.FirstItem(tag::kModalityLutSequence) != nullptr) {
        if (frame.isReal) throw PresentError(m_Path, "has floating-point pixels and a Modality LUT");
        look_up(frame);
    } else if (frame.isReal) {
        reduce_real(frame);
    } else {
        reduce(frame);
    }
    // What is missing is not drawn. For whatever measures, it repeats what is there.
    for (std::size_t i = frame.present; i < frame.Pixels(); ++i) m_Mono.Put(i, m_Mono.Get(i - frame.present));
    describe_pixels();
    take_supplement();
}

/// PS3.3 C.7.6.19. What is not a stored value has no colour in it.
void DicomFile::take_supplement() {
    const std::string presentation = m_DataSet.Text(tag::kPixelPresentation);
    if ((presentation != "COLOR" && presentation != "MIXED") || !m_DataSet.Has(tag::kPaletteDescriptor))
        return;
    if (!m_bAsStored) {
        m_Notes.push_back({"palette", "its supplemental palette is of stored values, and is left out"});
        return;
    }
    StoredTable tables[3];
    if (!ReadPalette(m_DataSet, m_Mono.isSigned, tables)) {
        m_Notes.push_back({"palette", "its supplemental palette is damaged"});
        return;
    }
    SupplementalPalette palette;
    palette.first = tables[0].first;
    std::size_t count = 0;
    for (const StoredTable& table : tables) count = std::max(count, table.entries.size());
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t colour = 0;
        for (const StoredTable& table : tables)
            colour = colour << 8 | table.ByteAt(table.first + static_cast<std::int64_t>(i));
        palette.colours.push_back(colour);
    }
    m_Supplement = std::move(palette);
}

/// The table sees the stored values, however deep they are.
void DicomFile::look_up(const StoredFrame& frame) {
    const DicomDataSet item = *m_DataSet.FirstItem(tag::kModalityLutSequence);
    const StoredTable lut = ReadStoredTable(item, tag::kLutDescriptor, tag::kLutData, frame.isSigned);
    if (lut.entries.empty()) throw PresentError(m_Path, "its Modality LUT is missing or damaged");
    m_Mono.bits = lut.bits;
    m_Mono.Resize(frame.Pixels());
    m_bAsStored = false;
    const std::optional<Padding> padding = ReadPadding(m_DataSet, frame.isSigned);
    for (std::size_t i = 0; i < frame.present; ++i) {
        const std::int64_t value = SampleValue(frame, i);
        if (!padding || !padding->Has(value)) Widen(m_StoredRange, value);
        m_Mono.Put(i, lut.At(value));
    }
    // From here on the data set describes the values that the table gives. They need no rescale, and none of
    // them is padding.
    for (std::uint32_t tag :
         {tag::kModalityLutSequence, tag::kRescaleIntercept, tag::kRescaleSlope, tag::kPixelPaddingValue,
          tag::kPixelPaddingRangeLimit, tag::kRealWorldValueMapping})
        replace(tag, std::nullopt);
    const DicomElement* const type = item.Find(tag::kModalityLutType);
    replace(tag::kRescaleType, type == nullptr ? std::nullopt : std::optional<DicomElement>(*type));
}

/// Up to 16 bits the values stay.
void DicomFile::reduce(const StoredFrame& frame) {
    const bool isDeep = frame.bitsStored > 16;
    DeepReduction reduction;
    reduction.isSigned = frame.isSigned;
    if (isDeep) {
        WidenBySamples(frame, std::nullopt, &m_StoredRange);
        reduction = ReduceDeepPixels(m_StoredRange->first, m_StoredRange->second);
    }
    m_Reduction = reduction;
    m_Mono.bits = std::min(frame.bitsStored, 16);
    m_Mono.isSigned = reduction.isSigned;
    m_Mono.Resize(frame.Pixels());
    if (!isDeep) return ConvertSamples(frame, &m_Mono);
    for (std::size_t i = 0; i < frame.present; ++i) {
        const std::int64_t value = (SampleValue(frame, i) - reduction.offset) / reduction.divisor;
        m_Mono.Put(i, static_cast<std::int32_t>(value));
    }
    const std::string was = "pixels of " + std::to_string(frame.bitsStored) + " bits reduced to 16: ";
    if (reduction.offset == 0 && reduction.divisor == 1) {
        m_Notes.push_back({"pixels", was + "exact"});
        return;
    }
    m_Notes.push_back({"pixels", was + "(value - " + std::to_string(reduction.offset) + ") / " +
                                     std::to_string(reduction.divisor) +
                                     ", taken back by the rescale slope and intercept"});
    describe_reduction(static_cast<double>(reduction.offset), static_cast<double>(reduction.divisor));
}

void DicomFile::reduce_real(const StoredFrame& frame) {
    m_Mono.bits = 16;
    m_Mono.Resize(frame.Pixels());
    const RealReduction reduction = ReduceRealPixels(frame, m_DataSet, &m_Mono);
    m_Notes.push_back({"pixels", "floating-point pixels reduced to 16 bits: (value - " +
                                     NumberText(reduction.offset) + ") / " + NumberText(reduction.step) +
                                     ", taken back by the rescale slope and intercept"});
    m_bAbsent = reduction.absent > 0;
    if (m_bAbsent) {
        m_Notes.push_back(
            {"absent", CountOf(reduction.absent, "pixel") + " without a value, shown below the lowest one"});
    }
    describe_reduction(reduction.offset, reduction.step);
}

/// Values are presented that stand for offset + step x value.
void DicomFile::describe_reduction(double offset, double step) {
    m_bAsStored = false;
    m_bReduced = true;
    const double slope = m_DataSet.Number(tag::kRescaleSlope, 1);
    const double intercept = m_DataSet.Number(tag::kRescaleIntercept, 0);
    const auto put = [this](std::uint32_t tag, double value) {
        replace(tag, DicomElement{"DS", NumberText(value), {}});
    };
    if (!std::isfinite(slope * step * 65535.0) || !std::isfinite(intercept + slope * offset))
        throw PresentError(m_Path, "its rescale slope or intercept is beyond all reason");
    put(tag::kRescaleSlope, slope * step);
    put(tag::kRescaleIntercept, intercept + slope * offset);
    // The padding value has no place among the reduced ones, and real-world mappings describe the values
    // before.
    for (std::uint32_t tag :
         {tag::kPixelPaddingValue, tag::kPixelPaddingRangeLimit, tag::kRealWorldValueMapping})
        replace(tag, std::nullopt);
}

/// Decoders of compressed pixels keep the stored bits only.
void DicomFile::take_overlays(const StoredFrame& frame, const std::string& transferSyntax) {
    if (OverlayGroups(m_DataSet).empty()) return;
    std::vector<std::string> problems;
    m_Overlays =
        ReadOverlayPlanes(m_DataSet, m_Frame, IsStream(transferSyntax) ? nullptr : &frame, &problems);
    for (std::string& problem : problems) m_Notes.push_back({"overlay", std::move(problem)});
}

void DicomFile::note_missing() {
    const int whole = static_cast<int>(m_Present / static_cast<std::size_t>(m_Columns));
    if (whole == m_Rows) return;
    m_Notes.push_back({"partial", "the pixel data are cut short: " + std::to_string(m_Rows - whole) + " of " +
                                      std::to_string(m_Rows) + " rows missing or incomplete"});
}

ValueRange DicomFile::Range() const {
    if (IsColour()) return std::nullopt;
    return RangeOfPixels(m_Mono, m_Present, ReadPadding(m_DataSet, m_Mono.isSigned));
}

/// Smallest and Largest Image Pixel Value are of 16 bits, and may include padding or be those of another
/// image: they count only where they agree with this frame.
std::optional<std::pair<double, double>> DicomFile::range_of_file() const {
    if (!m_DataSet.Has(tag::kSmallestPixelValue) || !m_DataSet.Has(tag::kLargestPixelValue) ||
        m_DataSet.Has(tag::kPixelPaddingValue) || !m_bAsStored || m_Present < m_Mono.Count()) {
        return std::nullopt;
    }
    const auto word = [this](std::uint32_t tag) {
        const int value = m_DataSet.Word(tag, 0);
        return m_Mono.isSigned ? static_cast<std::int16_t>(value) : value;
    };
    const int low = word(tag::kSmallestPixelValue), high = word(tag::kLargestPixelValue);
    const std::size_t pixels = static_cast<std::size_t>(m_Rows) * static_cast<std::size_t>(m_Columns);
    const ValueRange here = RangeOfPixels(m_Mono, pixels, std::nullopt);
    if (here->first < low || here->second > high) return std::nullopt;
    return std::make_pair(double(low), double(high));
}

std::optional<std::pair<double, double>> DicomFile::WholeImageRange() const {
    if (m_Frames == 1 || IsColour() || !m_Reduction) return std::nullopt;
    if (const auto range = range_of_file()) return range;
    ValueRange stored;
    try {
        stored = ReadStoredRange(m_Path, m_bPartial);
    } catch (const PresentError&) {
    }
    if (!stored) return std::nullopt;
    const auto reduced = [this](std::int64_t value) {
        return static_cast<double>(value - m_Reduction->offset) / static_cast<double>(m_Reduction->divisor);
    };
    return std::make_pair(reduced(stored->first), reduced(stored->second));
}

void DicomFile::describe_pixels() {
    const auto put = [this](std::uint32_t tag, int value) {
        DicomDataSet word;
        word.PutWord(tag, "US", value);
        replace(tag, *word.Find(tag));
    };
    put(tag::kBitsAllocated, m_Mono.bits <= 8 ? 8 : 16);
    put(tag::kBitsStored, m_Mono.bits);
    put(tag::kHighBit, m_Mono.bits - 1);
    put(tag::kPixelRepresentation, m_Mono.isSigned ? 1 : 0);
}
