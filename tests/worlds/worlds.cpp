// Prints one hash for each kind of number that the library makes: tables, colour maps, windows, curves,
// regions, painted frames, texts of numbers. The same lines come out wherever the library is right:
// scripts/worlds.sh builds this for other compilers, processors and systems, and compares with expected.txt.
//
// What is random comes from a seed of its own, without the standard library's distributions, which differ. No
// call has two random arguments: compilers work arguments out in different orders (in braces it is one
// order).

#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_FL.h>
#include <HST/HST_AutoWindow.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_PolygonMask.h>
#include <MAPPER/Mapper_PrinterLUT.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_MeasurementUnitsParams.h>
#include <ZEV/ZEV_AutoWindowing.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>
#include <ZEV/ZEV_WindowingTable.h>
#include <refhost/Com.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>
#include <refhost/Unicode.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// Splitmix64.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_State(seed) {}
    std::uint64_t Next() {
        std::uint64_t z = m_State += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// From first to last.
    int In(int first, int last) {
        const std::uint64_t span = static_cast<std::uint64_t>(std::int64_t{last} - first + 1);
        return static_cast<int>(first + static_cast<std::int64_t>(Next() % span));
    }
    bool Chance(int percent) { return In(0, 99) < percent; }
    /// A multiple of `step` from first to last steps, exact where the step is a power of two.
    double Steps(int first, int last, double step) { return In(first, last) * step; }

private:
    std::uint64_t m_State;
};

/// FNV-1a by whole numbers of 64 bits, so that the order of bytes does not matter.
class Hash {
public:
    void Add(std::uint64_t value) { m_Value = (m_Value ^ value) * 0x100000001B3u ^ (m_Value >> 47); }
    void Add(int value) { Add(static_cast<std::uint64_t>(std::int64_t{value})); }
    void Add(double value) {
        std::uint64_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        // All that is not a number is one and the same.
        Add(value == value ? bits : 0x7FF8000000000000u);
    }
    void Add(const std::string& text) {
        for (const char c : text) Add(std::uint64_t{static_cast<unsigned char>(c)});
        Add(std::uint64_t{1} << 32 | text.size());
    }
    void Add(const wchar_t* text) { Add(refhost::ToUtf8(text)); }
    template <class Number>
    void AddAll(const Number* first, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) Add(static_cast<std::uint64_t>(first[i]));
    }
    std::uint64_t Value() const { return m_Value; }

private:
    std::uint64_t m_Value = 0xCBF29CE484222325u;
};

// ---- Messages ----

void put_text(Dicom_Msg& msg, unsigned tag, const char* vr, std::string text) {
    if (text.size() % 2 != 0) text += ' ';
    msg.PutBytes(Dicom_Tag(tag), vr, text.data(), text.size());
}

/// As in a file: the low byte first.
void put_words(Dicom_Msg& msg, unsigned tag, const char* vr, const std::vector<std::uint16_t>& words) {
    std::string bytes;
    for (const std::uint16_t word : words) {
        bytes += static_cast<char>(word & 0xFF);
        bytes += static_cast<char>(word >> 8);
    }
    msg.PutBytes(Dicom_Tag(tag), vr, bytes.data(), bytes.size());
}

/// The first input up to `spread` from 0.
void put_lut(Dicom_Msg& msg, unsigned sequence, int spread, Random& random) {
    const int first = random.In(-spread, spread), bits = random.In(8, 16);
    const int count = random.Chance(20) ? random.In(1, 4) : random.In(5, 1024);
    const bool falls = random.Chance(30);
    std::vector<std::uint16_t> entries;
    const int top = (1 << bits) - 1;
    for (int i = 0; i < count; ++i) {
        const int level =
            random.Chance(90) ? static_cast<int>(std::int64_t{top} * i / count) : random.In(0, top);
        entries.push_back(static_cast<std::uint16_t>(falls ? top - level : level));
    }
    Dicom_Msg& item = *msg.AddItem(Dicom_Tag(sequence));
    put_words(item, 0x00283002, first < 0 ? "SS" : "US",
              {static_cast<std::uint16_t>(count), static_cast<std::uint16_t>(first),
               static_cast<std::uint16_t>(bits)});
    put_words(item, 0x00283006, "US", entries);
}

