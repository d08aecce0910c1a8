#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dicom_elements.h"
#include "overlay_planes.h"
#include "picture.h"
#include "pixel_conversion.h"

/// Something that a user must know of the picture: a sentence, and a code for programs.
struct Note {
    std::string code;
    std::string text;
};

/// Attributes that stand in for those of a file, or for their absence.
using AttributeChanges = std::map<std::uint32_t, std::optional<DicomElement>>;
/// Says what stands in for the attributes of an image, which it is given with the functional groups of the
/// frame at the top level.
using AttributeSource = std::function<AttributeChanges(const DicomDataSet& image)>;

/// One frame of a DICOM file, in the form in which it is presented.
///
///     DicomFile file = DicomFile::Load("ct.dcm");
///     if (!file.IsColour()) draw(file.Mono(), file.DataSet());
///
/// A frame in colour (RGB, YBR, PALETTE COLOR) is finished. A monochrome one consists of pixel values, with a
/// Modality LUT Sequence already applied and values of more than 16 bits reduced; the data set describes
/// these values, not the stored ones.
class DicomFile {
public:
    /// A frame that is cut short is refused unless options.partial. `changes`, if it is not empty, is asked
    /// before the attributes are used. Throws PresentError.
    static DicomFile Load(const std::string& path, LoadOptions options,
                          const AttributeSource& changes = nullptr);
    static DicomFile Load(const std::string& path, int frame = 0) { return Load(path, LoadOptions{frame}); }

    const std::string& Path() const { return m_Path; }
    int Rows() const { return m_Rows; }
    int Columns() const { return m_Columns; }
    int Frames() const { return m_Frames; }
    /// Which of them this is, from 0.
    int Frame() const { return m_Frame; }
    const std::string& TransferSyntax() const { return m_TransferSyntax; }

    bool IsColour() const { return !m_Colour.bytes.empty(); }
    const Picture& Colour() const { return m_Colour; }
    const MonoPixels& Mono() const { return m_Mono; }
    /// The file has this many pixels of the frame, in the order of rows. The others are to be drawn black,
    /// whatever their values, which repeat those that are there.
    std::size_t PresentPixels() const { return m_Present; }

    /// The pixel has a value: of floating-point pixels, those that are neither padding nor "not a number".
    bool HasValue(std::size_t pixel) const { return !m_bAbsent || m_Mono.Get(pixel) != 0; }

    /// Every attribute but the pixel data; an enhanced multi-frame image's functional groups of this frame at
    /// the top level.
    const DicomDataSet& DataSet() const { return m_DataSet; }
    /// The same as the file has it: neither changed nor describing other pixels than its own.
    DicomDataSet OwnDataSet() const;
    /// The colours of a frame of which a part is in colour (PS3.3 C.7.6.19).
    const std::optional<SupplementalPalette>& Supplement() const { return m_Supplement; }
    /// The overlay planes of the frame.
    const std::vector<OverlayPlane>& Overlays() const { return m_Overlays; }
    /// Of the code "pixels": values were reduced to 16 bits; "partial": rows are missing; "overlay": a plane
    /// cannot be drawn, or not as a whole.
    const std::vector<Note>& Notes() const { return m_Notes; }

    /// The pixel values stand for others, by a rescale that may have fractions.
    bool IsReduced() const { return m_bReduced; }
    /// The pixel values are the stored ones: neither reduced nor those of a Modality LUT.
    bool IsAsStored() const { return m_bAsStored; }
    /// Smallest and largest pixel value of the frame, padding left out: of Mono(), and of the pixels as
    /// stored, before a Modality LUT and a reduction to 16 bits. Nothing for an image in colour or of nothing
    /// but padding.
    ValueRange Range() const;
    ValueRange StoredRange() const { return m_bAsStored ? Range() : m_StoredRange; }
    /// Smallest and largest value over all frames, padding left out, on the scale of Mono(). Reads every
    /// frame unless the file gives the range; with options.partial, the frames before the cut. Nothing where
    /// the frame's own range must do: for a single frame, an image in colour, one with a Modality LUT, one of
    /// nothing but padding or one with a frame that cannot be read.
    std::optional<std::pair<double, double>> WholeImageRange() const;

private:
    void lift_functional_groups(int frame);
    void replace(std::uint32_t tag, const std::optional<DicomElement>& element);
    void take_colour(const StoredFrame& frame);
    void take_mono(const StoredFrame& frame);
    void look_up(const StoredFrame& frame);
    void reduce(const StoredFrame& frame);
    void reduce_real(const StoredFrame& frame);
    void describe_reduction(double offset, double step);
    void take_supplement();
    void note_missing();
    void take_overlays(const StoredFrame& frame, const std::string& transferSyntax);
    void describe_pixels();
    std::optional<std::pair<double, double>> range_of_file() const;

    std::string m_Path;
    std::string m_TransferSyntax;
    int m_Rows = 0;
    int m_Columns = 0;
    int m_Frames = 0;
    int m_Frame = 0;
    DicomDataSet m_DataSet;
    /// What was replaced, as the file has it.
    AttributeChanges m_Replaced;
    bool m_bPartial = false;
    std::size_t m_Present = 0;
    Picture m_Colour;
    MonoPixels m_Mono;
    /// From stored values to those of Mono(); nothing after a table.
    std::optional<DeepReduction> m_Reduction;
    /// The values of Mono() are the stored ones; else these have a range of their own.
    bool m_bAsStored = true;
    bool m_bReduced = false;
    /// The pixel value 0 stands for none.
    bool m_bAbsent = false;
    ValueRange m_StoredRange;
    std::optional<SupplementalPalette> m_Supplement;
    std::vector<OverlayPlane> m_Overlays;
    std::vector<Note> m_Notes;
};
