#pragma once

#include <string>
#include <vector>

#include "dicom_elements.h"

/// A softcopy presentation state (PS3.3 A.33.1 to A.33.3): how images are to be shown. What applies to one
/// image is chosen by its SOP Instance UID and frame; frames count from 0.
///
///     const PresentationState state = ReadPresentationState("pr.dcm");
///     if (state.RefersTo(uid, frame)) use(state.VoiLut(uid, frame));
struct PresentationState {
    enum class Kind { kGrayscale, kColour, kPseudoColour };

    static constexpr int kAnyFrame = -1;

    std::string path;
    Kind kind = Kind::kGrayscale;
    DicomDataSet set;

    std::string Label() const;
    /// Date and time of creation, which sort as texts; absent ones come first.
    std::string Created() const;
    bool RefersTo(const std::string& instance, int frame) const;
    /// The item of the Softcopy VOI LUT Sequence, or of the Displayed Area Selection Sequence, for a frame;
    /// null where it has none.
    const DicomDataSet* VoiLut(const std::string& instance, int frame) const;
    const DicomDataSet* DisplayedArea(const std::string& instance, int frame) const;
    /// The first image that it refers to.
    std::string FirstImage() const;
    /// The same for any image: what it has for its first one.
    PresentationState ForAnyImage() const;
};

/// Whether an item with an optional Referenced Image Sequence applies to a frame of an image: without one it
/// applies to every image.
bool AppliesTo(const DicomDataSet& item, const std::string& instance, int frame);

/// Throws PresentError for a file of another kind.
PresentationState ReadPresentationState(const std::string& path);

/// The presentation states of a file or, with all that is in it, of a folder, in which files of another kind
/// and what cannot be read are passed over. Throws PresentError for a file of another kind, and for a folder
/// without a state.
class PresentationStates {
public:
    explicit PresentationStates(const std::string& path);
    /// These, as if they came from a folder.
    explicit PresentationStates(std::vector<PresentationState> states);

    const std::string& Path() const { return m_Path; }
    bool IsFolder() const { return m_bFolder; }
    const std::vector<PresentationState>& All() const { return m_States; }
    /// Those that refer to a frame, or to any one, the newest first.
    std::vector<const PresentationState*> For(const std::string& instance, int frame) const;

private:
    std::string m_Path;
    bool m_bFolder = false;
    std::vector<PresentationState> m_States;
};
