#pragma once

#include "io/dicom_file.h"
#include "io/presentation_state.h"

/// What a presentation state puts in place of the attributes of an image, for one frame: the modality
/// transformation, the VOI LUT and the presentation LUT. A step that the state does not have is the identity,
/// whatever the image says (PS3.4 N.2). Throws PresentError for a state that is damaged, and for one that
/// does not go with the image.
AttributeChanges ChangesBy(const PresentationState& state, const DicomDataSet& image, int frame);

/// The attributes of this project's own that a state takes no notice of, by their tags in a message.
std::vector<std::uint32_t> PrivatePresentation();

/// The window of a state as the two ends of its ramp in modality units: black up to `low`, white from `high`.
/// They may lie between whole numbers. A sigmoid has centre and width between them.
struct ExactWindow {
    double low = 0.0;
    double high = 0.0;
    bool isSigmoid = false;

    double Center() const { return (low + high) / 2.0; }
    double Width() const { return high - low; }
    /// What the window makes of a modality value, from 0 to 1 (PS3.3 C.11.2.1).
    double At(double value) const;
};
/// Nothing where the state has a table or no window. Throws PresentError for numbers that do not make a
/// window.
std::optional<ExactWindow> ExactWindowOf(const PresentationState& state, const std::string& instance,
                                         int frame);

/// The 256 colours of a Pseudo-Color state's palette for the range of grey levels, 0x00RRGGBB. Throws
/// PresentError.
std::vector<std::uint32_t> PaletteOf(const PresentationState& state);
