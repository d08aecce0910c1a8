#include <COM/com_error.h>
#include <ZEV/ZEV_RGBParams.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "cli/app_test_support.h"
#include "io/atomic_file.h"
#include "io/png_file.h"
#include "present/ddp_file.h"
#include "present/dicom_copy.h"
#include "present/renderer.h"

namespace {

/// The allocation that fails, counted from 1, and whether all that follow fail too. The counter is off at 0.
std::atomic<long> s_Count{0}, s_Failing{0};
std::atomic<bool> s_bAllAfter{false};

void* allocate(std::size_t size, std::size_t alignment = 0) {
    if (s_Count != 0) {
        const long number = s_Count++;
        if (number == s_Failing || (s_bAllAfter && number > s_Failing)) return nullptr;
    }
    if (size == 0) size = 1;
    return alignment == 0 ? std::malloc(size)
                          : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* require(void* memory) { return memory == nullptr ? throw std::bad_alloc() : memory; }

}  // namespace

// All forms, since those that are left out would be a sanitizer's own.
void* operator new(std::size_t size) { return require(allocate(size)); }
void* operator new[](std::size_t size) { return require(allocate(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }

namespace {

constexpr const char* kConfiguration = R"({"trees": {
    "windowing": {"p": [{"Modality": "PT",
                         "windowing2": {"Name": "SUV", "Min": 1, "Max": 9, "Units": "suv_bw"}}]},
    "colormaps": {"p": [{"Modality": "PT", "m": {"Display Name": "Two", "UID": "1.2", "SUV Type": 1,
                         "map": {"0.0": "102030", "0.5": "A0B0C0", "1.0": "FFFFFF"}}}]}}})";

class Memory : public testing::Test {
protected:
    /// All that the program does with an image, without its command line: the parser of options calls
    /// terminate when memory runs out, before any file is touched.
    void Present(const PresentationOptions& options) {
        LoadConfiguration(m_Config);
        OpenedImage image(m_Image, options);
        ZEV_RGBParams rgb;
        std::vector<std::pair<std::string, std::string>> files;
        files.emplace_back(m_Copy, EncodeCopy(image, 0, rgb, m_Copy));
        files.emplace_back(m_Parameters,
                           EncodeDisplayParameters(image, SaveMode::kPresent, {}, m_Parameters));
        WritePng(m_Picture, Render(image));
        WriteFilesAtomically(files);
    }
    /// With allocation `failing` without memory. Returns what became of it, empty for success.
    std::string Outcome(const PresentationOptions& options, long failing, bool isAllAfter) {
        s_Failing = failing;
        s_bAllAfter = isAllAfter;
        s_Count = 1;
        try {
            Present(options);
        } catch (const std::bad_alloc&) {
            s_Count = 0;
            return "no memory";
        } catch (const _com_error& error) {
            s_Count = 0;
            return error.Error() == E_OUTOFMEMORY ? "no memory" : "COM error";
        } catch (const std::exception& error) {
            s_Count = 0;
            return error.what();
        }
        m_Allocations = s_Count.exchange(0) - 1;
        return "";
    }

    support::TemporaryDirectory m_Directory;
    const std::string m_Image = m_Directory / "image.dcm", m_Config = m_Directory / "config.json";
    const std::string m_Copy = m_Directory / "copy.dcm", m_Parameters = m_Directory / "parameters.dcm";
    const std::string m_Picture = m_Directory / "picture.png";
    long m_Allocations = 0;
};

/// Every allocation for the first image; a part of them for the others, and where all that follow fail too.
TEST_F(Memory, ShortageIsReportedAndLeavesWholeFiles) {
    support::WriteFile(m_Config, kConfiguration);
    // Decoding has memory and limits of its own in the child.
    pthread_atfork(nullptr, nullptr, [] { s_Count = 0; });
    DicomDataSet lut = support::Ramp("MR", {{tag::kWindowCenter, "9"}, {tag::kWindowWidth, "9"}}), item;
    item.elements[tag::kLutDescriptor] = {"US", std::string("\x02\x00\x40\x00\x08\x00", 6), {}};
    item.elements[tag::kLutData] = {"OW", std::string("\x10\x00\xF0\x00", 4), {}};
    lut.elements[tag::kVoiLutSequence] = {"SQ", "", {item}};
    PresentationOptions ofCt, ofLut, ofPet;
    ofCt.gamma = 2;
    ofLut.voi = 1;
    ofPet.preset = "SUV";
    const struct {
        const char* name;
        DicomDataSet set;
        const PresentationOptions& options;
        long step;  ///< between the allocations that are tried
    } rows[] = {
        {"CT",
         support::Ramp("CT",
                       {{tag::kWindowCenter, "40"},
                        {tag::kWindowWidth, "400"},
                        {tag::kRescaleSlope, "1"},
                        {tag::kRescaleIntercept, "-1024"}},
                       64, 12),
         ofCt, 1},
        {"VOI LUT", lut, ofLut, 9},
        {"SUV preset", support::PetRamp({{tag::kRescaleSlope, "100"}, {tag::kRescaleIntercept, "0"}}), ofPet,
         9},
    };
    for (const auto& row : rows) {
        support::WriteImage(m_Image, row.set);
        ASSERT_EQ(Outcome(row.options, 0, false), "");
        const long allocations = m_Allocations;
        const std::string picture = support::ReadFile(m_Picture);
        for (const bool isAllAfter : {false, true}) {
            for (long n = 1; n <= allocations; n += isAllAfter ? 5 * row.step : row.step) {
                SCOPED_TRACE(row.name + std::string(isAllAfter ? ", all from " : ", allocation ") +
                             std::to_string(n));
                for (const std::string& path : {m_Copy, m_Parameters, m_Picture})
                    support::WriteFile(path, "old");
                const std::string outcome = Outcome(row.options, n, isAllAfter);
                EXPECT_TRUE(outcome.empty() || outcome == "no memory") << outcome;
                EXPECT_EQ(m_Directory.Count(), 5U);
                const std::string shown = support::ReadFile(m_Picture);
                EXPECT_TRUE(shown == picture || (!outcome.empty() && shown == "old"));
                for (const std::string& path : {m_Copy, m_Parameters}) {
                    if (!outcome.empty() && support::ReadFile(path) == "old") continue;
                    EXPECT_NO_THROW(ReadDicomDataSet(path));
                }
            }
        }
    }
}

}  // namespace