/// With two decimals, the whole part from first to last.
std::string decimal(Random& random, int first, int last) {
    const int whole = random.In(first, last), hundredths = random.In(1, 99);
    return std::to_string(whole) + "." + std::to_string(hundredths / 10) + std::to_string(hundredths % 10);
}

// ---- Tables and frames ----

/// What a table is built for.
struct Job {
    int depth = 8;
    bool isSigned = false;
    bool trueColor = true;
    int outDepth = 32;
    int levels = 256;
    std::vector<std::uint32_t> palette;

    template <class Use>
    void With(const Use& use) const {
        refhost::MemoryContext context(levels, palette);
        refhost::MemoryRaster source, target;
        source.m_BitsPerPixel = depth;
        source.m_bSigned = isSigned;
        target.m_PixelFormat =
            trueColor ? refhost::MemoryRaster::kTrueColor : refhost::MemoryRaster::kPalette;
        target.m_BitsPerPixel = outDepth;
        use(ZEV_TableParams(nullptr, &context, &source, &target, KIT_Rect()));
    }
};

Job random_job(Random& random) {
    Job job;
    job.depth = random.In(1, 16);
    job.isSigned = random.Chance(40);
    const int mode = random.In(0, 9);
    job.trueColor = mode < 4;
    if (job.trueColor) {
        job.outDepth = 32;
    } else if (mode < 6) {
        job.outDepth = random.Chance(50) ? 8 : 16;
        job.levels = random.In(1, 256);
        for (int i = 0; i < job.levels; ++i) job.palette.push_back(static_cast<std::uint32_t>(random.Next()));
    } else {
        job.outDepth = 8 << random.In(0, 2);
        job.levels = random.Chance(50) ? 256 : random.In(2, 65536);
    }
    return job;
}

class Maps {
public:
    explicit Maps(Random& random) {
        for (int i = 0; i < 40; ++i) {
            ZEV_ColorMap map;
            Points(random, map);
            map.CreateTable();
            m_Maps.push_back(map);
        }
    }
    static void Points(Random& random, ZEV_ColorMap& map) {
        const auto color = [&random] {
            char text[8];
            std::snprintf(text, sizeof text, "%06X", random.In(0, 0xFFFFFF));
            return _bstr_t(text);
        };
        map.SetIsSmooth(random.Chance(70));
        map.SetOutputResolution(random.Chance(60) ? 256 : random.In(1, 256));
        map.AddEntry("0.0", color());
        map.AddEntry("1.0", color());
        for (int more = random.In(0, 8); more > 0; --more) {
            char position[16];
            std::snprintf(position, sizeof position, "0.%05d", random.In(1, 99999));
            map.AddEntry(position, color());
        }
    }
    ZEV_ColorMap& Any(Random& random) { return m_Maps[static_cast<std::size_t>(random.In(0, 39))]; }

private:
    std::vector<ZEV_ColorMap> m_Maps;
};

void random_params(Random& random, const Job& job, Maps& maps, ZEV_Params& params) {
    const int range = 1 << job.depth;
    const int scale = random.Chance(10) ? 1 << 24 : 3 * range;
    params.InitCenter(random.In(-scale, scale));
    params.InitWidth(random.Chance(5) ? random.In(-3, 3) : random.In(1, scale));
    params.InitInverse(random.Chance(40));
    if (random.Chance(50)) {
        params.SetRescaleSlope(static_cast<float>(random.Steps(-4096, 4096, 1.0 / 256)));
        params.SetRescaleIntercept(random.In(-2000, 2000));
        params.SetUseRescale(random.Chance(80));
    }
    if (random.Chance(50)) params.SetGamma(static_cast<float>(random.In(1, 50)) / 10.0f);
    if (random.Chance(30)) {
        const int least = job.isSigned ? -range / 2 : 0;
        const int padding = random.In(least - 2, least + range);
        params.SetPixelPaddingValues(padding, random.In(least, least + range));
        params.SetUsePadding(true);
    }
    if (random.Chance(25)) {
        params.SetMinMaxScaleMode(true);
        params.SetWindowMin(random.In(-scale, scale));
        params.SetWindowMax(random.In(-scale, scale));
    }
    if (random.Chance(25)) params.SetColorMap(&maps.Any(random));
}

