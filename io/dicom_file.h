#pragma once

#include <string>
#include <vector>

#include "dicom_elements.h"
#include "picture.h"
#include "pixel_conversion.h"

/// One frame of a DICOM file, in the form in which it is presented.
///
///     DicomFile file = DicomFile::Load("ct.dcm");
///     if (!file.IsColour()) draw(file.Mono(), file.DataSet());
///
/// A frame in colour (RGB, YBR, PALETTE COLOR) is finished as it is. A monochrome one comes as pixel values,
/// with a Modality LUT Sequence already applied and values of more than 16 bits reduced; the data set tells
/// of the values as they are here.
class DicomFile {
public:
    /// frame counts from 0. Throws PresentError.
    static DicomFile Load(const std::string& path, int frame = 0);

    const std::string& Path() const { return m_Path; }
    int Rows() const { return m_Rows; }
    int Columns() const { return m_Columns; }
    int Frames() const { return m_Frames; }
    const std::string& TransferSyntax() const { return m_TransferSyntax; }

    bool IsColour() const { return !m_Colour.rgb.empty(); }
    const Picture& Colour() const { return m_Colour; }
    const MonoPixels& Mono() const { return m_Mono; }

    /// Every attribute but the pixel data; an enhanced multi-frame image's functional groups of this frame at
    /// the top level.
    const DicomDataSet& DataSet() const { return m_DataSet; }
    /// What was done to the pixels that a user must know, one sentence each.
    const std::vector<std::string>& Notes() const { return m_Notes; }

private:
    void lift_functional_groups(int frame);
    void take_colour(const StoredFrame& frame);
    void take_mono(const StoredFrame& frame);
    void take_deep(const StoredFrame& frame);
    void apply_modality_lut();
    void describe_pixels();

    std::string m_Path;
    std::string m_TransferSyntax;
    int m_Rows = 0;
    int m_Columns = 0;
    int m_Frames = 0;
    DicomDataSet m_DataSet;
    Picture m_Colour;
    MonoPixels m_Mono;
    std::vector<std::string> m_Notes;
};
