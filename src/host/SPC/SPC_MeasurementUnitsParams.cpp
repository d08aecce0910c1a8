#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_Type.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_MeasurementUnitsParams.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "SPC/dicom_time.h"

namespace {

constexpr Dicom_Tag kSeriesDate(0x00080021);
constexpr Dicom_Tag kAcquisitionDate(0x00080022);
constexpr Dicom_Tag kAcquisitionDateTime(0x0008002A);
constexpr Dicom_Tag kSeriesTime(0x00080031);
constexpr Dicom_Tag kAcquisitionTime(0x00080032);
constexpr Dicom_Tag kModality(0x00080060);
constexpr Dicom_Tag kCodeValue(0x00080100);
constexpr Dicom_Tag kTimezoneOffset(0x00080201);
constexpr Dicom_Tag kPatientSex(0x00100040);
constexpr Dicom_Tag kPatientSize(0x00101020);
constexpr Dicom_Tag kPatientWeight(0x00101030);
constexpr Dicom_Tag kStartTime(0x00181072);
constexpr Dicom_Tag kTotalDose(0x00181074);
constexpr Dicom_Tag kHalfLife(0x00181075);
constexpr Dicom_Tag kStartDateTime(0x00181078);
constexpr Dicom_Tag kFrameDuration(0x00181242);
constexpr Dicom_Tag kCorrectedImage(0x00280051);
constexpr Dicom_Tag kMeasurementUnitsCode(0x004008EA);
constexpr Dicom_Tag kRealWorldMapping(0x00409096);
constexpr Dicom_Tag kRealWorldLast(0x00409211);
constexpr Dicom_Tag kRealWorldTable(0x00409212);
constexpr Dicom_Tag kRealWorldDoubleLast(0x00409213);
constexpr Dicom_Tag kRealWorldDoubleFirst(0x00409214);
constexpr Dicom_Tag kRealWorldFirst(0x00409216);
constexpr Dicom_Tag kRealWorldIntercept(0x00409224);
constexpr Dicom_Tag kRealWorldSlope(0x00409225);
constexpr Dicom_Tag kRadiopharmaceutical(0x00540016);
constexpr Dicom_Tag kUnits(0x00541001);
constexpr Dicom_Tag kSuvType(0x00541006);
constexpr Dicom_Tag kDecayCorrection(0x00541102);
constexpr Dicom_Tag kFrameReferenceTime(0x00541300);

const wchar_t* const kNeedsWeight = L"the patient's weight";
const wchar_t* const kNeedsSize = L"the patient's size";
const wchar_t* const kNeedsSex = L"the patient's sex";
const wchar_t* const kNeedsPlausibleBody = L"a plausible weight and size of the patient";
const wchar_t* const kNeedsActivity = L"pixel values in Bq/ml or SUV";
const wchar_t* const kNeedsDose = L"the injected dose";
const wchar_t* const kNeedsHalfLife = L"the half-life of the radionuclide";
const wchar_t* const kNeedsDecay = L"the kind of decay correction";
const wchar_t* const kNeedsAttenuation = L"a correction for attenuation";
const wchar_t* const kNeedsFrameDuration = L"the duration of the frame";
const wchar_t* const kNeedsZone = L"the time zone of both the injection and the scan";
const wchar_t* const kNeedsScale = L"a dose and a body that give a plausible SUV";
const wchar_t* const kNeedsInjectionTime = L"the time of the injection";
const wchar_t* const kNeedsScanTime = L"the time of the scan";
const wchar_t* const kNeedsReferenceTime = L"the start of the scan or the frame's reference time";
const wchar_t* const kNeedsTimeOrder = L"a scan after the injection";
const wchar_t* const kNeedsRange = L"the range of the pixel values";
const wchar_t* const kNeedsUnits = L"units that are known";

constexpr double kSecondsPerDay = 86400.0;
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
/// Most entries of a real-world table: a stored pixel value has 16 bits.
constexpr std::size_t kLongestTable = 65536;

bool is_positive(double value) { return std::isfinite(value) && value > 0.0; }

std::wstring text_of(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* const value = msg.Get(tag);
    return value == nullptr ? std::wstring() : value->GetText(0);
}

const Dicom_Msg* first_item(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_SQ* const sequence = msg.GetSequence(tag);
    return sequence == nullptr ? nullptr : sequence->GetItem(0);
}

std::optional<refhost::Moment> moment_of(const Dicom_Msg& msg, const Dicom_Tag& date, const Dicom_Tag& time) {
    const std::optional<long> days = refhost::ParseDate(text_of(msg, date));
    const std::optional<double> seconds = refhost::ParseTime(text_of(msg, time));
    if (!days || !seconds) return std::nullopt;
    return refhost::Moment{static_cast<double>(*days) * kSecondsPerDay + *seconds,
                           refhost::ParseZone(text_of(msg, kTimezoneOffset))};
}

std::optional<refhost::Moment> acquisition_moment(const Dicom_Msg& msg) {
    std::optional<refhost::Moment> moment = refhost::ParseDateTime(text_of(msg, kAcquisitionDateTime));
    if (!moment) return moment_of(msg, kAcquisitionDate, kAcquisitionTime);
    if (!moment->zone) moment->zone = refhost::ParseZone(text_of(msg, kTimezoneOffset));
    return moment;
}

bool has_value(const Dicom_Msg& msg, const Dicom_Tag& tag, const wchar_t* wanted) {
    const Dicom_Type* const values = msg.Get(tag);
    for (std::size_t i = 0; values != nullptr && i < values->GetVM(); ++i) {
        if (values->GetText(i) == wanted) return true;
    }
    return false;
}

/// Seconds from the start of a frame to the moment at which the activity is its mean: for the decay constant
/// k and the duration T, (1/k) ln(kT / (1 - exp(-kT))). NaN without the duration.
double mean_count_time(const Dicom_Msg& msg, double halfLife) {
    const double duration = msg.GetDouble(kFrameDuration, 0.0) / 1000.0;
    if (!is_positive(duration)) return kNotANumber;
    const double k = std::log(2.0) / halfLife;
    const double mean = std::log(k * duration / -std::expm1(-k * duration)) / k;
    return is_positive(mean) ? mean : duration / 2.0;  // rounding, in a frame much shorter than the half-life
}

/// A moment, or what is missing to know it.
struct Known {
    std::optional<refhost::Moment> moment;
    const wchar_t* missing = nullptr;
};

/// The moment whose activity the pixel values give. Without decay correction it is the moment of mean
/// activity in the frame. With a correction to the start of the scan it is the start of the series, unless
/// that is absent or, after later processing, behind the acquisition: then the start of the scan follows from
/// the frame, whose mean activity lies FrameReferenceTime after it.
Known scan_moment(const Dicom_Msg& msg, bool corrected, double halfLife) {
    const std::optional<refhost::Moment> series = moment_of(msg, kSeriesDate, kSeriesTime);
    std::optional<refhost::Moment> acquisition = acquisition_moment(msg);
    if (corrected && series) {
        if (!acquisition) return {series, nullptr};
        const std::optional<double> until = refhost::SecondsBetween(*series, *acquisition);
        if (!until) return {std::nullopt, kNeedsZone};
        if (*until >= 0.0) return {series, nullptr};
    }
    if (!acquisition) return {std::nullopt, kNeedsScanTime};
    const double sinceStart = corrected ? msg.GetDouble(kFrameReferenceTime, kNotANumber) / 1000.0 : 0.0;
    if (!std::isfinite(sinceStart)) return {std::nullopt, kNeedsReferenceTime};
    const double mean = mean_count_time(msg, halfLife);
    if (std::isnan(mean)) return {std::nullopt, kNeedsFrameDuration};
    acquisition->seconds += mean - sinceStart;
    return {acquisition, nullptr};
}

/// The moment of the injection; a time without a date is the last one before the scan.
Known injection_moment(const Dicom_Msg& msg, const Dicom_Msg& drug, const refhost::Moment& scan) {
    const std::optional<double> zone = refhost::ParseZone(text_of(msg, kTimezoneOffset));
    if (std::optional<refhost::Moment> start = refhost::ParseDateTime(text_of(drug, kStartDateTime))) {
        if (!start->zone) start->zone = zone;
        return {start, nullptr};
    }
    const std::optional<double> time = refhost::ParseTime(text_of(drug, kStartTime));
    if (!time) return {std::nullopt, kNeedsInjectionTime};
    if (zone.has_value() != scan.zone.has_value()) return {std::nullopt, kNeedsZone};
    const double local = scan.seconds + zone.value_or(0.0) - scan.zone.value_or(0.0);
    const double midnight = std::floor((local - *time) / kSecondsPerDay) * kSecondsPerDay;
    return {refhost::Moment{midnight + *time, zone}, nullptr};
}

/// Lean body mass in kilograms, NaN for an unknown sex: by James 1976 with 128 for men (SUV Type LBMJAMES128,
/// DICOM PS3.3 C.8.9.1.1.3) or with 120 (LBM), or by Janmahasatian 2005 (LBMJANMA).
double lean_mass(const std::wstring& type, const std::wstring& sex, double kilograms, double centimetres) {
    const bool man = sex == L"M";
    if (!man && sex != L"F") return kNotANumber;
    const double ratio = kilograms / centimetres;
    if (type == L"LBMJANMA") {
        const double bodyMassIndex = 10000.0 * ratio / centimetres;
        return 9270.0 * kilograms / (man ? 6680.0 + 216.0 * bodyMassIndex : 8780.0 + 244.0 * bodyMassIndex);
    }
    if (man) return 1.10 * kilograms - (type == L"LBM" ? 120.0 : 128.0) * ratio * ratio;
    return 1.07 * kilograms - 148.0 * ratio * ratio;
}

SPC_MEASUREMENT_UNITS uptake_units(const std::wstring& units, const std::wstring& type) {
    if (units == L"GML") {
        if (type.empty() || type == L"BW") return SPC_UNITS_SUV_BW;
        if (type == L"LBMJAMES128") return SPC_UNITS_SUV_LBM;
    }
    if (units == L"CM2ML" && (type.empty() || type == L"BSA")) return SPC_UNITS_SUV_BSA;
    return SPC_UNITS_UNKNOWN;
}

float to_float(double value) {
    constexpr double kMost = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -kMost, kMost));
}

}  // namespace

