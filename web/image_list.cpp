#include "image_list.h"

#include <algorithm>
#include <exception>
#include <map>
#include <tuple>

#include "io/dicom_reader.h"
#include "io/dicom_tags.h"
#include "io/present_error.h"
#include "present/message_elements.h"

namespace {

constexpr std::uint32_t kStudyDate = DicomTag(0x0008, 0x0020), kStudyDescription = DicomTag(0x0008, 0x1030),
                        kSeriesDescription = DicomTag(0x0008, 0x103E),
                        kPatientName = DicomTag(0x0010, 0x0010), kStudyInstance = DicomTag(0x0020, 0x000D),
                        kSeriesInstance = DicomTag(0x0020, 0x000E),
                        kInstanceNumber = DicomTag(0x0020, 0x0013), kImagePosition = DicomTag(0x0020, 0x0032),
                        kImageOrientation = DicomTag(0x0020, 0x0037);

std::string joined(const std::vector<std::string>& texts) {
    std::string line;
    for (const std::string& text : texts) {
        if (!text.empty()) line += (line.empty() ? "" : ", ") + text;
    }
    return line;
}

/// Along the normal of the image's plane (PS3.3 C.7.6.2.1.1), in mm.
double position_of(const DicomDataSet& set) {
    const std::vector<double> at = set.Numbers(kImagePosition, 3), along = set.Numbers(kImageOrientation, 6);
    if (at.size() != 3 || along.size() != 6) return set.Number(kInstanceNumber, 0.0);
    double distance = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3, k = (i + 2) % 3;
        distance += at[i] * (along[j] * along[3 + k] - along[k] * along[3 + j]);
    }
    return distance;
}

}  // namespace

ListedImage ReadListed(const std::string& path, const std::string& name) {
    ListedImage image;
    image.path = path;
    image.name = name;
    try {
        DicomDataSet set = ReadDicomDataSet(path);
        PutInUtf8(set);
        image.rows = set.Word(tag::kRows, 0);
        image.columns = set.Word(tag::kColumns, 0);
        image.isImage = image.rows > 0 && image.columns > 0;
        image.study = set.Text(kStudyInstance);
        image.series = set.Text(kSeriesInstance);
        image.instance = set.Text(tag::kSopInstance);
        image.studyText = joined({set.Text(kPatientName), set.Text(kStudyDate), set.Text(kStudyDescription)});
        image.seriesText = set.Text(kSeriesDescription);
        image.modality = set.Text(tag::kModality);
        image.frames = static_cast<int>(std::clamp(set.Number(tag::kNumberOfFrames, 1.0), 1.0, 1e6));
        image.position = position_of(set);
        if (!image.isImage) image.error = PresentError(name, "holds no image").what();
    } catch (const std::exception& error) {
        image.error = error.what();
    } catch (...) {
        image.error = PresentError(name, "cannot be read").what();
    }
    return image;
}

std::vector<std::size_t> OrderOf(const std::vector<ListedImage>& images) {
    std::map<std::string, std::size_t> studies, series;
    for (std::size_t i = 0; i < images.size(); ++i) {
        studies.emplace(images[i].study, i);
        series.emplace(images[i].series, i);
    }
    std::vector<std::size_t> order(images.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto place = [&](std::size_t i) {
        return std::make_tuple(studies[images[i].study], series[images[i].series], images[i].position, i);
    };
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return place(a) < place(b); });
    return order;
}
