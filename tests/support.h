#pragma once

#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_FL.h>
#include <DICOM/Dicom_Tag.h>
#include <KIT/KIT_BaseParamsVec.h>
#include <OBJ/OBJ_Msg.h>
#include <SPC/SPC_Modality.h>
#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_Dicom.h>
#include <ZEV/ZEV_Painter.h>
#include <ZEV/ZEV_Params.h>
#include <ZEV/ZEV_WindowingTable.h>
#include <gtest/gtest.h>
#include <refhost/Log.h>
#include <refhost/MemoryContext.h>
#include <refhost/MemoryRaster.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zev_table_types.h"

/// What several test programs share, the usual headers included.
namespace support {

/// Of this process's environment.
inline void SetVariable(const char* name, const std::string& value) {
#if defined(_WIN32)
    _putenv_s(name, value.c_str());
#else
    setenv(name, value.c_str(), 1);
#endif
}

/// A message written down as {tag, VR, text or numbers}.
class Message : public OBJ_Msg {
public:
    Message& Text(unsigned tag, const char* vr, const std::string& text) {
        const std::string padded = text.size() % 2 == 0 ? text : text + ' ';
        PutBytes(Dicom_Tag(tag), vr, padded.data(), padded.size());
        return *this;
    }
    Message& Words(unsigned tag, const char* vr, const std::vector<std::uint16_t>& words) {
        PutBytes(Dicom_Tag(tag), vr, words.data(), words.size() * 2);
        return *this;
    }
    /// Rows, Columns, one sample, MONOCHROME2.
    Message& Image(int rows, int columns, const char* photometric = "MONOCHROME2") {
        Words(0x00280010, "US", {static_cast<std::uint16_t>(rows)});
        Words(0x00280011, "US", {static_cast<std::uint16_t>(columns)});
        Words(0x00280002, "US", {1});
        return Text(0x00280004, "CS", photometric);
    }
    Message& Window(const std::string& center, const std::string& width, const char* function = nullptr) {
        Text(0x00281050, "DS", center).Text(0x00281051, "DS", width);
        return function == nullptr ? *this : Text(0x00281056, "CS", function);
    }
    Message& Rescale(const std::string& slope, const std::string& intercept) {
        return Text(0x00281053, "DS", slope).Text(0x00281052, "DS", intercept);
    }
    /// Appends a table to a VOI (0028,3010) or presentation (2050,0010) LUT sequence.
    Message& Lut(unsigned sequence, int first, int bits, const std::vector<std::uint16_t>& entries) {
        Dicom_Msg* item = AddItem(Dicom_Tag(sequence));
        const std::uint16_t descriptor[3] = {static_cast<std::uint16_t>(entries.size()),
                                             static_cast<std::uint16_t>(first),
                                             static_cast<std::uint16_t>(bits)};
        item->PutBytes(Dicom_Tag(0x00283002), first < 0 ? "SS" : "US", descriptor, sizeof descriptor);
        item->PutBytes(Dicom_Tag(0x00283006), "US", entries.data(), entries.size() * 2);
        return *this;
    }
};

/// Log lines as "level function text" while it lives.
class LogCapture {
public:
    explicit LogCapture(int level = 7) {
        refhost::SetLogLevel(level);
        refhost::SetLogSink([this](const refhost::LogRecord& record) {
            lines.push_back(std::to_string(record.level) + " " + record.function + " " + record.text);
        });
    }
    ~LogCapture() {
        refhost::SetLogSink(nullptr);
        refhost::SetLogLevel(0);
    }
    bool Has(const std::string& part) const {
        for (const std::string& line : lines) {
            if (line.find(part) != std::string::npos) return true;
        }
        return false;
    }
    std::vector<std::string> lines;
};

/// A target raster that only says what it is.
inline refhost::MemoryRaster Target(bool trueColor, int bits) {
    refhost::MemoryRaster raster;
    raster.m_PixelFormat = trueColor ? 1 : 0;
    raster.m_BitsPerPixel = bits;
    return raster;
}
inline refhost::MemoryRaster Source(int bits, bool isSigned) {
    refhost::MemoryRaster raster;
    raster.m_BitsPerPixel = bits;
    raster.m_bSigned = isSigned;
    return raster;
}

/// Every stored entry; empty for a null table or other types. The origin of a signed table lies in the
/// middle.
template <class Out>
std::vector<Out> Entries(ZEV_AbstractWindowingTable* table, bool isSigned, int depth) {
    using Result = std::vector<Out>;
    const auto read = [&](auto types) -> Result {
        auto* typed = dynamic_cast<ZEV_WindowingTable<typename decltype(types)::In, Out>*>(table);
        if (typed == nullptr) return {};
        const Out* first = typed->GetTable() - (isSigned ? (1 << depth) / 2 : 0);
        return Result(first, first + typed->GetSize());
    };
    return zev::VisitTableTypes<zev::kWordBits, Result>(depth, 8 * sizeof(Out), isSigned, {}, read);
}

/// Runs ordinary EXPECTs in a process of its own, for what a process does once.
template <class Body>
void InOwnProcess(const Body& body) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT((body(), std::exit(testing::Test::HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "");
}

/// One BuildTable call.
struct Build {
    int inputDepth = 8;
    bool isSigned = false;
    bool trueColor = true;
    int outputDepth = 8;
    int levels = 256;
    std::vector<std::uint32_t> palette;

    std::unique_ptr<ZEV_AbstractWindowingTable> operator()(ZEV_Params& params) const {
        refhost::MemoryContext context(levels, palette);
        refhost::MemoryRaster source = Source(inputDepth, isSigned);
        refhost::MemoryRaster target = Target(trueColor, outputDepth);
        return std::unique_ptr<ZEV_AbstractWindowingTable>(
            params.BuildTable(ZEV_TableParams(nullptr, &context, &source, &target, KIT_Rect())));
    }
    ZEV_Painter Painter(ZEV_Params& params) const {
        refhost::MemoryContext context(levels, palette);
        refhost::MemoryRaster source = Source(inputDepth, isSigned);
        refhost::MemoryRaster target = Target(trueColor, outputDepth);
        return ZEV_Painter(params, ZEV_TableParams(nullptr, &context, &source, &target, KIT_Rect()));
    }
    ZEV_TableSource Describe(ZEV_Params& params) const {
        refhost::MemoryContext context(levels, palette);
        refhost::MemoryRaster source = Source(inputDepth, isSigned);
        refhost::MemoryRaster target = Target(trueColor, outputDepth);
        return params.DescribeTable(ZEV_TableParams(nullptr, &context, &source, &target, KIT_Rect()));
    }
    template <class Out>
    std::vector<Out> Read(ZEV_Params& params) const {
        return Entries<Out>((*this)(params).get(), isSigned, inputDepth);
    }
};

}  // namespace support