SPC_MeasurementUnitsParams::SPC_MeasurementUnitsParams(const OBJ_Msg* msg) {
    SetName("SPC_MeasurementUnitsParams");
    const OBJ_Msg empty;
    const OBJ_Msg& source = msg == nullptr ? empty : *msg;
    m_bPositronEmission = text_of(source, kModality) == L"PT";
    read_body(source);
    read_activity(source);
    read_real_world(source);
}

KIT_BaseParams& SPC_MeasurementUnitsParams::operator=(const KIT_BaseParams& other) {
    const auto* const units = dynamic_cast<const SPC_MeasurementUnitsParams*>(&other);
    if (units == nullptr) return KIT_BaseParams::operator=(other);
    return *this = *units;
}

KIT_BaseParams* SPC_MeasurementUnitsParams::Clone() { return new SPC_MeasurementUnitsParams; }

// ---- what the message says ----

/// Body surface by Du Bois and Du Bois 1916, in kilograms and centimetres. The formulas of lean mass leave 0
/// to the weight for bodies that they were not made for.
void SPC_MeasurementUnitsParams::read_body(const Dicom_Msg& msg) {
    const double kilograms = msg.GetDouble(kPatientWeight, 0.0);
    const double centimetres = 100.0 * msg.GetDouble(kPatientSize, 0.0);
    constexpr double kHeaviest = 1000.0;
    constexpr double kTallest = 300.0;
    constexpr double kGrams = 1000.0;
    constexpr double kSquareCentimetres = 10000.0;

    m_Norms.missing = is_positive(kilograms) ? kNeedsPlausibleBody : kNeedsWeight;
    if (!is_positive(kilograms) || kilograms > kHeaviest) return;
    m_Norms.weight = kGrams * kilograms;

    m_Norms.missing = is_positive(centimetres) ? kNeedsPlausibleBody : kNeedsSize;
    if (!is_positive(centimetres) || centimetres > kTallest) return;
    m_Norms.surface =
        kSquareCentimetres * 0.007184 * std::pow(kilograms, 0.425) * std::pow(centimetres, 0.725);

    const std::wstring sex = text_of(msg, kPatientSex);
    const auto lean = [&](const std::wstring& type) {
        const double mass = lean_mass(type, sex, kilograms, centimetres);
        return mass > 0.0 && mass <= kilograms ? kGrams * mass : 0.0;
    };
    m_Norms.missing = sex == L"M" || sex == L"F" ? kNeedsPlausibleBody : kNeedsSex;
    m_Norms.lean = lean(L"LBMJAMES128");
    m_Norms.pixelLean = lean(text_of(msg, kSuvType));
}

