#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_BaseParams.h>
#include <SPC/SPC_MeasurementUnits.h>

#include <vector>

class Dicom_Msg;
class OBJ_Msg;

/// What an image's values measure, a parameter object named "SPC_MeasurementUnitsParams": standardised uptake
/// values, per cent of the range, and real-world values.
///
///     SPC_MeasurementUnitsParams units(&msg);
///     if (units.IsDataMissingForMeasurement(SPC_UNITS_SUV_BW)) {
///         tell(units.GetMissingDataText(SPC_UNITS_SUV_BW));
///     } else {
///         width = units.TranslateBackFromUnitsToPixel(5.0f, SPC_UNITS_SUV_BW);
///     }
///
/// Pixel values are in the units that a window is told in, that is after rescale: Bq/ml for most PT images.
/// Everything is taken from the message by the constructor; nothing is guessed, so that whoever wants SUV
/// asks first what is missing. Objects are not locked.
class HOST_API SPC_MeasurementUnitsParams : public KIT_BaseParams {
public:
    /// Null counts as an empty message. The message is not kept.
    explicit SPC_MeasurementUnitsParams(const OBJ_Msg* msg = nullptr);
    SPC_MeasurementUnitsParams(const SPC_MeasurementUnitsParams& other) = default;
    SPC_MeasurementUnitsParams& operator=(const SPC_MeasurementUnitsParams& other) = default;
    using KIT_BaseParams::operator=;
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    KIT_BaseParams* Clone() override;

    /// True when the image lacks the data that these units need. Raw units and -1 need none; numbers that are
    /// no unit count as missing.
    bool IsDataMissingForMeasurement(SPC_MEASUREMENT_UNITS units) const;
    /// What is missing first, in words that complete "needs ..."; null when nothing is missing.
    const wchar_t* GetMissingDataText(SPC_MEASUREMENT_UNITS units) const;
    /// A value in these units as a pixel value. Where data are missing, the value itself. -1 stands for the
    /// view's current unit: SUV by body weight for a PT image that has the data for it, else raw.
    float TranslateBackFromUnitsToPixel(float value, SPC_MEASUREMENT_UNITS units) const;

    /// The ends that 0 and 100 per cent stand for, after rescale. Not a number, or ends in the wrong order,
    /// are no range.
    void SetMaximalRange(double lowest, double highest);

    /// The image has a usable Real World Value Mapping.
    bool HasRealWorldValidInfo() const { return !m_RealWorld.empty(); }
    /// The stored pixel value, before rescale, for a real-world value: by the first mapping whose range holds
    /// the result, else by the first mapping, whose line goes on beyond its range and whose table ends at its
    /// ends. Of a table the entry that is nearest. Without a mapping the value itself.
    float FindValueForRealWorldValue(float value) const;

private:
    /// What a dose is divided by, or an uptake value normalised to; 0 where it is not known.
    struct Norms {
        double weight = 0.0;   ///< grams
        double surface = 0.0;  ///< square centimetres
        double lean = 0.0;     ///< grams
    };
    struct RealWorldMapping {
        double first = 0.0;
        double last = 0.0;
        double slope = 1.0;
        double intercept = 0.0;
        /// Real-world values from `first` on; empty for a line.
        std::vector<double> table;
    };

    void read_body(const Dicom_Msg& msg);
    void read_activity(const Dicom_Msg& msg);
    void read_real_world(const Dicom_Msg& msg);
    double norm(SPC_MEASUREMENT_UNITS units) const;
    SPC_MEASUREMENT_UNITS resolve(SPC_MEASUREMENT_UNITS units) const;

    bool m_bPositronEmission = false;
    Norms m_Norms;
    const wchar_t* m_MissingLean = nullptr;
    /// Units of the pixel values when they are uptake values already, else -1.
    SPC_MEASUREMENT_UNITS m_PixelUnits = SPC_UNITS_UNKNOWN;
    /// Becquerel at the time that the pixel values are told for; 0 where it is not known.
    double m_Dose = 0.0;
    const wchar_t* m_MissingDose = nullptr;
    bool m_bHasRange = false;
    double m_RangeLowest = 0.0;
    double m_RangeHighest = 0.0;
    std::vector<RealWorldMapping> m_RealWorld;
};