/// The values of pixel index 0 to count - 1, counted from the lowest pixel value.
template <class In, class Out>
bool add_entries(ZEV_AbstractWindowingTable* table, const Job& job, Hash& hash) {
    auto* const typed = dynamic_cast<ZEV_WindowingTable<In, Out>*>(table);
    if (typed == nullptr || typed->GetTable() == nullptr) return false;
    const std::size_t count = std::size_t{1} << job.depth;
    hash.AddAll(typed->GetTable() - (job.isSigned ? static_cast<std::ptrdiff_t>(count / 2) : 0), count);
    return true;
}

template <class In>
bool add_entries_of(ZEV_AbstractWindowingTable* table, const Job& job, Hash& hash) {
    return add_entries<In, unsigned char>(table, job, hash) ||
           add_entries<In, unsigned short>(table, job, hash) ||
           add_entries<In, unsigned int>(table, job, hash);
}

void add_table(ZEV_Params& params, const Job& job, Hash& hash) {
    job.With([&](const ZEV_TableParams& tableParams) {
        const std::unique_ptr<ZEV_AbstractWindowingTable> table(params.BuildTable(tableParams));
        const bool known = add_entries_of<signed char>(table.get(), job, hash) ||
                           add_entries_of<unsigned char>(table.get(), job, hash) ||
                           add_entries_of<short>(table.get(), job, hash) ||
                           add_entries_of<unsigned short>(table.get(), job, hash);
        if (!known) hash.Add(table == nullptr ? -1 : -2);
    });
}

void gamma_tables(Hash& hash) {
    for (int tenths = 1; tenths <= 50; ++tenths) {
        ZEV_Params params;
        params.InitCenter(32767), params.InitWidth(65535);
        params.SetGamma(static_cast<float>(tenths) / 10.0f);
        Job job;
        job.depth = 16;
        add_table(params, job, hash);
        job.trueColor = false;
        for (const int levels : {256, 1024, 4096, 65536}) {
            job.levels = levels;
            job.outDepth = levels == 256 ? 8 : 16;
            add_table(params, job, hash);
        }
    }
}

void tables(Hash& hash) {
    Random random(20000);
    Maps maps(random);
    for (int i = 0; i < 20000; ++i) {
        const Job job = random_job(random);
        ZEV_Params params;
        random_params(random, job, maps, params);
        add_table(params, job, hash);
    }
}

void color_maps(Hash& hash) {
    Random random(3);
    for (int i = 0; i < 3000; ++i) {
        ZEV_ColorMap map;
        Maps::Points(random, map);
        map.CreateTable();
        for (int entry = 0; entry < ZEV_ColorMap::kTableSize; ++entry)
            hash.Add(map.TransformColor(entry).toRGB());
    }
}

