#include "sample_state.h"

#include <cstring>
#include <initializer_list>

#include "present/identification.h"

namespace {

constexpr const char* kMarks = "MARKS";
constexpr const char* kNotes = "NOTES";

DicomElement floats(std::initializer_list<float> numbers) {
    std::string bytes;
    for (const float number : numbers) {
        std::uint32_t bits;
        std::memcpy(&bits, &number, sizeof bits);
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(bits >> shift & 0xFF);
    }
    return {"FL", bytes, {}};
}

DicomElement longs(std::initializer_list<int> numbers) {
    std::string bytes;
    for (const int number : numbers) {
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
    }
    return {"SL", bytes, {}};
}

DicomElement sequence(std::vector<DicomDataSet> items) { return {"SQ", "", std::move(items)}; }

DicomDataSet graphic(const char* type, int points, DicomElement data) {
    DicomDataSet item;
    item.PutText(DicomTag(0x0070, 0x0005), "CS", "PIXEL");
    item.PutWord(DicomTag(0x0070, 0x0020), "US", 2);
    item.PutWord(DicomTag(0x0070, 0x0021), "US", points);
    item.elements[DicomTag(0x0070, 0x0022)] = std::move(data);
    item.PutText(DicomTag(0x0070, 0x0023), "CS", type);
    item.PutText(DicomTag(0x0070, 0x0024), "CS", "N");
    return item;
}

DicomDataSet graphic_layer(const char* name, int order, int l, int a, int b) {
    DicomDataSet item;
    item.PutText(DicomTag(0x0070, 0x0002), "CS", name);
    item.PutText(DicomTag(0x0070, 0x0062), "IS", std::to_string(order));
    std::string lab;
    for (const int value : {l, a, b}) lab += {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
    item.elements[DicomTag(0x0070, 0x0401)] = DicomElement{"US", lab, {}};
    return item;
}

DicomElement annotations(const DicomElement& reference) {
    DicomDataSet marks, notes, nodule, title;
    marks.elements[tag::kReferencedImages] = notes.elements[tag::kReferencedImages] = reference;
    marks.PutText(DicomTag(0x0070, 0x0002), "CS", kMarks);
    marks.elements[DicomTag(0x0070, 0x0009)] =
        sequence({graphic("CIRCLE", 2, floats({373, 322, 388, 322})),
                  graphic("INTERPOLATED", 7,
                          floats({212, 230, 258, 182, 318, 196, 338, 236, 306, 284, 240, 276, 212, 230})),
                  graphic("ELLIPSE", 4, floats({92, 294, 182, 294, 137, 270, 137, 318})),
                  graphic("POLYLINE", 3, floats({150, 200, 176, 268, 136, 294}))});
    notes.PutText(DicomTag(0x0070, 0x0002), "CS", kNotes);
    nodule.PutText(DicomTag(0x0070, 0x0004), "CS", "PIXEL");
    nodule.PutText(DicomTag(0x0070, 0x0006), "ST", "Nodule 8 mm");
    nodule.elements[DicomTag(0x0070, 0x0014)] = floats({373, 306});
    nodule.PutText(DicomTag(0x0070, 0x0015), "CS", "N");
    title.PutText(DicomTag(0x0070, 0x0003), "CS", "DISPLAY");
    title.PutText(DicomTag(0x0070, 0x0006), "ST", "Chest, lung window\r\nturned by 90 degrees");
    title.elements[DicomTag(0x0070, 0x0010)] = floats({0.02F, 0.02F});
    title.elements[DicomTag(0x0070, 0x0011)] = floats({0.45F, 0.1F});
    title.PutText(DicomTag(0x0070, 0x0012), "CS", "LEFT");
    notes.elements[DicomTag(0x0070, 0x0008)] = sequence({nodule, title});
    return sequence({marks, notes});
}

}  // namespace

DicomDataSet MakeSampleState(const DicomDataSet& image, const std::string& uid) {
    DicomDataSet set = IdentificationOf(image), reference, series, area, window;
    set.PutText(tag::kSopClass, "UI", "1.2.840.10008.5.1.4.1.1.11.1");
    set.PutText(tag::kSopInstance, "UI", uid);
    set.PutText(tag::kModality, "CS", "PR");
    set.PutText(DicomTag(0x0020, 0x0011), "IS", "1");
    set.PutText(DicomTag(0x0020, 0x0060), "CS", "");
    set.PutText(DicomTag(0x0020, 0x000E), "UI", uid + "1");
    set.PutText(DicomTag(0x0020, 0x0013), "IS", "1");
    reference.PutText(tag::kReferencedSopClass, "UI", image.Text(tag::kSopClass));
    reference.PutText(tag::kReferencedSopInstance, "UI", image.Text(tag::kSopInstance));
    const DicomElement references = sequence({reference});
    series.elements[tag::kReferencedImages] = references;
    series.PutText(DicomTag(0x0020, 0x000E), "UI", image.Text(DicomTag(0x0020, 0x000E)));
    set.elements[tag::kReferencedSeries] = sequence({series});
    set.PutText(tag::kContentLabel, "CS", "LUNGS");
    set.PutText(tag::kContentDescription, "LO", "Lung window with annotations");
    set.PutText(tag::kPresentationCreationDate, "DA", "20240102");
    set.PutText(tag::kPresentationCreationTime, "TM", "090000");
    set.PutText(tag::kContentCreatorName, "PN", "Phantom^Reader");

    set.PutText(DicomTag(0x0018, 0x1600), "CS", "CIRCULAR");
    set.PutText(DicomTag(0x0018, 0x1610), "IS", "256\\256");
    set.PutText(DicomTag(0x0018, 0x1612), "IS", "235");
    set.PutWord(DicomTag(0x0018, 0x1622), "US", 0);
    for (const std::uint32_t tag : {tag::kRescaleIntercept, tag::kRescaleSlope, tag::kRescaleType})
        set.elements[tag] = image.elements.at(tag);
    window.elements[tag::kReferencedImages] = references;
    window.PutText(tag::kWindowCenter, "DS", "-600");
    window.PutText(tag::kWindowWidth, "DS", "1600");
    set.elements[tag::kSoftcopyVoiLutSequence] = sequence({window});
    set.PutText(tag::kPresentationLutShape, "CS", "IDENTITY");
    set.PutWord(tag::kImageRotation, "US", 90);
    set.PutText(tag::kImageHorizontalFlip, "CS", "N");
    area.elements[tag::kReferencedImages] = references;
    area.elements[tag::kDisplayedAreaTopLeft] = longs({1, 512});
    area.elements[tag::kDisplayedAreaBottomRight] = longs({512, 1});
    area.PutText(tag::kPresentationSizeMode, "CS", "SCALE TO FIT");
    area.PutText(tag::kPresentationPixelAspectRatio, "IS", "1\\1");
    set.elements[tag::kDisplayedAreaSequence] = sequence({area});
    set.elements[DicomTag(0x0070, 0x0001)] = annotations(references);
    // Yellow below, white above.
    set.elements[DicomTag(0x0070, 0x0060)] = sequence(
        {graphic_layer(kMarks, 1, 63600, 29000, 56000), graphic_layer(kNotes, 2, 65535, 32896, 32896)});
    return set;
}
