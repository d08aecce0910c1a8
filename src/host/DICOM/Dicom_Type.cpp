#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_SS.h>
#include <DICOM/Dicom_Type.h>
#include <DICOM/Dicom_US.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

const char* const TEXT_VRS[] = {"AE", "AS", "DA", "DT", "IS", "LT", "PN",
                                "SH", "ST", "TM", "UC", "UI", "UR", "UT"};

bool IsOneOf(const char* vr, const char* const* first, const char* const* last) {
    return std::any_of(first, last, [vr](const char* known) { return std::strcmp(vr, known) == 0; });
}

bool IsWellFormed(const char* vr) {
    return vr != nullptr && vr[0] >= 'A' && vr[0] <= 'Z' && vr[1] >= 'A' && vr[1] <= 'Z' && vr[2] == '\0';
}

}  // namespace

Dicom_Type::Dicom_Type(const char* vr) : m_VR{vr[0], vr[1], '\0'} {}

Dicom_Type::~Dicom_Type() = default;

bool Dicom_Type::same_value(std::size_t index, const Dicom_Type& other, std::size_t otherIndex) const {
    if (IsNumeric() || other.IsNumeric()) {
        double number = 0.0;
        double otherNumber = 0.0;
        const bool has = GetNumber(index, number) && !std::isnan(number);
        const bool otherHas = other.GetNumber(otherIndex, otherNumber) && !std::isnan(otherNumber);
        if (has && otherHas) return number == otherNumber;
        // What is no number counts as empty on either side.
        if (has || otherHas) return false;
        if (IsNumeric() && other.IsNumeric()) return true;
    }
    return GetText(index) == other.GetText(otherIndex);
}

int Dicom_Type::Match(const Dicom_Type& other) const {
    for (std::size_t i = 0; i < GetVM(); ++i) {
        if (GetText(i).empty()) continue;
        for (std::size_t k = 0; k < other.GetVM(); ++k) {
            if (same_value(i, other, k)) return 1;
        }
    }
    return 0;
}

bool Dicom_Type::operator==(const Dicom_Type& other) const {
    if (IsNull() || other.IsNull()) return IsNull() && other.IsNull();
    if (GetVM() != other.GetVM()) return false;
    for (std::size_t i = 0; i < GetVM(); ++i) {
        if (!same_value(i, other, i)) return false;
    }
    return true;
}

bool Dicom_Type::operator!=(const Dicom_Type& other) const { return !(*this == other); }

Dicom_Type::operator wchar_t*() const {
    std::wstring joined;
    for (std::size_t i = 0; i < GetVM(); ++i) {
        if (i > 0) joined += L'\\';
        joined += GetText(i);
    }
    wchar_t* const text = new wchar_t[joined.size() + 1];
    std::copy(joined.begin(), joined.end(), text);
    text[joined.size()] = L'\0';
    return text;
}

std::unique_ptr<Dicom_Type> Dicom_Type::Create(const char* vr) {
    if (!IsWellFormed(vr)) return std::make_unique<Dicom_Bytes>("UN");
    const auto is = [vr](const char* name) { return std::strcmp(vr, name) == 0; };
    if (is("CS")) return std::make_unique<Dicom_CS>();
    if (is("LO")) return std::make_unique<Dicom_LO>();
    if (is("DS")) return std::make_unique<Dicom_DS>();
    if (is("US")) return std::make_unique<Dicom_US>();
    if (is("SS")) return std::make_unique<Dicom_SS>();
    if (is("FL")) return std::make_unique<Dicom_FL>();
    if (is("OW")) return std::make_unique<Dicom_OW>();
    if (is("SQ")) return std::make_unique<Dicom_SQ>();
    if (is("UL")) return std::make_unique<Dicom_NumberType<unsigned int>>(vr);
    if (is("SL")) return std::make_unique<Dicom_NumberType<int>>(vr);
    if (is("FD")) return std::make_unique<Dicom_NumberType<double>>(vr);
    if (IsOneOf(vr, std::begin(TEXT_VRS), std::end(TEXT_VRS))) return std::make_unique<Dicom_Text>(vr);
    return std::make_unique<Dicom_Bytes>(vr);
}

std::unique_ptr<Dicom_Type> Dicom_Type::FromBytes(const char* vr, const void* bytes, std::size_t length) {
    std::unique_ptr<Dicom_Type> value = Create(vr);
    if (dynamic_cast<Dicom_SQ*>(value.get()) != nullptr) return nullptr;
    Dicom_Bytes raw("UN");
    raw.SetBytes(bytes, length);
    value->Assign(raw);
    return value;
}
