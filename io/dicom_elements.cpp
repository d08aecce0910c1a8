#include "dicom_elements.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "number.h"

namespace {

constexpr int kMaxDepth = 64;

/// The numbers of type Number in little-endian bytes. Bits is an unsigned type of the same size.
template <class Number, class Bits>
std::vector<double> numbers_of(const std::string& bytes, std::size_t most) {
    static_assert(sizeof(Number) == sizeof(Bits));
    std::vector<double> numbers;
    for (std::size_t at = 0; at + sizeof(Bits) <= bytes.size() && numbers.size() < most; at += sizeof(Bits)) {
        Bits bits = 0;
        for (std::size_t b = sizeof(Bits); b-- > 0;)
            bits = static_cast<Bits>(static_cast<std::uint64_t>(bits) << 8 |
                                     static_cast<unsigned char>(bytes[at + b]));
        Number number;
        std::memcpy(&number, &bits, sizeof number);
        numbers.push_back(static_cast<double>(number));
    }
    return numbers;
}

}  // namespace

std::string Trimmed(const std::string& text) {
    const char* blanks = " \t\r\n";
    std::size_t end = text.find('\0');
    if (end == std::string::npos) end = text.size();
    const std::string whole = text.substr(0, end);
    const std::size_t first = whole.find_first_not_of(blanks);
    if (first == std::string::npos) return std::string();
    return whole.substr(first, whole.find_last_not_of(blanks) - first + 1);
}

const DicomElement* DicomDataSet::Find(std::uint32_t tag) const {
    const auto found = elements.find(tag);
    return found == elements.end() ? nullptr : &found->second;
}

const DicomDataSet* DicomDataSet::FirstItem(std::uint32_t tag) const {
    const DicomElement* element = Find(tag);
    return element == nullptr || element->items.empty() ? nullptr : &element->items.front();
}

std::string DicomDataSet::Text(std::uint32_t tag) const {
    const DicomElement* element = Find(tag);
    return element == nullptr ? std::string() : Trimmed(element->bytes);
}

int DicomDataSet::Word(std::uint32_t tag, int fallback, std::size_t index) const {
    const DicomElement* element = Find(tag);
    if (element == nullptr || element->bytes.size() < 2 * (index + 1)) return fallback;
    const auto low = static_cast<unsigned char>(element->bytes[2 * index]);
    const auto high = static_cast<unsigned char>(element->bytes[2 * index + 1]);
    return low | (high << 8);
}

double DicomDataSet::Number(std::uint32_t tag, double fallback) const {
    const std::string text = Text(tag);
    return ParseNumber(Trimmed(text.substr(0, text.find('\\')))).value_or(fallback);
}

std::vector<double> DicomDataSet::Numbers(std::uint32_t tag, std::size_t most) const {
    std::vector<double> numbers;
    const DicomElement* element = Find(tag);
    if (element == nullptr) return numbers;
    const std::string& vr = element->vr;
    const std::string& bytes = element->bytes;
    if (vr == "FL" || vr == "OF") return numbers_of<float, std::uint32_t>(bytes, most);
    if (vr == "FD" || vr == "OD") return numbers_of<double, std::uint64_t>(bytes, most);
    if (vr == "US" || vr == "OW") return numbers_of<std::uint16_t, std::uint16_t>(bytes, most);
    if (vr == "SS") return numbers_of<std::int16_t, std::uint16_t>(bytes, most);
    if (vr == "UL" || vr == "OL") return numbers_of<std::uint32_t, std::uint32_t>(bytes, most);
    if (vr == "SL") return numbers_of<std::int32_t, std::uint32_t>(bytes, most);
    if (vr != "DS" && vr != "IS") return numbers;
    for (std::size_t at = 0; at < bytes.size() && numbers.size() < most;) {
        const std::size_t end = std::min(bytes.find('\\', at), bytes.size());
        numbers.push_back(ParseNumber(Trimmed(bytes.substr(at, end - at)))
                              .value_or(std::numeric_limits<double>::quiet_NaN()));
        at = end + 1;
    }
    return numbers;
}

void DicomDataSet::PutText(std::uint32_t tag, const char* vr, std::string text) {
    if (text.size() % 2 != 0) text += vr == std::string("UI") ? '\0' : ' ';
    elements[tag] = DicomElement{vr, std::move(text), {}};
}

void DicomDataSet::PutWord(std::uint32_t tag, const char* vr, int value) {
    const std::string bytes{static_cast<char>(value & 0xFF), static_cast<char>((value >> 8) & 0xFF)};
    elements[tag] = DicomElement{vr, bytes, {}};
}

void ByteWriter::Number(std::uint64_t value) {
    for (int i = 0; i < 8; ++i) m_Bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
}

void ByteWriter::Bytes(const std::string& bytes) {
    Number(bytes.size());
    m_Bytes += bytes;
}

void ByteWriter::DataSet(const DicomDataSet& dataSet) {
    Number(dataSet.elements.size());
    for (const auto& [tag, element] : dataSet.elements) {
        Number(tag);
        Bytes(element.vr);
        Bytes(element.bytes);
        Number(element.items.size());
        for (const DicomDataSet& item : element.items) DataSet(item);
    }
}

std::uint64_t ByteReader::Number() {
    if (m_Bytes.size() - m_Next < 8) throw std::runtime_error("the reader's answer is cut short");
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) {
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(m_Bytes[m_Next++])) << (8 * i);
    }
    return value;
}

std::string ByteReader::Bytes() {
    const std::uint64_t size = Number();
    if (size > m_Bytes.size() - m_Next) throw std::runtime_error("the reader's answer is cut short");
    std::string bytes = m_Bytes.substr(m_Next, static_cast<std::size_t>(size));
    m_Next += static_cast<std::size_t>(size);
    return bytes;
}

DicomDataSet ByteReader::DataSet(int depth) {
    if (depth > kMaxDepth) throw std::runtime_error("the reader's answer is nested too deep");
    DicomDataSet dataSet;
    for (std::uint64_t left = Number(); left > 0; --left) {
        const auto tag = static_cast<std::uint32_t>(Number());
        DicomElement element;
        element.vr = Bytes();
        element.bytes = Bytes();
        for (std::uint64_t items = Number(); items > 0; --items) element.items.push_back(DataSet(depth + 1));
        dataSet.elements[tag] = std::move(element);
    }
    return dataSet;
}
