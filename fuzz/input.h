#pragma once

#include <DICOM/Dicom_Tag.h>
#include <OBJ/OBJ_Msg.h>
#include <ZEV/ZEV_Params.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// What the programs make of the fuzzer's bytes.
namespace fuzz {

using Input = FuzzedDataProvider;

/// Ends the program where something that has to hold does not.
inline void Require(bool holds) {
    if (!holds) std::abort();
}

/// A folder for this process's files, in TMPDIR; it stays.
inline std::string Folder() {
    static const std::string folder = [] {
        const char* const around = std::getenv("TMPDIR");
        std::string name = std::string(around == nullptr ? "/tmp" : around) + "/zev-fuzz-XXXXXX";
        Require(mkdtemp(name.data()) != nullptr);
        return name;
    }();
    return folder;
}

inline std::string FileOf(const std::string& bytes, const char* name = "input.dcm") {
    std::string path = Folder() + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

/// An attribute that the library reads, with any value, mostly in its own representation.
inline void PutAny(Input& input, Dicom_Msg& msg, int depth = 0) {
    struct Known {
        unsigned tag;
        const char* vr;
    };
    static constexpr Known kKnown[] = {
        {0x00080005, "CS"}, {0x00080008, "CS"}, {0x00080021, "DA"}, {0x0008002A, "DT"}, {0x00080031, "TM"},
        {0x00080060, "CS"}, {0x00080201, "SH"}, {0x00100040, "CS"}, {0x00101020, "DS"}, {0x00101030, "DS"},
        {0x00180050, "DS"}, {0x00181072, "TM"}, {0x00181074, "DS"}, {0x00181075, "DS"}, {0x00181242, "IS"},
        {0x00280002, "US"}, {0x00280004, "CS"}, {0x00280010, "US"}, {0x00280011, "US"}, {0x00280100, "US"},
        {0x00280101, "US"}, {0x00280102, "US"}, {0x00280103, "US"}, {0x00280106, "US"}, {0x00280107, "US"},
        {0x00280120, "US"}, {0x00280121, "US"}, {0x00281050, "DS"}, {0x00281051, "DS"}, {0x00281052, "DS"},
        {0x00281053, "DS"}, {0x00281055, "LO"}, {0x00281056, "CS"}, {0x00281101, "US"}, {0x00281102, "US"},
        {0x00281103, "US"}, {0x00281201, "OW"}, {0x00281202, "OW"}, {0x00281203, "OW"}, {0x00281221, "OW"},
        {0x00283002, "US"}, {0x00283003, "LO"}, {0x00283006, "OW"}, {0x00409211, "SS"}, {0x00409216, "US"},
        {0x00409224, "FD"}, {0x00409225, "FD"}, {0x00541001, "CS"}, {0x00541006, "CS"}, {0x00541102, "CS"},
        {0x00541300, "DS"}, {0x20500020, "CS"}};
    static constexpr unsigned kSequences[] = {0x00283010, 0x00283000, 0x20500010, 0x00540016, 0x00409096};
    if (depth < 3 && input.ConsumeIntegralInRange(0, 7) == 0) {
        Dicom_Msg* const item = msg.AddItem(Dicom_Tag(input.PickValueInArray(kSequences)));
        for (int count = input.ConsumeIntegralInRange(0, 4); item != nullptr && count > 0; --count)
            PutAny(input, *item, depth + 1);
        return;
    }
    Known known = input.PickValueInArray(kKnown);
    if (input.ConsumeIntegralInRange(0, 15) == 0) known.tag = input.ConsumeIntegral<unsigned>();
    if (input.ConsumeIntegralInRange(0, 15) == 0)
        known.vr = input.PickValueInArray({"US", "SS", "DS", "FD", "UN"});
    const std::string bytes = input.ConsumeRandomLengthString(600);
    msg.PutBytes(Dicom_Tag(known.tag), known.vr, bytes.data(), bytes.size());
}

inline void PutMany(Input& input, OBJ_Msg& msg) {
    for (int count = input.ConsumeIntegralInRange(0, 24); count > 0; --count) PutAny(input, msg);
}

inline refhost::MemoryRaster AnyRaster(Input& input) {
    const int width = input.ConsumeIntegralInRange(0, 40), height = input.ConsumeIntegralInRange(0, 40);
    const int bits = input.ConsumeIntegralInRange(0, 17);
    refhost::MemoryRaster raster(width, height, bits, input.ConsumeBool());
    const std::vector<std::uint8_t> bytes = input.ConsumeBytes<std::uint8_t>(raster.Bytes().size());
    std::copy(bytes.begin(), bytes.end(), raster.Bytes().begin());
    return raster;
}

/// Settings that the user can make, in any order.
inline void ChangeAny(Input& input, ZEV_Params& params) {
    for (int count = input.ConsumeIntegralInRange(0, 12); count > 0; --count) {
        const int number = input.ConsumeIntegral<int>();
        const float fraction = input.ConsumeFloatingPoint<float>();
        switch (input.ConsumeIntegralInRange(0, 17)) {
            case 0:
                params.SetCenter(number);
                break;
            case 1:
                params.SetWidth(number);
                break;
            case 2:
                params.UpdateCenter(number);
                break;
            case 3:
                params.UpdateWidth(number);
                break;
            case 4:
                params.SetWindowMin(number);
                break;
            case 5:
                params.SetWindowMax(number);
                break;
            case 6:
                params.UpdateWindowMin(number);
                break;
            case 7:
                params.UpdateWindowMax(number);
                break;
            case 8:
                params.SetMinMaxScaleMode(number & 1);
                break;
            case 9:
                params.SetRescaleSlope(fraction);
                break;
            case 10:
                params.SetRescaleIntercept(number);
                break;
            case 11:
                params.SetGamma(fraction);
                break;
            case 12:
                params.InitGamma(fraction);
                break;
            case 13:
                params.SetInverse(number & 1);
                break;
            case 14:
                params.SetVoiLutSelection(number % 8, fraction > 0);
                break;
            case 15:
                params.SetPixelPaddingValues(number, number >> 8);
                break;
            case 16:
                params.SetUsePadding(number & 1);
                break;
            default:
                params.ResetExceptRaster(number & 1, number & 2);
                break;
        }
    }
}

/// A target of any kind for the tables of a raster.
class AnyTarget {
public:
    AnyTarget(Input& input, KIT_Raster& source)
        : m_Context(input.ConsumeIntegralInRange(-2, 70000), AnyPalette(input)),
          m_Params(nullptr, &m_Context, &source, &m_Target, KIT_Rect()) {
        m_Target.m_PixelFormat = input.ConsumeIntegralInRange(0, 2);
        m_Target.m_BitsPerPixel = input.ConsumeIntegralInRange(0, 33);
    }
    const ZEV_TableParams& Params() const { return m_Params; }
    int BytesPerValue() const {
        return m_Target.m_BitsPerPixel <= 8 ? 1 : m_Target.m_BitsPerPixel <= 16 ? 2 : 4;
    }

private:
    static std::vector<std::uint32_t> AnyPalette(Input& input) {
        return std::vector<std::uint32_t>(input.ConsumeIntegralInRange<std::size_t>(0, 300) % 257,
                                          0x00A0B0C0);
    }
    refhost::MemoryContext m_Context;
    refhost::MemoryRaster m_Target;
    ZEV_TableParams m_Params;
};

}  // namespace fuzz
