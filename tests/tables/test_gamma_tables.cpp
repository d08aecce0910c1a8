#include <gtest/gtest.h>

#include <cmath>

#include <thread>

#include "support.h"
#include "zev_table_creator.h"

namespace {

using Creator = ZEV_Params::TableCreator;
using G8 = ZEV_WindowingTable<unsigned char, unsigned char>;
using G16 = ZEV_WindowingTable<unsigned short, unsigned short>;

template <class Table>
Table* gamma_table(float gamma, int depth, bool trueColor) {
    Creator creator;
    creator.m_Gamma = gamma;
    creator.m_OutputDepth = depth;
    creator.m_TrueColorTarget = trueColor ? 1 : 0;
    return dynamic_cast<Table*>(creator.GetGammaTable());
}

TEST(GammaTables, OneSlotForAStepAndTheNumbersOfTheFirst) {
    support::InOwnProcess([] {
        G8* const first = gamma_table<G8>(1.26f, 8, false);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(gamma_table<G8>(1.34f, 16, true), first);
        EXPECT_EQ(first->GetTable()[128],
                  static_cast<unsigned char>(255.0 * std::pow(128.0 / 255.0, 1.26f) + 0.5));
        EXPECT_EQ(gamma_table<G8>(1.04f, 8, false), gamma_table<G8>(1.0f, 8, false));
        EXPECT_NE(gamma_table<G8>(1.05f, 8, false), gamma_table<G8>(1.0f, 8, false));
        EXPECT_EQ(gamma_table<G8>(2.0f, 8, true)->GetTable()[128], 64);

        G16* const power = gamma_table<G16>(3.0f, 10, false);
        EXPECT_EQ(power->GetTable()[1023], 1023);
        EXPECT_EQ(power->GetTable()[512], 128);
        EXPECT_EQ(power->GetTable()[1024], 0);
    });
}

TEST(GammaTables, TheDeepIdentityReachesTwiceTheFirstDepth) {
    support::InOwnProcess([] {
        G16* const deep = gamma_table<G16>(1.0f, 12, false);
        EXPECT_EQ(gamma_table<G16>(1.0f, 16, false), deep);
        EXPECT_EQ(std::pair(deep->GetTable()[8191], deep->GetTable()[8192]),
                  (std::pair<unsigned short, unsigned short>(8191, 0)));
    });
}

TEST(GammaTables, InvalidGammasAreLoggedAndGetTheNearestValidTable) {
    const struct {
        const char* name;
        float gamma;
        float nearest;
    } rows[] = {{"disabled", ZEV_Params::kGammaDisabled, 1.0f},
                {"NaN", NAN, 1.0f},
                {"zero", 0.0f, 0.1f},
                {"far below, where 8 bits would wrap", -25.0f, 0.1f},
                {"above", 5.2f, 5.0f},
                {"far above, where 8 bits would wrap", 25.8f, 5.0f},
                {"infinite", INFINITY, 5.0f}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        support::LogCapture log(2);
        G8* const table = gamma_table<G8>(row.gamma, 8, true);
        ASSERT_EQ(log.lines.size(), 1u);
        EXPECT_EQ(log.lines[0],
                  "2 ZEV_Params::TableCreator::GetGammaTable Assertion Failed: <(gamma_index < 50 && "
                  "table_index < 2) "
                  "&& \"Gamma table index out of bound.\n\">, Aborting.\n");
        EXPECT_EQ(table, gamma_table<G8>(row.nearest, 8, true));
        EXPECT_EQ(log.lines.size(), 1u);
    }
}

TEST(GammaTables, ThreadsThatMeetGetOneTable) {
    std::vector<std::thread> threads;
    std::vector<ZEV_AbstractWindowingTable*> tables(8);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        threads.emplace_back([&tables, i] { tables[i] = gamma_table<G16>(4.4f, 16, false); });
    }
    for (std::thread& thread : threads) thread.join();
    for (ZEV_AbstractWindowingTable* table : tables) EXPECT_EQ(table, tables[0]);
}

}  // namespace
