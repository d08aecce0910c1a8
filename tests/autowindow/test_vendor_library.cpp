#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_AutoWindowing.h>
#include <gtest/gtest.h>
#include <refhost/Libraries.h>
#include <refhost/Texts.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "rasters.h"

namespace {

namespace fs = std::filesystem;

const std::string kBuiltName = "vexor_MRI_WL__decorated_name_here_";
const std::string kRealName = "?vexor_MRI_WL@@YAHPAGGGHAAH1AAG2@Z";

/// A directory of its own that LoadLibraryW looks into, and a vendor name, while it lives.
class VendorLibrary : public testing::Test {
protected:
    VendorLibrary()
        : m_Directory(fs::temp_directory_path() / ("zev_vendor_" + std::to_string(std::random_device()()))) {
        fs::create_directories(m_Directory);
        refhost::SetLibraryDirectory(m_Directory.string());
        refhost::SetVendorName(L"vexor");
    }
    ~VendorLibrary() override {
        refhost::SetVendorName(L"");
        refhost::SetLibraryDirectory("");
        // On Windows a library that was loaded stays.
        std::error_code stays;
        fs::remove_all(m_Directory, stays);
    }
    /// Puts the built library there, its entry point under its real name.
    void Install() {
        const fs::path built = ZEV_VENDOR_LIBRARY;
        std::ifstream in(built, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), {}};
        ASSERT_FALSE(bytes.empty()) << built;
        for (std::size_t at = 0; (at = bytes.find(kBuiltName, at)) != std::string::npos; ++at) {
            bytes.replace(at, kBuiltName.size(), kRealName);
        }
        std::ofstream(m_Directory / "vexor_MRI_WL.dll", std::ios::binary) << bytes;
    }
    /// The result, width and centre of the region form.
    std::vector<int> Measure(KIT_Raster* raster, KIT_Rect rect = KIT_Rect()) {
        int width = -7, center = -7;
        const int result =
            ZEV_AutoWindowing().Calc(raster, &width, &center, &rect, SPC_Modality::MODALITY_MR);
        return {result, width, center};
    }

    // Mean 45 over all six pixels, of which the middle half is the second one of the first row.
    refhost::MemoryRaster m_Raster = rasters::Of(3, 2, 12, false, {10, 40, 40, 60, 60, 60});
    fs::path m_Directory;
};

TEST_F(VendorLibrary, TakesOverOnceItCanBeLoaded) {
    const std::vector<int> statistics = Measure(&m_Raster);
    ASSERT_NE(statistics[1], 321);
    // The failed load is tried again.
    Install();
    // Width 3, height 2, the constant 1; first pixel; the two references came as 0.
    const std::vector<int> vendor = {0, 3 * 100 + 2 * 10 + 1, 10};
    EXPECT_EQ(Measure(&m_Raster), vendor);
    EXPECT_EQ(Measure(&m_Raster, KIT_Rect(1, 1, 2, 2)), vendor) << "it always sees the whole raster";
    refhost::MemoryRaster empty;
    empty.m_BitsPerPixel = 12, empty.m_Width = empty.m_Height = 1;
    EXPECT_EQ(Measure(&empty), (std::vector<int>{-1, -7, -7}));

    int width = 0, center = 0;
    ZEV_AutoWindowing().Calc(&m_Raster, 0, 0, 3, 2, 0, &width, &center, SPC_Modality::MODALITY_MR);
    EXPECT_EQ(center, 45) << "coordinates never reach it";

    for (const int bits : {8, 9, 16, 17}) {
        refhost::MemoryRaster other(3, 2, 16, false);
        other.m_BitsPerPixel = bits;
        EXPECT_EQ(Measure(&other)[1] == vendor[1], bits == 9 || bits == 16) << bits;
    }
    refhost::SetVendorName(L"vexor ");
    EXPECT_EQ(Measure(&m_Raster), statistics);
}

}  // namespace
