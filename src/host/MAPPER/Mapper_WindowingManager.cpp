#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_SQ.h>
#include <DICOM/Dicom_SS.h>
#include <DICOM/Dicom_US.h>
#include <MAPPER/Mapper_WindowingManager.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

namespace {

const Dicom_Tag BITS_STORED(0x00280101);
const Dicom_Tag PIXEL_REPRESENTATION(0x00280103);
const Dicom_Tag WINDOW_CENTER(0x00281050);
const Dicom_Tag WINDOW_WIDTH(0x00281051);
const Dicom_Tag RESCALE_INTERCEPT(0x00281052);
const Dicom_Tag RESCALE_SLOPE(0x00281053);
const Dicom_Tag WINDOW_EXPLANATION(0x00281055);
const Dicom_Tag VOI_LUT_FUNCTION(0x00281056);
const Dicom_Tag LUT_DESCRIPTOR(0x00283002);
const Dicom_Tag LUT_EXPLANATION(0x00283003);
const Dicom_Tag LUT_DATA(0x00283006);
const Dicom_Tag VOI_LUT_SEQUENCE(0x00283010);

std::wstring TextOf(const Dicom_Msg& msg, const Dicom_Tag& tag, std::size_t index) {
    const Dicom_Type* const value = msg.Get(tag);
    return value == nullptr ? std::wstring() : value->GetText(index);
}

/// The table seen through another window: entry k of `count` belongs to the input first + k. The last entry
/// stays the last, since every input above the window gets it.
void Resample(const Mapper_LutData& table, int first, int count, Dicom_Msg& item) {
    std::vector<unsigned short> words;
    words.reserve(static_cast<std::size_t>(count));
    for (long long k = 0; k < count; ++k) {
        const long long index = k * static_cast<long long>(table.m_Entries.size()) / count;
        words.push_back(table.m_Entries[static_cast<std::size_t>(index)]);
    }
    words.back() = table.m_Entries.back();
    const unsigned short count16 = static_cast<unsigned short>(count & 0xFFFF);
    const unsigned short bits = static_cast<unsigned short>(table.m_Bits);
    if (first < 0) {
        Dicom_SS descriptor(static_cast<short>(count16));
        descriptor.Append(static_cast<short>(first));
        descriptor.Append(static_cast<short>(bits));
        item.Put(LUT_DESCRIPTOR, descriptor);
    } else {
        item.Put(LUT_DESCRIPTOR,
                 Dicom_US(count16) | Dicom_US(static_cast<unsigned short>(first)) | Dicom_US(bits));
    }
    item.Put(LUT_DATA, Dicom_OW(words.data(), static_cast<unsigned int>(words.size() * sizeof(words[0])), 2,
                                nullptr, false));
}

}  // namespace

Mapper_WindowingManager::Mapper_WindowingManager(const Dicom_Msg* msg) : m_pMsg(msg) {}

Mapper_WindowingManager::~Mapper_WindowingManager() {
    for (Mapper_WindowingEntry* entry : m_Entries) delete entry;
}

int Mapper_WindowingManager::Init() {
    if (m_bRead) return 0;
    if (m_pMsg == nullptr) return -1;
    m_bRead = true;

    m_Rescale.m_bSigned = m_pMsg->GetInt(PIXEL_REPRESENTATION, 0) != 0;
    const double slope = m_pMsg->GetDouble(RESCALE_SLOPE, 1.0);
    // A slope of 0 would make one value of all; the image is windowed as it is stored.
    if (slope != 0.0) {
        m_Rescale.m_Slope = slope;
        m_Rescale.m_Intercept = m_pMsg->GetDouble(RESCALE_INTERCEPT, 0.0);
    }
    const int bits = std::max(1, std::min(m_pMsg->GetInt(BITS_STORED, 16), 16));
    const int lowest = m_Rescale.m_bSigned ? -(1 << (bits - 1)) : 0;
    const int highest = lowest + (1 << bits) - 1;
    const auto ends = std::minmax({lowest * m_Rescale.m_Slope, highest * m_Rescale.m_Slope});
    m_LowestInput = m_Rescale.m_Intercept + ends.first;
    m_HighestInput = m_Rescale.m_Intercept + ends.second;

    std::vector<std::wstring> names;
    read_pairs(names);
    read_tables(names);
    name_entries(names);
    m_pMsg = nullptr;
    return 0;
}

void Mapper_WindowingManager::add(std::unique_ptr<Mapper_WindowingEntry> entry) {
    m_Entries.push_back(nullptr);
    m_Entries.back() = entry.release();
}

void Mapper_WindowingManager::read_pairs(std::vector<std::wstring>& names) {
    const Dicom_Type* const centers = m_pMsg->Get(WINDOW_CENTER);
    const Dicom_Type* const widths = m_pMsg->Get(WINDOW_WIDTH);
    if (centers == nullptr || widths == nullptr) return;

    const std::wstring function = TextOf(*m_pMsg, VOI_LUT_FUNCTION, 0);
    const bool sigmoid = function == L"SIGMOID";
    const bool exact = function == L"LINEAR_EXACT";
    const bool linear = function.empty() || function == L"LINEAR";
    for (std::size_t i = 0; i < std::min(centers->GetVM(), widths->GetVM()); ++i) {
        double center = 0.0;
        double width = 0.0;
        const bool given = centers->GetNumber(i, center) && widths->GetNumber(i, width);
        // Fractions are windows too: those of an image whose rescaled values are fractions.
        if (!given || width <= 0.0) continue;
        add(std::make_unique<Mapper_WindowingEntry>(
            sigmoid ? Mapper_WindowingEntry::FUNCTION_SIGMOID : Mapper_WindowingEntry::FUNCTION_LINEAR,
            center, width, linear || exact || sigmoid));
        names.push_back(TextOf(*m_pMsg, WINDOW_EXPLANATION, i));
    }
}