/// Every way to paint, with rows that follow each other and rows with gaps, and of odd lengths.
void frames(Hash& hash) {
    Random random(4);
    Maps maps(random);
    for (int i = 0; i < 3000; ++i) {
        const Job job = random_job(random);
        ZEV_Params params;
        random_params(random, job, maps, params);
        // Half of them as a viewer would have them.
        if (random.Chance(50))
            params.SetMinMaxScaleMode(false), params.SetColorMap(nullptr), params.SetWidth(300);
        const int width = random.In(1, 300), height = random.In(1, 4), gap = random.Chance(50) ? 0 : 5;
        const std::size_t count = static_cast<std::size_t>((width + gap) * height);
        const std::size_t outBytes = static_cast<std::size_t>(job.outDepth / 8);
        std::vector<std::uint16_t> words(count);
        std::vector<std::uint8_t> bytes(count);
        for (std::size_t at = 0; at < count; ++at) {
            words[at] = static_cast<std::uint16_t>(random.Next());
            if (!random.Chance(5))
                words[at] = static_cast<std::uint16_t>(words[at] & ((1u << job.depth) - 1));
            bytes[at] = static_cast<std::uint8_t>(words[at]);
        }
        // Of 32 bits, so that every row begins where its display values may.
        std::vector<std::uint32_t> out(count);
        std::vector<std::uint8_t> rgb(count * 3);
        const std::ptrdiff_t row = width + gap;
        job.With([&](const ZEV_TableParams& tableParams) {
            const ZEV_Painter painter(params, tableParams);
            hash.Add(painter.IsReady() ? 1 : 0);
            const void* const pixels = job.depth <= 8 ? static_cast<const void*>(bytes.data()) : words.data();
            const std::ptrdiff_t pixelRow = row * (job.depth <= 8 ? 1 : 2);
            painter.Paint(pixels, pixelRow, width, height, out.data(),
                          row * static_cast<std::ptrdiff_t>(outBytes));
            painter.PaintRgb(pixels, pixelRow, width, height, rgb.data(), row * 3);
        });
        for (std::size_t at = 0; at < count; ++at) {
            const auto* const first = reinterpret_cast<const unsigned char*>(out.data());
            if (outBytes == 1) {
                hash.Add(int{first[at]});
            } else if (outBytes == 2) {
                std::uint16_t word;
                std::memcpy(&word, first + 2 * at, 2);
                hash.Add(int{word});
            } else {
                hash.Add(std::uint64_t{out[at]});
            }
        }
        hash.AddAll(rgb.data(), rgb.size());
    }
}

// ---- Windows ----

refhost::MemoryRaster random_raster(Random& random) {
    const int bits = random.In(2, 16);
    refhost::MemoryRaster raster{random.In(1, 70), random.In(1, 70), bits, random.Chance(40)};
    const unsigned mask = (1u << bits) - 1;
    const int kind = random.In(0, 3);
    for (int i = 0; i < raster.m_Width * raster.m_Height; ++i) {
        unsigned value = static_cast<unsigned>(random.Next());
        if (kind == 1) value = static_cast<unsigned>(random.In(0, 40) + random.In(0, 40));
        if (kind == 2) value = random.Chance(60) ? 0u : value >> 20;
        if (kind == 3) value = static_cast<unsigned>(i);
        value &= mask;
        if (raster.BytesPerPixel() == 1) {
            static_cast<std::uint8_t*>(raster.GetPixels())[i] = static_cast<std::uint8_t>(value);
        } else {
            static_cast<std::uint16_t*>(raster.GetPixels())[i] = static_cast<std::uint16_t>(value);
        }
    }
    return raster;
}

void automatic_windows(Hash& hash) {
    Random random(5);
    for (int i = 0; i < 1500; ++i) {
        refhost::MemoryRaster raster = random_raster(random);
        for (int modality = SPC_Modality::MODALITY_UNKNOWN; modality <= SPC_Modality::MODALITY_PT;
             ++modality) {
            const auto which = static_cast<SPC_Modality::MODALITY>(modality);
            int width = -7, center = -7;
            KIT_Rect rect;
            if (random.Chance(50))
                rect = KIT_Rect{random.In(0, 30), random.In(0, 30), random.In(20, 80), random.In(20, 80)};
            hash.Add(ZEV_AutoWindowing().Calc(&raster, &width, &center, &rect, which));
            hash.Add(width), hash.Add(center);
            hash.Add(ZEV_AutoWindowing().Calc(&raster, rect.left, rect.top, 60, 50, i & 1, &width, &center,
                                              which));
            hash.Add(width), hash.Add(center);
        }
        HST_AutoWindow window;
        const int padding = random.Chance(50) ? -100000 : random.In(0, 100);
        hash.Add(window.AutoWindowing(raster.GetPixels(), 0, 0, raster.m_Width, raster.m_Height,
                                      raster.m_Width, Dicom_CS(), false, raster.m_BitsPerPixel, padding,
                                      padding, raster.m_bSigned, random.Chance(30)));
        hash.Add(window.m_Center), hash.Add(window.m_Width);
    }
}

