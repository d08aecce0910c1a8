#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_OW.h>
#include <MAPPER/Mapper_LutData.h>

#include <algorithm>
#include <cstring>

namespace {

const Dicom_Tag LUT_DESCRIPTOR(0x00283002);
const Dicom_Tag LUT_DATA(0x00283006);

/// The value at `index` of a descriptor as 16 bits, whichever of US and SS it is.
bool ReadWord(const Dicom_Type& descriptor, std::size_t index, unsigned short& word) {
    double number = 0.0;
    if (!descriptor.GetNumber(index, number)) return false;
    word = static_cast<unsigned short>(static_cast<int>(number) & 0xFFFF);
    return true;
}

}  // namespace

std::shared_ptr<const Mapper_LutData> Mapper_LutData::Read(const Dicom_Msg& item, double lowestInput,
                                                           double highestInput) {
    const Dicom_Type* const descriptor = item.Get(LUT_DESCRIPTOR);
    const Dicom_Bytes* const data = dynamic_cast<const Dicom_Bytes*>(item.Get(LUT_DATA));
    unsigned short count16 = 0;
    unsigned short first16 = 0;
    unsigned short bits = 0;
    if (descriptor == nullptr || data == nullptr || data->GetBytes().empty() ||
        !ReadWord(*descriptor, 0, count16) || !ReadWord(*descriptor, 1, first16) ||
        !ReadWord(*descriptor, 2, bits) || bits < 1 || bits > 16) {
        return nullptr;
    }

    std::shared_ptr<Mapper_LutData> lut = std::make_shared<Mapper_LutData>();
    const std::size_t count = count16 == 0 ? 65536 : count16;
    const int negative = static_cast<short>(first16);
    const bool saysSigned =
        std::strcmp(descriptor->m_VR, "SS") == 0 && negative + static_cast<double>(count) > lowestInput;
    lut->m_First = lowestInput < 0.0 || saysSigned || first16 > highestInput ? negative : first16;
    lut->m_Bits = bits;

    const std::vector<unsigned char>& bytes = data->GetBytes();
    // An odd number of packed entries has one byte of padding.
    const bool packed = bits <= 8 && bytes.size() <= count + 1;
    const std::size_t present = std::min(count, packed ? bytes.size() : bytes.size() / 2);
    if (present == 0) return nullptr;
    const int top = lut->GetTop();
    lut->m_Entries.reserve(count);
    for (std::size_t i = 0; i < present; ++i) {
        const int entry = packed ? bytes[i] : bytes[2 * i] | (bytes[2 * i + 1] << 8);
        lut->m_Entries.push_back(static_cast<unsigned short>(std::min(entry, top)));
    }
    lut->m_Entries.resize(count, lut->m_Entries.back());
    return lut;
}