/// What the pixel values of one SUV are, times the norm of the wanted kind: the injected dose at the moment
/// whose activity they give (DICOM PS3.3 C.8.9.1, C.8.9.2), or the norm of the uptake values that they are.
void SPC_MeasurementUnitsParams::read_activity(const Dicom_Msg& msg) {
    const std::wstring units = text_of(msg, kUnits);
    const std::wstring type = text_of(msg, kSuvType);
    m_PixelUnits = uptake_units(units, type);
    const bool otherLean = units == L"GML" && (type == L"LBM" || type == L"LBMJANMA");
    if (m_PixelUnits != SPC_UNITS_UNKNOWN || otherLean) {
        m_Reference = otherLean ? m_Norms.pixelLean : norm(m_PixelUnits);
        if (m_Reference == 0.0) m_MissingReference = m_Norms.missing;
        return;
    }
    m_MissingReference = read_dose(msg, units);
}

const wchar_t* SPC_MeasurementUnitsParams::read_dose(const Dicom_Msg& msg, const std::wstring& units) {
    if (units != L"BQML") return kNeedsActivity;
    const Dicom_Msg none;
    const Dicom_Msg* const item = first_item(msg, kRadiopharmaceutical);
    const Dicom_Msg& drug = item == nullptr ? none : *item;
    const double dose = drug.GetDouble(kTotalDose, 0.0);
    if (!is_positive(dose)) return kNeedsDose;

    const std::wstring correction = text_of(msg, kDecayCorrection);
    const bool corrected = correction != L"NONE";
    if (corrected && correction != L"ADMIN" && correction != L"START") return kNeedsDecay;
    if (!text_of(msg, kCorrectedImage).empty()) {
        if (!has_value(msg, kCorrectedImage, L"ATTN")) return kNeedsAttenuation;
        if (has_value(msg, kCorrectedImage, L"DECY") != corrected) return kNeedsDecay;
    }
    if (correction == L"ADMIN") {
        // The values are those of the moment of the injection.
        m_Reference = dose;
        return nullptr;
    }
    const double halfLife = drug.GetDouble(kHalfLife, 0.0);
    if (!is_positive(halfLife)) return kNeedsHalfLife;
    const Known scan = scan_moment(msg, corrected, halfLife);
    if (!scan.moment) return scan.missing;
    const Known injection = injection_moment(msg, drug, *scan.moment);
    if (!injection.moment) return injection.missing;
    const std::optional<double> elapsed = refhost::SecondsBetween(*injection.moment, *scan.moment);
    if (!elapsed) return kNeedsZone;
    const double decayed = dose * std::pow(2.0, -*elapsed / halfLife);
    if (*elapsed < 0.0 || !is_positive(decayed)) return kNeedsTimeOrder;
    m_Reference = decayed;
    return nullptr;
}