void voi_curves(Hash& hash) {
    Random random(6);
    for (int i = 0; i < 600; ++i) {
        const int bits = random.In(4, 14);
        OBJ_Msg msg;
        const bool isSigned = random.Chance(40);
        put_words(msg, 0x00280101, "US", {static_cast<std::uint16_t>(bits)});
        put_words(msg, 0x00280103, "US", {static_cast<std::uint16_t>(isSigned ? 1 : 0)});
        put_text(msg, 0x00281053, "DS", decimal(random, -3, 3));
        put_text(msg, 0x00281052, "DS", decimal(random, -1000, 1000));
        put_text(msg, 0x00281050, "DS", decimal(random, -500, 4000) + "\\40.05");
        put_text(msg, 0x00281051, "DS", decimal(random, 1, 4000) + "\\80.05");
        put_text(msg, 0x00281056, "CS", random.Chance(50) ? "SIGMOID" : "LINEAR");
        put_lut(msg, 0x00283010, 200, random);
        Mapper_WindowingManager manager(&msg);
        manager.Init();
        for (const Mapper_WindowingEntry* entry : manager.m_Entries) {
            const int top = random.Chance(50) ? 255 : random.In(1, 65535);
            const std::unique_ptr<Mapper_VOILut> lut(
                manager.CreateDicomVOILut(entry, top, VOI_LUT_OWNED_BY_CALLER));
            if (lut == nullptr) continue;
            hash.Add(lut->GetVOICenter()), hash.Add(lut->GetVOIWidth()), hash.Add(lut->GetFunctionCode());
            const int size = 1 << bits;
            const double center = lut->GetVOICenter() + random.Steps(-800, 800, 0.25);
            const double width = random.Steps(-4, 4000, 0.5);
            std::vector<unsigned short> words(static_cast<std::size_t>(size));
            std::vector<unsigned char> bytes(words.size());
            std::vector<unsigned int> colors(words.size());
            lut->FillWindowingTable8(bytes.data(), size, center, width, random.Chance(50));
            lut->FillWindowingTable16(words.data(), size, center, width, random.Chance(50));
            lut->FillWindowingTable32(colors.data(), size, center, width, random.Chance(50));
            hash.AddAll(bytes.data(), bytes.size());
            hash.AddAll(words.data(), words.size());
            hash.AddAll(colors.data(), colors.size());
        }
    }
}

void presentation_and_printer_curves(Hash& hash) {
    Random random(7);
    for (int i = 0; i < 150; ++i) {
        OBJ_Msg msg;
        put_text(msg, 0x00281050, "DS", "40"), put_text(msg, 0x00281051, "DS", "400");
        put_text(msg, 0x00281056, "CS", random.Chance(60) ? "SIGMOID" : "LINEAR");
        put_lut(msg, 0x00283010, 0, random);
        if (random.Chance(80)) put_lut(msg, 0x20500010, 0, random);
        if (random.Chance(30)) put_text(msg, 0x00281053, "DS", "-1");
        Mapper_WindowingManager manager(&msg);
        manager.Init();
        Mapper_Pval pval(&msg);
        for (const Mapper_WindowingEntry* entry : manager.m_Entries) {
            pval.SetWindowingType(manager, entry);
            const int low = random.In(-5000, 60000);
            const int high = random.Chance(5) ? low : random.In(-5000, 70000);
            pval.UpdateWindowValues(low, high, random.In(1, 65535));
            hash.AddAll(pval.m_pWindowLut, Mapper_Pval::WINDOW_LUT_SIZE);
        }
        std::vector<unsigned short> curve(static_cast<std::size_t>(random.In(1, 5000)));
        const int bits = random.In(8, 16);
        for (unsigned short& entry : curve)
            entry = static_cast<unsigned short>(random.In(0, (1 << bits) - 1));
        const Mapper_PrinterLUT printer(curve.data(), curve.size(), bits);
        std::vector<std::uint16_t> pixels(4096);
        for (std::size_t at = 0; at < pixels.size(); ++at) pixels[at] = static_cast<std::uint16_t>(at);
        printer.ApplyPrinterLUT(pixels.data(), 4096, 16, 12, 1, 64, 64, nullptr, nullptr);
        hash.AddAll(pixels.data(), pixels.size());
    }
}

