// Palette Colour Lookup Tables: from an image's message to a colour map, and back (DICOM PS3.3 C.7.6.3.1.5,
// C.7.6.3.1.6).

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_US.h>
#include <OBJ/OBJ_Image.h>
#include <OBJ/OBJ_Msg.h>
#include <TXT/TXT_Strings.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Params.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "zev_dicom_values.h"
#include "zev_log.h"
#include "zev_numeric.h"

namespace {

constexpr unsigned kPixelPresentation = 0x00089205;

struct Channel {
    unsigned descriptorTag;
    unsigned dataTag;
    const char* lengthDiffers;
    int KIT_Color::*component;
};

/// In the order in which they are read and written.
constexpr Channel kChannels[] = {
    {0x00281101, 0x00281201, "Red table data is smaller than specified in the descriptor.\n",
     &KIT_Color::m_Red},
    {0x00281102, 0x00281202, "Green table data is smaller than specified in the descriptor.\n",
     &KIT_Color::m_Green},
    {0x00281103, 0x00281203, "Blue table data is smaller than specified in the descriptor.\n",
     &KIT_Color::m_Blue},
};
constexpr int kChannelCount = 3;

/// The only shape of a table: bytes; 256 of them on the way out.
constexpr unsigned short kBitsPerEntry = 8;
constexpr int kWrittenEntries = ZEV_ColorMap::kTableSize;
/// What a count of 0 in a descriptor means.
constexpr unsigned kCountOfZero = 65536;

constexpr unsigned kPaletteNameText = 2004;
constexpr int kTextSize = 512;
constexpr int kNoButton = -1;

struct Descriptor {
    unsigned count;
    unsigned short first;
    unsigned short bits;
};

bool is_palette_image(const OBJ_Msg& msg) {
    const auto* const photometric = zev::Find<Dicom_CS>(msg, zev::tag::kPhotometricInterpretation);
    if (photometric != nullptr && *photometric == OBJ_Image::PALETTE_COLOR) return true;
    const auto* const presentation = zev::Find<Dicom_CS>(msg, kPixelPresentation);
    return zev::Equals(presentation, "COLOR") || zev::Equals(presentation, "MIXED") ||
           zev::Equals(presentation, "TRUE_COLOR");
}

Descriptor read_descriptor(const Dicom_US& value) {
    const unsigned short count = value[0];
    return {count == 0 ? kCountOfZero : count, value[1], value[2]};
}

}  // namespace

ZEV_ColorMap* ZEV_Dicom::read_color_map(OBJ_Msg* msg) {
    const char* const function = "ZEV_Dicom::read_color_map";
    if (msg == nullptr || !is_palette_image(*msg)) return nullptr;

    const Dicom_US* values[kChannelCount];
    for (int c = 0; c < kChannelCount; ++c) {
        values[c] = zev::Find<Dicom_US>(*msg, kChannels[c].descriptorTag);
        if (values[c] == nullptr) return nullptr;
    }
    Descriptor descriptors[kChannelCount];
    for (int c = 0; c < kChannelCount; ++c) descriptors[c] = read_descriptor(*values[c]);
    const auto& [red, green, blue] = descriptors;
    if (red.bits != green.bits || red.bits != blue.bits) {
        ZEV_LOG(function, zev::kLogError, "The number of bits per color is not the same for all colors.\n");
        return nullptr;
    }
    if (red.bits != kBitsPerEntry) {
        ZEV_LOG(function, zev::kLogError, "We don't support bits per pixel other than 8 in color tables\n");
        return nullptr;
    }

    const Dicom_Type* data[kChannelCount];
    unsigned lengths[kChannelCount];
    for (int c = 0; c < kChannelCount; ++c) {
        data[c] = zev::Find<Dicom_Type>(*msg, kChannels[c].dataTag);
        lengths[c] = data[c] == nullptr ? 0 : data[c]->GetDumpLen().GetDumpLen();
        if (lengths[c] == 0) return nullptr;
        if (lengths[c] != descriptors[c].count) {
            ZEV_LOG(function, zev::kLogUnusual, "%s", kChannels[c].lengthDiffers);
            descriptors[c].count = lengths[c];
        }
    }
    if (red.count != green.count || red.count != blue.count) {
        ZEV_LOG(function, zev::kLogAbsent,
                "Unsupported different sizes for the color pallete lookup tables.\n");
    }
    const unsigned count = std::min({red.count, green.count, blue.count});

    std::vector<unsigned char> tables[kChannelCount];
    for (int c = 0; c < kChannelCount; ++c) {
        tables[c].resize(lengths[c]);
        data[c]->Dump(tables[c].data());
    }

    auto map = std::make_unique<ZEV_ColorMap>();
    // An index is below 255/256 of the count, so within every table. The first mapped value takes part in the
    // test of the range only.
    const float ratio = static_cast<float>(count) * 0.00390625f;
    const int first = red.first;
    const std::int64_t last = std::int64_t{first} + count;
    for (int i = 0; i < ZEV_ColorMap::kTableSize; ++i) {
        const int index = zev::TruncToInt(static_cast<float>(i) * ratio);
        const bool outside = index < first || index > last;
        KIT_Color& color = map->GetTable()[i];
        for (int c = 0; c < kChannelCount; ++c) {
            color.*kChannels[c].component = outside ? i : tables[c][static_cast<std::size_t>(index)];
        }
    }
    map->SetName(WTxtLoadString(kPaletteNameText, kTextSize));
    map->SetCustomButtonId(kNoButton);
    return map.release();
}

void ZEV_Dicom::write_color_map(OBJ_Msg* msg, ZEV_Params* params) {
    if (msg == nullptr || params == nullptr) return;
    ZEV_ColorMap* const map = params->GetColorMap();
    if (map == nullptr || map->IsDummy()) return;

    const Dicom_US descriptor =
        Dicom_US(static_cast<unsigned short>(kWrittenEntries)) | Dicom_US(0) | Dicom_US(kBitsPerEntry);
    for (const Channel& channel : kChannels) msg->Put(Dicom_Tag(channel.descriptorTag, nullptr), descriptor);
    int status = 0;
    for (const Channel& channel : kChannels) {
        unsigned char bytes[kWrittenEntries];
        for (int i = 0; i < kWrittenEntries; ++i) {
            bytes[i] = static_cast<unsigned char>(map->GetTable()[i].*channel.component & 0xFF);
        }
        msg->Put(Dicom_Tag(channel.dataTag, nullptr), Dicom_OW(bytes, kWrittenEntries, 1, &status, false));
    }
    msg->Put(Dicom_Dictionary::MIREL_COLOR_MAP_UID, Dicom_LO(map->GetUID(), &status));
}