/// Real World Value Mapping (DICOM PS3.3 C.7.6.16.2.11). Of several mappings those in the units of the first
/// usable one count.
void SPC_MeasurementUnitsParams::read_real_world(const Dicom_Msg& msg) {
    const Dicom_SQ* const items = msg.GetSequence(kRealWorldMapping);
    std::wstring code;
    for (std::size_t i = 0; items != nullptr && i < items->GetVM(); ++i) {
        const Dicom_Msg& item = *items->GetItem(i);
        RealWorldMapping mapping;
        mapping.first = item.GetDouble(kRealWorldFirst, item.GetDouble(kRealWorldDoubleFirst, kNotANumber));
        mapping.last = item.GetDouble(kRealWorldLast, item.GetDouble(kRealWorldDoubleLast, kNotANumber));
        if (!std::isfinite(mapping.first) || !std::isfinite(mapping.last) || mapping.first > mapping.last)
            continue;

        const Dicom_Type* const table = item.Get(kRealWorldTable);
        const double mapped =
            std::min(mapping.last - mapping.first + 1.0, static_cast<double>(kLongestTable));
        const std::size_t entries =
            table == nullptr ? 0 : std::min(table->GetVM(), static_cast<std::size_t>(mapped));
        for (std::size_t k = 0; k < entries; ++k) {
            mapping.table.push_back(item.GetDouble(kRealWorldTable, kNotANumber, k));
        }
        mapping.slope = item.GetDouble(kRealWorldSlope, kNotANumber);
        mapping.intercept = item.GetDouble(kRealWorldIntercept, kNotANumber);
        const bool hasTable = std::any_of(mapping.table.begin(), mapping.table.end(),
                                          [](double value) { return std::isfinite(value); });
        const bool hasLine =
            std::isfinite(mapping.slope) && mapping.slope != 0.0 && std::isfinite(mapping.intercept);
        if (!hasTable && !hasLine) continue;
        if (hasLine) mapping.table.clear();

        const Dicom_Msg* const units = first_item(item, kMeasurementUnitsCode);
        const std::wstring itemCode = units == nullptr ? std::wstring() : text_of(*units, kCodeValue);
        if (m_RealWorld.empty()) code = itemCode;
        if (itemCode == code) m_RealWorld.push_back(std::move(mapping));
    }
}