void units_and_presets(Hash& hash) {
    Random random(8);
    for (int i = 0; i < 2000; ++i) {
        OBJ_Msg msg;
        Dicom_Msg& drug = *msg.AddItem(Dicom_Tag(0x00540016));
        const char* const sexes[] = {"M", "F", "O"};
        const char* const decays[] = {"START", "ADMIN", "NONE"};
        put_text(msg, 0x00080060, "CS", "PT");
        put_text(msg, 0x00101030, "DS", decimal(random, 3, 160));
        put_text(msg, 0x00101020, "DS", decimal(random, 0, 2));
        put_text(msg, 0x00100040, "CS", sexes[random.In(0, 2)]);
        put_text(msg, 0x00541001, "CS", random.Chance(80) ? "BQML" : "GML");
        put_text(msg, 0x00541102, "CS", decays[random.In(0, 2)]);
        put_text(msg, 0x00080021, "DA", "20240301"), put_text(msg, 0x00080022, "DA", "20240301");
        put_text(msg, 0x00080031, "TM", "120000");
        put_text(msg, 0x00080032, "TM", "12" + std::to_string(random.In(10, 59)) + "00.25");
        put_text(msg, 0x00181242, "IS", std::to_string(random.In(1, 900000)));
        put_text(drug, 0x00181074, "DS", decimal(random, 1, 900000000));
        put_text(drug, 0x00181075, "DS", decimal(random, 60, 40000));
        put_text(drug, 0x00181072, "TM", "11" + std::to_string(random.In(10, 59)) + "00");
        SPC_MeasurementUnitsParams units(&msg);
        const int lowest = random.In(-100, 0);
        units.SetMaximalRange(lowest, random.In(1, 30000));
        for (int unit = SPC_UNITS_UNKNOWN; unit <= SPC_UNITS_PERCENTAGE_MAX_RANGE; ++unit) {
            const auto which = static_cast<SPC_MEASUREMENT_UNITS>(unit);
            hash.Add(units.IsDataMissingForMeasurement(which) ? 1 : 0);
            const float value = static_cast<float>(random.Steps(-1000, 5000, 0.125));
            hash.Add(double{units.TranslateBackFromUnitsToPixel(value, which)});
        }
        KIT_BaseParamsVec vec(L"view");
        SPC_Modality modality(L"PT");
        ZEV_Params params;
        vec.Append(&modality), vec.Append(&units), vec.Append(&params);
        params.SetRescaleSlope(static_cast<float>(random.Steps(1, 4096, 1.0 / 64)));
        params.SetRescaleIntercept(random.In(-1000, 1000));
        const auto unit = static_cast<ZEV_WindowingUnits::Units>(random.In(-1, 4));
        const long center = random.In(-5, 100), width = random.In(1, 200);
        const bool ends = random.Chance(50);
        double exactCenter = 0, exactWidth = 0;
        const long none = ZEV_PresetValue::kNotGiven;
        hash.Add(ZEV_Dicom::TranslatePresetValues(&params, &vec, ends ? center : none,
                                                  ends ? center + width : none, ends ? none : center,
                                                  ends ? none : width, unit, &exactCenter, &exactWidth)
                     ? 1
                     : 0);
        hash.Add(exactCenter), hash.Add(exactWidth);
        hash.Add(ZEV_Dicom::SetWindowingPresetValues(&params, &vec, ends ? center : none,
                                                     ends ? center + width : none, ends ? none : center,
                                                     ends ? none : width, unit)
                     ? 1
                     : 0);
        hash.Add(params.GetCenter()), hash.Add(params.GetWidth());
    }
}

