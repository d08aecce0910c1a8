#include "dicom_elements.h"

#include "number.h"

namespace {

constexpr int kMaxDepth = 64;

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