// ---- measurement units ----

double SPC_MeasurementUnitsParams::norm(SPC_MEASUREMENT_UNITS units) const {
    switch (units) {
        case SPC_UNITS_SUV_BW:
            return m_Norms.weight;
        case SPC_UNITS_SUV_BSA:
            return m_Norms.surface;
        default:
            return m_Norms.lean;
    }
}

SPC_MEASUREMENT_UNITS SPC_MeasurementUnitsParams::resolve(SPC_MEASUREMENT_UNITS units) const {
    if (units != SPC_UNITS_UNKNOWN) return units;
    return m_bPositronEmission && !IsDataMissingForMeasurement(SPC_UNITS_SUV_BW) ? SPC_UNITS_SUV_BW
                                                                                 : SPC_UNITS_RAW;
}

bool SPC_MeasurementUnitsParams::IsDataMissingForMeasurement(SPC_MEASUREMENT_UNITS units) const {
    return GetMissingDataText(units) != nullptr;
}

const wchar_t* SPC_MeasurementUnitsParams::GetMissingDataText(SPC_MEASUREMENT_UNITS units) const {
    switch (units) {
        case SPC_UNITS_UNKNOWN:
        case SPC_UNITS_RAW:
            return nullptr;
        case SPC_UNITS_PERCENTAGE_MAX_RANGE:
            return range().has_value() ? nullptr : kNeedsRange;
        case SPC_UNITS_SUV_BW:
        case SPC_UNITS_SUV_BSA:
        case SPC_UNITS_SUV_LBM:
            break;
        default:
            return kNeedsUnits;
    }
    if (units == m_PixelUnits) return nullptr;
    if (m_MissingReference != nullptr) return m_MissingReference;
    if (norm(units) == 0.0) return m_Norms.missing;
    // A scale of 0 to 10 SUV has to be a window of whole numbers.
    constexpr double kScaleTop = 10.0;
    const double top = kScaleTop * m_Reference / norm(units);
    return top >= 1.0 && top <= std::numeric_limits<int>::max() ? nullptr : kNeedsScale;
}

