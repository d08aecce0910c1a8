#include <fstream>
#include <sstream>

#include "support.h"

namespace {

using support::Build;

template <class Out>
std::uint64_t fnv(const std::vector<Out>& entries) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const Out entry : entries) {
        for (std::size_t byte = 0; byte < sizeof(Out); ++byte) {
            hash = (hash ^ ((entry >> (8 * byte)) & 0xFF)) * 0x100000001B3u;
        }
    }
    return hash;
}

template <class Out>
void expect_entries(const std::vector<Out>& entries, std::uint64_t hash, std::istringstream& points) {
    ASSERT_FALSE(entries.empty());
    std::size_t index;
    std::uint64_t value;
    char colon;
    while (points >> index >> colon >> value) EXPECT_EQ(entries[index], value) << "entry " << index;
    EXPECT_EQ(fnv(entries), hash);
}

TEST(Golden, TablesWorkedOutByThePythonScript) {
    std::ifstream file(ZEV_SOURCE_DIR "/tests/tables/golden.txt");
    ASSERT_TRUE(file);
    std::string line;
    int cases = 0;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#') continue;
        SCOPED_TRACE(line.substr(0, 70));
        std::istringstream in(line);
        Build build;
        std::string mode, padding, hash;
        int center, width, intercept, inverse;
        double slope, gamma;
        in >> build.inputDepth >> build.isSigned >> build.outputDepth >> mode >> center >> width >> slope >>
            intercept >> gamma >> inverse >> build.levels >> padding >> hash;
        build.trueColor = mode == "truecolor";
        if (mode == "palette") {
            for (int k = 0; k < build.levels; ++k)
                build.palette.push_back(static_cast<std::uint32_t>(k) * 2654435761u);
        }
        ZEV_Params params;
        params.InitCenter(center), params.InitWidth(width);
        params.SetRescaleSlope(static_cast<float>(slope)), params.SetRescaleIntercept(intercept);
        params.SetGamma(static_cast<float>(gamma)), params.InitInverse(inverse != 0);
        int lowest, highest;
        if (std::sscanf(padding.c_str(), "%d,%d", &lowest, &highest) == 2) {
            params.SetPixelPaddingValues(lowest, highest), params.SetUsePadding(true);
        }
        const std::uint64_t expected = std::stoull(hash, nullptr, 16);
        if (build.outputDepth == 8) expect_entries(build.Read<unsigned char>(params), expected, in);
        if (build.outputDepth == 16) expect_entries(build.Read<unsigned short>(params), expected, in);
        if (build.outputDepth == 32) expect_entries(build.Read<unsigned int>(params), expected, in);
        ++cases;
    }
    EXPECT_GE(cases, 19);
}

}  // namespace
