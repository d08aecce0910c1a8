#include "presentation_state.h"

#include <algorithm>
#include <filesystem>

#include "dicom_reader.h"
#include "dicom_tags.h"
#include "present_error.h"

namespace fs = std::filesystem;

namespace {

struct NamedClass {
    const char* uid;
    const char* name;
};

constexpr NamedClass kApplied[] = {
    {"1.2.840.10008.5.1.4.1.1.11.1", "Grayscale"},
    {"1.2.840.10008.5.1.4.1.1.11.2", "Color"},
    {"1.2.840.10008.5.1.4.1.1.11.3", "Pseudo-Color"},
};
/// They show several images at once, or tell of more than this project draws.
constexpr NamedClass kOther[] = {
    {"1.2.840.10008.5.1.4.1.1.11.4", "Blending"},
    {"1.2.840.10008.5.1.4.1.1.11.5", "XA/XRF Grayscale"},
    {"1.2.840.10008.5.1.4.1.1.11.6", "Grayscale Planar MPR Volumetric"},
    {"1.2.840.10008.5.1.4.1.1.11.7", "Compositing Planar MPR Volumetric"},
    {"1.2.840.10008.5.1.4.1.1.11.8", "Advanced Blending"},
    {"1.2.840.10008.5.1.4.1.1.11.9", "Volume Rendering Volumetric"},
    {"1.2.840.10008.5.1.4.1.1.11.10", "Segmented Volume Rendering Volumetric"},
    {"1.2.840.10008.5.1.4.1.1.11.11", "Multiple Volume Rendering Volumetric"},
    {"1.2.840.10008.5.1.4.1.1.11.12", "Variable Modality LUT"},
};

bool refers(const DicomDataSet& image, const std::string& instance, int frame) {
    if (instance.empty() || image.Text(tag::kReferencedSopInstance) != instance) return false;
    const std::vector<double> frames = image.Numbers(tag::kReferencedFrameNumber);
    return frames.empty() || frame == PresentationState::kAnyFrame ||
           std::find(frames.begin(), frames.end(), static_cast<double>(frame) + 1.0) != frames.end();
}

/// An item that names the image is meant before one for every image.
const DicomDataSet* item_for(const DicomDataSet& set, std::uint32_t sequence, const std::string& instance,
                             int frame) {
    const DicomElement* const element = set.Find(sequence);
    const DicomDataSet* found = nullptr;
    if (element == nullptr) return nullptr;
    for (const DicomDataSet& item : element->items) {
        if (!AppliesTo(item, instance, frame)) continue;
        if (item.FirstItem(tag::kReferencedImages) != nullptr) return &item;
        if (found == nullptr) found = &item;
    }
    return found;
}

PresentationState state_of(DicomDataSet set, const std::string& path) {
    const std::string sopClass = set.Text(tag::kSopClass);
    for (std::size_t i = 0; i < std::size(kApplied); ++i) {
        if (sopClass == kApplied[i].uid)
            return {path, static_cast<PresentationState::Kind>(i), std::move(set)};
    }
    for (const NamedClass& other : kOther) {
        if (sopClass == other.uid) {
            throw PresentError(
                path, std::string("is a ") + other.name + " presentation state, which cannot be applied");
        }
    }
    throw PresentError(path, "is not a presentation state");
}

void newest_first(std::vector<PresentationState>& states) {
    std::sort(states.begin(), states.end(), [](const PresentationState& a, const PresentationState& b) {
        return std::make_pair(b.Created(), a.path) < std::make_pair(a.Created(), b.path);
    });
}

}  // namespace

std::string PresentationState::Label() const { return set.Text(tag::kContentLabel); }

std::string PresentationState::Created() const {
    const std::string date = set.Text(tag::kPresentationCreationDate);
    return date.empty() ? date : date + " " + set.Text(tag::kPresentationCreationTime);
}

bool PresentationState::RefersTo(const std::string& instance, int frame) const {
    const DicomElement* const series = set.Find(tag::kReferencedSeries);
    if (series == nullptr) return false;
    for (const DicomDataSet& item : series->items) {
        const DicomElement* const images = item.Find(tag::kReferencedImages);
        if (images == nullptr) continue;
        for (const DicomDataSet& image : images->items) {
            if (refers(image, instance, frame)) return true;
        }
    }
    return false;
}

const DicomDataSet* PresentationState::VoiLut(const std::string& instance, int frame) const {
    return item_for(set, tag::kSoftcopyVoiLutSequence, instance, frame);
}

const DicomDataSet* PresentationState::DisplayedArea(const std::string& instance, int frame) const {
    return item_for(set, tag::kDisplayedAreaSequence, instance, frame);
}

std::string PresentationState::FirstImage() const {
    const DicomDataSet* const series = set.FirstItem(tag::kReferencedSeries);
    const DicomDataSet* const image = series == nullptr ? nullptr : series->FirstItem(tag::kReferencedImages);
    return image == nullptr ? std::string() : image->Text(tag::kReferencedSopInstance);
}

PresentationState PresentationState::ForAnyImage() const {
    PresentationState any = *this;
    const std::string first = FirstImage();
    for (auto& [tag, element] : any.set.elements) {
        if (tag == tag::kReferencedSeries) continue;
        std::vector<DicomDataSet>& items = element.items;
        const auto isOfAnother = [&](const DicomDataSet& item) {
            const DicomElement* const images = item.Find(tag::kReferencedImages);
            return images != nullptr && !images->items.empty() &&
                   std::none_of(images->items.begin(), images->items.end(), [&](const DicomDataSet& image) {
                       return image.Text(tag::kReferencedSopInstance) == first;
                   });
        };
        items.erase(std::remove_if(items.begin(), items.end(), isOfAnother), items.end());
        for (DicomDataSet& item : items) item.Remove(tag::kReferencedImages);
    }
    return any;
}

bool AppliesTo(const DicomDataSet& item, const std::string& instance, int frame) {
    const DicomElement* const images = item.Find(tag::kReferencedImages);
    if (images == nullptr || images->items.empty()) return true;
    return std::any_of(images->items.begin(), images->items.end(),
                       [&](const DicomDataSet& image) { return refers(image, instance, frame); });
}

PresentationState ReadPresentationState(const std::string& path) {
    return state_of(ReadDicomDataSet(path), path);
}

PresentationStates::PresentationStates(const std::string& path) : m_Path(path) {
    std::error_code error;
    m_bFolder = fs::is_directory(path, error);
    if (!m_bFolder) {
        m_States.push_back(ReadPresentationState(path));
        return;
    }
    // Links to folders are not followed, so that the walk ends.
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator at(path, options, error), end; !error && at != end;
         at.increment(error)) {
        std::error_code status;
        if (!at->is_regular_file(status)) continue;
        try {
            m_States.push_back(ReadPresentationState(at->path().string()));
        } catch (const PresentError&) {
        }
    }
    if (error) throw PresentError(path, error.message());
    if (m_States.empty()) throw PresentError(path, "holds no presentation state");
    newest_first(m_States);
}

PresentationStates::PresentationStates(std::vector<PresentationState> states)
    : m_bFolder(true), m_States(std::move(states)) {
    newest_first(m_States);
}

std::vector<const PresentationState*> PresentationStates::For(const std::string& instance, int frame) const {
    std::vector<const PresentationState*> found;
    for (const PresentationState& state : m_States) {
        if (state.RefersTo(instance, frame)) found.push_back(&state);
    }
    return found;
}