/// The built-in configuration, with its texts.
void configuration(Hash& hash) {
    ZEV_Presets presets;
    hash.Add(presets.Init(L"windowing"));
    for (int set = 0; set < presets.NumOfPresetLists(); ++set) {
        ZEV_ProcedurePreset& procedure = *presets.GetIthPreset(set);
        hash.Add(procedure.GetName());
        for (int i = 0; i < procedure.NumOfPresets(); ++i) {
            const ZEV_PresetValue& value = *procedure.GetValue(i);
            hash.Add(value.GetName());
            for (const int number : {value.GetMin(), value.GetMax(), value.GetCenter(), value.GetWidth()})
                hash.Add(number);
        }
    }
    for (int set = 0; set < presets.NumOfColorMaps(); ++set) {
        ZEV_ProcedureColorMaps& maps = *presets.GetIthColorMap(set);
        hash.Add(maps.GetName());
        for (int i = 0; i < maps.NumOfColorMaps(); ++i) {
            const ZEV_ColorMap& map = *maps.GetColorMap(i);
            hash.Add(map.GetName());
            hash.Add(double{map.GetThresholdMin()}), hash.Add(double{map.GetThresholdMax()});
            for (int entry = 0; entry < ZEV_ColorMap::kTableSize; ++entry)
                hash.Add(map.TransformColor(entry).toRGB());
        }
    }
}

// ---- Opening an image, and texts of numbers ----

void opened_images(Hash& hash) {
    Random random(9);
    for (int i = 0; i < 1500; ++i) {
        OBJ_Msg msg;
        refhost::MemoryRaster raster = random_raster(random);
        const char* const names[] = {"CT", "MR", "PT", "CR", "MG", "US"};
        const std::string name = names[random.In(0, 5)];
        put_text(msg, 0x00080060, "CS", name);
        put_words(msg, 0x00280010, "US", {static_cast<std::uint16_t>(raster.m_Height)});
        put_words(msg, 0x00280011, "US", {static_cast<std::uint16_t>(raster.m_Width)});
        put_words(msg, 0x00280002, "US", {1});
        put_text(msg, 0x00280004, "CS", random.Chance(70) ? "MONOCHROME2" : "MONOCHROME1");
        put_words(msg, 0x00280101, "US", {static_cast<std::uint16_t>(raster.m_BitsPerPixel)});
        put_words(msg, 0x00280103, "US", {static_cast<std::uint16_t>(raster.m_bSigned ? 1 : 0)});
        if (random.Chance(60)) {
            put_text(msg, 0x00281053, "DS", decimal(random, -2, 3));
            put_text(msg, 0x00281052, "DS", decimal(random, -1100, 100));
        }
        if (random.Chance(60)) {
            put_text(msg, 0x00281050, "DS", decimal(random, -500, 4000));
            put_text(msg, 0x00281051, "DS", decimal(random, 0, 4000));
            if (random.Chance(40))
                put_text(msg, 0x00281056, "CS", random.Chance(70) ? "SIGMOID" : "LINEAR_EXACT");
        }
        if (random.Chance(20)) put_lut(msg, 0x00283010, 50, random);
        if (random.Chance(20)) put_lut(msg, 0x20500010, 0, random);
        if (random.Chance(20))
            put_words(msg, 0x00280120, "US", {static_cast<std::uint16_t>(random.In(0, 100))});
        KIT_BaseParamsVec vec(L"view");
        const std::wstring wide = refhost::FromUtf8(name);
        SPC_Modality modality(wide.c_str());
        SPC_MeasurementUnitsParams units(&msg);
        ZEV_Params params;
        vec.Append(&modality), vec.Append(&units), vec.Append(&params);
        ZEV_Dicom dicom;
        hash.Add(dicom.UpdateFromDicom(&msg, &raster, &params, nullptr, false, false, &vec));
        hash.Add(static_cast<int>(dicom.GetWindowSource()));
        hash.Add(params.GetCenter()), hash.Add(params.GetWidth()), hash.Add(params.GetVoiLutSelection());
        hash.Add(params.GetWindowMin()), hash.Add(params.GetWindowMax()),
            hash.Add(params.GetInverse() ? 1 : 0);
        hash.Add(double{params.GetRescaleSlope()}), hash.Add(params.GetRescaleIntercept());
        hash.Add(double{params.GetGamma()}), hash.Add(params.GetPixelPaddingValue());
        Job job;
        job.depth = raster.m_BitsPerPixel;
        job.isSigned = raster.m_bSigned;
        add_table(params, job, hash);
        params.UpdateCenter(random.In(-50, 50));
        hash.Add(dicom.UpdateTheDicom(&msg, &params)), hash.Add(dicom.UpdateDicomWithVoiLut(&msg, &params));
        for (const auto& [tag, element] : msg.GetElements()) {
            hash.Add(std::uint64_t{tag});
            if (element.m_pValue->IsNumeric()) {
                std::unique_ptr<wchar_t[]> text(static_cast<wchar_t*>(*element.m_pValue));
                hash.Add(text.get());
            }
        }
    }
}

