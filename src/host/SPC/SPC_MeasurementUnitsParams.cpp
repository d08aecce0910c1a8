#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_Type.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_MeasurementUnitsParams.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

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

const wchar_t* const kNeedsWeight = L"the patient's weight";
const wchar_t* const kNeedsSize = L"the patient's size";
const wchar_t* const kNeedsSex = L"the patient's sex";
const wchar_t* const kNeedsPlausibleBody = L"a plausible weight and size of the patient";
const wchar_t* const kNeedsActivity = L"pixel values in Bq/ml or SUV";
const wchar_t* const kNeedsDose = L"the injected dose";
const wchar_t* const kNeedsHalfLife = L"the half-life of the radionuclide";
const wchar_t* const kNeedsDecay = L"the kind of decay correction";
const wchar_t* const kNeedsInjectionTime = L"the time of the injection";
const wchar_t* const kNeedsScanTime = L"the time of the scan";
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

/// The moment that the pixel values are told for: the start of the series when they are corrected to the
/// start of the scan, the acquisition when they are not corrected: nothing else stands in for that. A series made
/// after the acquisition by later processing, or one that is not told, says nothing of the scan's start; the acquisition
/// does.
std::optional<refhost::Moment> reference_moment(const Dicom_Msg& msg, bool corrected) {
    const std::optional<refhost::Moment> series = moment_of(msg, kSeriesDate, kSeriesTime);
    const std::optional<refhost::Moment> acquisition = acquisition_moment(msg);
    if (!corrected) return acquisition;
    if (!series || !acquisition) return series ? series : acquisition;
    return refhost::SecondsBetween(*series, *acquisition) >= 0.0 ? series : acquisition;
}

/// Seconds from the injection to the reference; a time without a date is the last one before the reference.
std::optional<double> seconds_since_injection(const Dicom_Msg& msg, const Dicom_Msg& drug,
                                              const refhost::Moment& reference) {
    if (std::optional<refhost::Moment> start = refhost::ParseDateTime(text_of(drug, kStartDateTime))) {
        if (!start->zone) start->zone = refhost::ParseZone(text_of(msg, kTimezoneOffset));
        return refhost::SecondsBetween(*start, reference);
    }
    const std::optional<double> time = refhost::ParseTime(text_of(drug, kStartTime));
    if (!time) return std::nullopt;
    // The time is told in the message's zone; a reference of another zone is brought there, if that one is known.
    double local = reference.seconds;
    if (reference.zone) {
        const std::optional<double> zone = refhost::ParseZone(text_of(msg, kTimezoneOffset));
        if (!zone) return std::nullopt;
        local += *zone - *reference.zone;
    }
    const double elapsed = std::fmod(local, kSecondsPerDay) - *time;
    return elapsed < 0.0 ? elapsed + kSecondsPerDay : elapsed;
}