void Mapper_WindowingManager::read_tables(std::vector<std::wstring>& names) {
    const Dicom_SQ* const sequence = m_pMsg->GetSequence(VOI_LUT_SEQUENCE);
    for (std::size_t i = 0; sequence != nullptr && i < sequence->GetVM(); ++i) {
        const Dicom_Msg& item = *sequence->GetItem(i);
        std::shared_ptr<const Mapper_LutData> table =
            Mapper_LutData::Read(item, m_LowestInput, m_HighestInput);
        if (table == nullptr) continue;
        add(std::make_unique<Mapper_WindowingEntry>(std::move(table), item));
        names.push_back(TextOf(item, LUT_EXPLANATION, 0));
    }
}

void Mapper_WindowingManager::name_entries(const std::vector<std::wstring>& names) {
    std::set<std::wstring> taken;
    std::map<std::wstring, int> repeats;
    for (std::size_t i = 0; i < m_Entries.size(); ++i) {
        const std::wstring base = names[i].empty() ? L"Window " + std::to_wstring(i + 1) : names[i];
        std::wstring name = base;
        int& repeat = repeats[base];
        while (!taken.insert(name).second) name = base + L" (" + std::to_wstring(++repeat + 1) + L")";
        m_Entries[i]->SetWindowingExplanation(name);
    }
}

Mapper_VOILut* Mapper_WindowingManager::CreateDicomVOILut(const Mapper_WindowingEntry* entry, int maxOutput,
                                                          VOI_LUT_OWNERSHIP ownership) {
    const bool listed = std::find(m_Entries.begin(), m_Entries.end(), entry) != m_Entries.end();
    if (!listed || entry == nullptr || !entry->IsUsable() || maxOutput < 0) return nullptr;
    if (ownership != VOI_LUT_OWNED_BY_MANAGER) return new Mapper_VOILut(*entry, m_Rescale, maxOutput);
    const std::lock_guard<std::mutex> guard(m_Lock);
    std::unique_ptr<Mapper_VOILut>& lut = m_Luts[{entry, maxOutput}];
    if (lut == nullptr) lut = std::make_unique<Mapper_VOILut>(*entry, m_Rescale, maxOutput);
    return lut.get();
}

int Mapper_WindowingManager::SetVOILUT(Dicom_Msg* msg, const Mapper_WindowingEntry* entry, double center,
                                       double width, Dicom_LO explanation) {
    if (msg == nullptr || !std::isfinite(center) || !std::isfinite(width)) return 0;
    if (entry != nullptr && entry->GetTable() != nullptr) {
        return put_table(*msg, *entry, center, width) ? 1 : 0;
    }
    const bool sigmoid = entry != nullptr && entry->m_FunctionCode == Mapper_WindowingEntry::FUNCTION_SIGMOID;
    msg->Put(WINDOW_CENTER, Dicom_DS(center));
    msg->Put(WINDOW_WIDTH, Dicom_DS(width));
    msg->Put(VOI_LUT_FUNCTION, Dicom_CS(sigmoid ? "SIGMOID" : "LINEAR", nullptr));
    if (sigmoid) explanation = entry->GetWindowingExplanation();
    msg->Put(WINDOW_EXPLANATION, explanation);
    return 1;
}

bool Mapper_WindowingManager::put_table(Dicom_Msg& msg, const Mapper_WindowingEntry& entry, double center,
                                        double width) const {
    Dicom_Msg item(entry.GetItem());
    item.Put(LUT_EXPLANATION, entry.GetWindowingExplanation());
    const double first = std::floor(center) - std::floor(std::floor(width) / 2);
    const bool ownWindow = center == entry.GetCenter() && width == entry.GetWidth();
    // The first input has 16 bits, signed when the input can be negative.
    const double highestFirst = m_LowestInput < 0.0 ? 32767.0 : 65535.0;
    const bool fits = width >= 1.0 && width <= 65536.0 && first >= -32768.0 && first <= highestFirst;
    if (!ownWindow && fits)
        Resample(*entry.GetTable(), static_cast<int>(first), static_cast<int>(width), item);

    Dicom_SQ sequence;
    sequence.AddItem(item);
    const Dicom_SQ* const present = msg.GetSequence(VOI_LUT_SEQUENCE);
    for (std::size_t i = 0; present != nullptr && i < present->GetVM(); ++i) {
        if (*present->GetItem(i) != entry.GetItem()) sequence.AddItem(*present->GetItem(i));
    }
    msg.Put(VOI_LUT_SEQUENCE, sequence);
    for (const Dicom_Tag& tag : {WINDOW_CENTER, WINDOW_WIDTH, WINDOW_EXPLANATION, VOI_LUT_FUNCTION})
        msg.Remove(tag);
    return ownWindow || fits;
}
