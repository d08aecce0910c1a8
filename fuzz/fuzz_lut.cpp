// Any table data: VOI and presentation LUTs with every way to fill, a printer's curve, palettes.

#include <MAPPER/Mapper_PrinterLUT.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>

#include <memory>

#include "input.h"

namespace {

void put_words(fuzz::Input& input, Dicom_Msg& msg, unsigned tag, const char* vr, std::size_t most) {
    const std::string bytes = input.ConsumeRandomLengthString(most);
    msg.PutBytes(Dicom_Tag(tag), vr, bytes.data(), bytes.size());
}

void put_table(fuzz::Input& input, OBJ_Msg& msg, unsigned sequence) {
    Dicom_Msg& item = *msg.AddItem(Dicom_Tag(sequence));
    put_words(input, item, 0x00283002, input.ConsumeBool() ? "US" : "SS", 8);
    put_words(input, item, 0x00283006, input.ConsumeBool() ? "US" : "OW", 2048);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    OBJ_Msg msg;
    for (int count = input.ConsumeIntegralInRange(0, 5); count > 0; --count) fuzz::PutAny(input, msg);
    for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count)
        put_table(input, msg, 0x00283010);
    if (input.ConsumeBool()) put_table(input, msg, 0x20500010);
    for (unsigned channel = 1; channel <= 3; ++channel) {
        put_words(input, msg, 0x00281100 + channel, "US", 6);
        put_words(input, msg, 0x00281200 + channel, "OW", 600);
        if (input.ConsumeBool()) put_words(input, msg, 0x00281220 + channel, "OW", 300);
    }
    Mapper_WindowingManager manager(&msg);
    manager.Init();
    Mapper_Pval pval(&msg);
    for (const Mapper_WindowingEntry* entry : manager.m_Entries) {
        const std::unique_ptr<Mapper_VOILut> lut(
            manager.CreateDicomVOILut(entry, input.ConsumeIntegral<int>(), VOI_LUT_OWNED_BY_CALLER));
        const double center = input.ConsumeFloatingPoint<double>(),
                     width = input.ConsumeFloatingPoint<double>();
        const int count = input.ConsumeIntegralInRange(-1, 70);
        std::vector<unsigned int> entries(70);
        if (lut != nullptr) {
            lut->FillWindowingTable8(reinterpret_cast<unsigned char*>(entries.data()), count, center, width,
                                     true);
            lut->FillWindowingTable16(reinterpret_cast<unsigned short*>(entries.data()), count, center, width,
                                      false);
            lut->FillWindowingTable32(entries.data(), count, center, width, input.ConsumeBool());
        }
        pval.SetWindowingType(manager, entry);
        pval.UpdateWindowValues(input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>(),
                                input.ConsumeIntegral<int>());
        OBJ_Msg written(msg);
        manager.SetVOILUT(&written, entry, center, width, Dicom_LO(L"fuzz", nullptr));
    }
    refhost::MemoryRaster raster = fuzz::AnyRaster(input);
    ZEV_Params params;
    ZEV_Dicom().UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, nullptr);

    std::vector<unsigned short> curve(input.ConsumeIntegralInRange<std::size_t>(0, 300), 77);
    const Mapper_PrinterLUT printer(curve.data(), curve.size(), input.ConsumeIntegralInRange(-1, 20));
    std::vector<unsigned short> pixels(64);
    Mapper_Point first{input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>()};
    Mapper_Point last{input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>()};
    const auto depth = input.ConsumeIntegralInRange<unsigned short>(0, 20);
    printer.ApplyPrinterLUT(pixels.data(), 64, input.ConsumeBool() ? 16 : 8, depth, 1,
                            input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>(), &first, &last);
    return 0;
}