float SPC_MeasurementUnitsParams::TranslateBackFromUnitsToPixel(float value,
                                                                SPC_MEASUREMENT_UNITS units) const {
    units = resolve(units);
    if (units == SPC_UNITS_RAW || units == m_PixelUnits || IsDataMissingForMeasurement(units)) return value;
    const double number = static_cast<double>(value);
    if (units == SPC_UNITS_PERCENTAGE_MAX_RANGE) {
        const auto [lowest, highest] = *range();
        return to_float(lowest + number * (highest - lowest) / 100.0);
    }
    return to_float(number * m_Reference / norm(units));
}

void SPC_MeasurementUnitsParams::SetMaximalRange(double lowest, double highest) {
    SetMaximalRangeSource([ends = Range(lowest, highest)] { return std::make_optional(ends); });
}

void SPC_MeasurementUnitsParams::SetMaximalRangeSource(RangeSource source) {
    m_pRange = std::make_shared<LazyRange>();
    m_pRange->source = std::move(source);
}

const std::optional<SPC_MeasurementUnitsParams::Range>& SPC_MeasurementUnitsParams::range() const {
    if (const RangeSource source = std::exchange(m_pRange->source, nullptr)) {
        const std::optional<Range> ends = source();
        if (ends && std::isfinite(ends->first) && std::isfinite(ends->second) && ends->first < ends->second) {
            m_pRange->ends = ends;
        }
    }
    return m_pRange->ends;
}

// ---- real-world values ----

SPC_MeasurementUnitsParams::StoredValue SPC_MeasurementUnitsParams::RealWorldMapping::find(
    double wanted) const {
    if (table.empty()) {
        const double stored = (wanted - intercept) / slope;
        return {stored, stored >= first && stored <= last};
    }
    StoredValue found{first, false};
    double nearest = std::numeric_limits<double>::infinity();
    double lowest = nearest;
    double highest = -nearest;
    for (std::size_t k = 0; k < table.size(); ++k) {
        if (!std::isfinite(table[k])) continue;
        lowest = std::min(lowest, table[k]);
        highest = std::max(highest, table[k]);
        if (std::abs(table[k] - wanted) < nearest) {
            nearest = std::abs(table[k] - wanted);
            found.value = first + static_cast<double>(k);
        }
    }
    found.inside = wanted >= lowest && wanted <= highest;
    return found;
}

float SPC_MeasurementUnitsParams::FindValueForRealWorldValue(float value) const {
    if (m_RealWorld.empty() || std::isnan(value)) return value;
    constexpr double kMost = std::numeric_limits<float>::max();
    const double wanted = std::clamp(static_cast<double>(value), -kMost, kMost);
    for (const RealWorldMapping& mapping : m_RealWorld) {
        const StoredValue stored = mapping.find(wanted);
        if (stored.inside) return to_float(stored.value);
    }
    return to_float(m_RealWorld.front().find(wanted).value);
}