void texts_of_numbers(Hash& hash) {
    Random random(10);
    for (int i = 0; i < 100000; ++i) {
        double number;
        const std::uint64_t bits = random.Next();
        std::memcpy(&number, &bits, sizeof number);
        if (random.Chance(60)) number = random.Steps(-2000000, 2000000, random.Chance(50) ? 0.01 : 1e-7);
        const Dicom_DS text(number);
        hash.Add(text.GetText(0).c_str());
        hash.Add(double{text});
        hash.Add(Dicom_FL(static_cast<float>(text)).GetText(0).c_str());
    }
}

// ---- Regions ----

void regions(Hash& hash) {
    Random random(11);
    for (int i = 0; i < 4000; ++i) {
        KIT_PolygonMask::Ring ring;
        for (int points = random.In(0, 24); points > 0; --points)
            ring.push_back(
                {random.Steps(-600, 1600, 0.125), random.Steps(-600, 1600, random.Chance(50) ? 0.125 : 0.1)});
        KIT_PolygonMask polygon(ring);
        float matrix[4][4] = {};
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column)
                matrix[row][column] =
                    row == column ? 1.0f : static_cast<float>(random.Steps(-64, 64, 1.0 / 1024));
        }
        const std::unique_ptr<KIT_PolygonMask> moved(polygon.ApplyMatrix(matrix));
        const std::unique_ptr<KIT_PolygonMask> cut(moved->IntersectWithDisplayRect(10, 5, 180, 160));
        for (KIT_PolygonMask* mask : {&polygon, moved.get(), cut.get()}) {
            if (mask == nullptr) continue;
            for (const KIT_PolygonMask::Point& point : mask->GetOutline())
                hash.Add(point.x), hash.Add(point.y);
            std::unique_ptr<KIT_LinesMask> lines;
            try {
                lines.reset(mask->ConvertToLinesMask());
            } catch (const KIT_PolygonMask::TooComplex&) {
                hash.Add(-3);
                continue;
            }
            for (const KIT_LinesMask::Run& run : lines->GetRuns())
                hash.Add(run.y), hash.Add(run.left), hash.Add(run.right);
        }
    }
}

}  // namespace

int main() {
    const refhost::ComApartment apartment;
    const struct {
        const char* name;
        void (*run)(Hash&);
    } kinds[] = {
        {"gamma-tables", gamma_tables},
        {"tables", tables},
        {"color-maps", color_maps},
        {"frames", frames},
        {"automatic-windows", automatic_windows},
        {"voi-curves", voi_curves},
        {"presentation-and-printer-curves", presentation_and_printer_curves},
        {"units-and-presets", units_and_presets},
        {"configuration", configuration},
        {"opened-images", opened_images},
        {"texts-of-numbers", texts_of_numbers},
        {"regions", regions},
    };
    for (const auto& kind : kinds) {
        Hash hash;
        try {
            kind.run(hash);
        } catch (const std::exception& error) {
            std::printf("%s: %s\n", kind.name, error.what());
            return 1;
        } catch (const _com_error& error) {
            std::printf("%s: component error %08X\n", kind.name, static_cast<unsigned>(error.Error()));
            return 1;
        }
        std::printf("%s %016" PRIx64 "\n", kind.name, hash.Value());
        std::fflush(stdout);
    }
}
