#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_BaseParams.h>
#include <SPC/SPC_MeasurementUnits.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
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
/// Pixel values are in the units of a window, that is after rescale: Bq/ml for most PT images. Everything is
/// taken from the message by the constructor, and nothing is guessed: data that are absent, contradict each
/// other or lead to an implausible body or scale are missing. Lean body mass is that of LBMJAMES128 (DICOM
/// PS3.3 C.8.9.1.1.3). An image without CorrectedImage is accepted; one whose CorrectedImage lacks ATTN, or
/// contradicts DecayCorrection, is not. Objects are not locked.
class HOST_API SPC_MeasurementUnitsParams : public KIT_BaseParams {
public:
    /// Null counts as an empty message. The message is not kept.
    explicit SPC_MeasurementUnitsParams(const OBJ_Msg* msg = nullptr);
    SPC_MeasurementUnitsParams(const SPC_MeasurementUnitsParams& other) = default;
    SPC_MeasurementUnitsParams& operator=(const SPC_MeasurementUnitsParams& other) = default;
    using KIT_BaseParams::operator=;
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    KIT_BaseParams* Clone() override;

    /// True when the image lacks the data that these units need. Raw units and -1 need none; for a number
    /// that is not a unit they are always missing.
    bool IsDataMissingForMeasurement(SPC_MEASUREMENT_UNITS units) const;
    /// What is missing first, in words that complete "needs ..."; null when nothing is missing.
    const wchar_t* GetMissingDataText(SPC_MEASUREMENT_UNITS units) const;
    /// A value in these units as a pixel value. Where data are missing, the value itself. -1 means the
    /// view's current unit: SUV by body weight for a PT image that has the data for it, else raw.
    float TranslateBackFromUnitsToPixel(float value, SPC_MEASUREMENT_UNITS units) const;

    /// Lowest and highest value of the whole image, all frames, after rescale: 0 and 100 per cent.
    typedef std::pair<double, double> Range;
    typedef std::function<std::optional<Range>()> RangeSource;
    /// Ends that are not finite or not in order leave the range missing.
    void SetMaximalRange(double lowest, double highest);
    /// The same, found out when a percentage is first asked for: `source` is called at most once, copies of
    /// this object included, and must stay callable until then. Null leaves the range missing.
    void SetMaximalRangeSource(RangeSource source);

    /// The image has a usable Real World Value Mapping.
    bool HasRealWorldValidInfo() const { return !m_RealWorld.empty(); }
    /// The stored pixel value, before rescale, for a real-world value: by the first mapping whose range holds
    /// the result, else by the first mapping, whose line is extended beyond its range and whose table is not.
    /// Of a table the entry that is nearest. Without a mapping the value itself.
    float FindValueForRealWorldValue(float value) const;

private:
    /// What a dose is divided by, or an uptake value normalised to; 0 where it is not known.
    struct Norms {
        double weight = 0.0;   ///< grams
        double surface = 0.0;  ///< square centimetres
        double lean = 0.0;     ///< grams
        /// Grams, by the formula of the image's SUV Type.
        double pixelLean = 0.0;
        /// What those that are not known need.
        const wchar_t* missing = nullptr;
    };
    struct StoredValue {
        double value;
        bool inside;
    };
    struct RealWorldMapping {
        double first = 0.0;
        double last = 0.0;
        double slope = 1.0;
        double intercept = 0.0;
        /// Real-world values from `first` on; empty for a line.
        std::vector<double> table;

        /// The stored value for a real-world one, and whether that lies within the mapping.
        StoredValue find(double wanted) const;
    };
    struct LazyRange {
        RangeSource source;  ///< null once it has been called
        std::optional<Range> ends;
    };

    void read_body(const Dicom_Msg& msg);
    void read_activity(const Dicom_Msg& msg);
    /// Sets m_Reference, or returns what is missing.
    const wchar_t* read_dose(const Dicom_Msg& msg, const std::wstring& units);
    void read_real_world(const Dicom_Msg& msg);
    double norm(SPC_MEASUREMENT_UNITS units) const;
    const std::optional<Range>& range() const;
    SPC_MEASUREMENT_UNITS resolve(SPC_MEASUREMENT_UNITS units) const;

    bool m_bPositronEmission = false;
    Norms m_Norms;
    /// Units of the pixel values when they are uptake values already, else -1.
    SPC_MEASUREMENT_UNITS m_PixelUnits = SPC_UNITS_UNKNOWN;
    /// Becquerel at the moment whose activity the pixel values give, or the norm of uptake values; 0 where it
    /// is not known.
    double m_Reference = 0.0;
    const wchar_t* m_MissingReference = nullptr;
    std::shared_ptr<LazyRange> m_pRange = std::make_shared<LazyRange>();
    std::vector<RealWorldMapping> m_RealWorld;
};