SPC_MEASUREMENT_UNITS uptake_units(const std::wstring& units, const std::wstring& type) {
    if (units == L"GML") {
        if (type.empty() || type == L"BW") return SPC_UNITS_SUV_BW;
        if (type == L"LBM" || type == L"LBMJAMES128") return SPC_UNITS_SUV_LBM;
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

/// Body surface by Du Bois and Du Bois 1916, lean body mass by James 1976 with 128 for men (SUV Type
/// LBMJAMES128 of DICOM PS3.3 C.8.9.1.1.3): kilograms and centimetres.
void SPC_MeasurementUnitsParams::read_body(const Dicom_Msg& msg) {
    const double kilograms = msg.GetDouble(kPatientWeight, 0.0);
    const double centimetres = 100.0 * msg.GetDouble(kPatientSize, 0.0);
    const std::wstring sex = text_of(msg, kPatientSex);
    if (!is_positive(kilograms)) return;
    m_Norms.weight = 1000.0 * kilograms;
    if (!is_positive(centimetres)) return;
    constexpr double kSquareCentimetres = 10000.0;
    m_Norms.surface =
        kSquareCentimetres * 0.007184 * std::pow(kilograms, 0.425) * std::pow(centimetres, 0.725);

    const double ratio = kilograms / centimetres;
    double lean = 0.0;
    if (sex == L"M") {
        lean = 1.10 * kilograms - 128.0 * ratio * ratio;
    } else if (sex == L"F") {
        lean = 1.07 * kilograms - 148.0 * ratio * ratio;
    } else {
        m_MissingLean = kNeedsSex;
        return;
    }
    // The formula turns downward, and below 0, for sizes that it was not made for.
    m_MissingLean = is_positive(lean) ? nullptr : kNeedsPlausibleBody;
    m_Norms.lean = is_positive(lean) ? 1000.0 * lean : 0.0;
}

/// The injected dose at the moment that the pixel values are told for (DICOM PS3.3 C.8.9.1, C.8.9.2).
void SPC_MeasurementUnitsParams::read_activity(const Dicom_Msg& msg) {
    const std::wstring units = text_of(msg, kUnits);
    m_PixelUnits = uptake_units(units, text_of(msg, kSuvType));
    if (m_PixelUnits != SPC_UNITS_UNKNOWN) return;
    const auto lacks = [this](const wchar_t* what) { m_MissingDose = what; };
    if (units != L"BQML") return lacks(kNeedsActivity);

    const Dicom_Msg none;
    const Dicom_Msg* const item = first_item(msg, kRadiopharmaceutical);
    const Dicom_Msg& drug = item == nullptr ? none : *item;
    const double dose = drug.GetDouble(kTotalDose, 0.0);
    if (!is_positive(dose)) return lacks(kNeedsDose);

    const std::wstring correction = text_of(msg, kDecayCorrection);
    if (correction == L"ADMIN") {
        // The values are told for the moment of the injection.
        m_Dose = dose;
        return;
    }
    if (correction != L"START" && correction != L"NONE") return lacks(kNeedsDecay);
    const double halfLife = drug.GetDouble(kHalfLife, 0.0);
    if (!is_positive(halfLife)) return lacks(kNeedsHalfLife);
    const std::optional<refhost::Moment> reference = reference_moment(msg, correction == L"START");
    if (!reference) return lacks(kNeedsScanTime);
    const std::optional<double> elapsed = seconds_since_injection(msg, drug, *reference);
    if (!elapsed) return lacks(kNeedsInjectionTime);
    const double decayed = dose * std::pow(2.0, -*elapsed / halfLife);
    if (*elapsed < 0.0 || !is_positive(decayed)) return lacks(kNeedsTimeOrder);
    m_Dose = decayed;
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
            return m_bHasRange ? nullptr : kNeedsRange;
        case SPC_UNITS_SUV_BW:
        case SPC_UNITS_SUV_BSA:
        case SPC_UNITS_SUV_LBM:
            break;
        default:
            return kNeedsUnits;
    }
    if (units == m_PixelUnits) return nullptr;
    if (m_MissingDose != nullptr) return m_MissingDose;
    // Uptake values of one kind become another through both norms.
    for (const SPC_MEASUREMENT_UNITS needed : {units, m_PixelUnits}) {
        if (needed == SPC_UNITS_UNKNOWN || norm(needed) > 0.0) continue;
        if (m_Norms.weight == 0.0) return kNeedsWeight;
        return m_Norms.surface == 0.0 ? kNeedsSize : m_MissingLean;
    }
    return nullptr;
}

float SPC_MeasurementUnitsParams::TranslateBackFromUnitsToPixel(float value,
                                                                SPC_MEASUREMENT_UNITS units) const {
    units = resolve(units);
    if (units == SPC_UNITS_RAW || units == m_PixelUnits || IsDataMissingForMeasurement(units)) return value;
    const double number = static_cast<double>(value);
    if (units == SPC_UNITS_PERCENTAGE_MAX_RANGE) {
        return to_float(m_RangeLowest + number * (m_RangeHighest - m_RangeLowest) / 100.0);
    }
    const double reference = m_PixelUnits == SPC_UNITS_UNKNOWN ? m_Dose : norm(m_PixelUnits);
    return to_float(number * reference / norm(units));
}

void SPC_MeasurementUnitsParams::SetMaximalRange(double lowest, double highest) {
    m_bHasRange = std::isfinite(lowest) && std::isfinite(highest) && lowest < highest;
    m_RangeLowest = m_bHasRange ? lowest : 0.0;
    m_RangeHighest = m_bHasRange ? highest : 0.0;
}

// ---- real-world values ----

float SPC_MeasurementUnitsParams::FindValueForRealWorldValue(float value) const {
    if (m_RealWorld.empty() || std::isnan(value)) return value;
    constexpr double kMost = std::numeric_limits<float>::max();
    const double wanted = std::clamp(static_cast<double>(value), -kMost, kMost);
    double found = 0.0;
    for (const RealWorldMapping& mapping : m_RealWorld) {
        double stored = 0.0;
        bool inside = false;
        if (mapping.table.empty()) {
            stored = (wanted - mapping.intercept) / mapping.slope;
            inside = stored >= mapping.first && stored <= mapping.last;
        } else {
            double nearest = std::numeric_limits<double>::infinity();
            double lowest = nearest;
            double highest = -nearest;
            for (std::size_t k = 0; k < mapping.table.size(); ++k) {
                const double entry = mapping.table[k];
                if (!std::isfinite(entry)) continue;
                lowest = std::min(lowest, entry);
                highest = std::max(highest, entry);
                if (std::abs(entry - wanted) < nearest) {
                    nearest = std::abs(entry - wanted);
                    stored = mapping.first + static_cast<double>(k);
                }
            }
            inside = wanted >= lowest && wanted <= highest;
        }
        if (inside) return to_float(stored);
        if (&mapping == &m_RealWorld.front()) found = stored;
    }
    return to_float(found);
}
