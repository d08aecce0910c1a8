#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>

#include <refhost/Unicode.h>
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>

#include "commands.h"
#include "contact_sheet.h"
#include "io/atomic_file.h"
#include "io/png_file.h"
#include "io/present_error.h"
#include "io/printable.h"
#include "options.h"
#include "output.h"
#include "present/catalogue.h"
#include "present/presentation.h"

namespace {

constexpr int kMargin = 12;
constexpr int kLine = 22;
constexpr int kStripLeft = 300;
/// Each of the 256 colours is this wide.
constexpr int kColourWidth = 2;
/// The picture's height grows with the configuration.
constexpr int kMostLines = 1000;

Json describe_table(const ZEV_ColorMap& map) {
    Json table = Json::array();
    for (int i = 0; i < ZEV_ColorMap::kTableSize; ++i) {
        char text[8];
        std::snprintf(text, sizeof text, "%06X", static_cast<unsigned>(map.TransformColor(i).toRGB()));
        table.push_back(text);
    }
    return table;
}

Json describe_maps() {
    Json procedures = Json::array();
    for (int i = 0; i < Catalogue().NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *Catalogue().GetIthColorMap(i);
        Json maps = Json::array();
        for (int k = 0; k < set.NumOfColorMaps(); ++k) {
            const ZEV_ColorMap& map = *set.GetColorMap(k);
            Json about = {
                {"name", NameOf(map)},    {"uid", UidOf(map)},         {"buttonId", map.GetCustomButtonId()},
                {"dummy", map.IsDummy()}, {"suv", map.GetIsSUVType()}, {"smooth", map.GetIsSmooth()}};
            if (!map.IsDummy()) about["table"] = describe_table(map);
            maps.push_back(std::move(about));
        }
        procedures.push_back({{"procedure", refhost::ToUtf8(set.GetName())}, {"maps", std::move(maps)}});
    }
    return procedures;
}

void print_maps(std::ostream& out) {
    std::string shown;
    ForEachColourMap([&](const std::string& procedure, const ZEV_ColorMap& map) {
        if (procedure != shown) out << Printable(procedure) << "\n";
        shown = procedure;
        out << "  " << NameColumn(NameOf(map)) << Printable(UidOf(map))
            << (map.GetIsSUVType() ? ", SUV scale" : "") << (map.GetIsSmooth() ? "\n" : ", steps\n");
    });
}

/// Each map as a strip from level 0 to 255 after its name, below the name of its procedure. A dummy map is
/// grey.
Picture draw_maps() {
    int lines = 0;
    for (int i = 0; i < Catalogue().NumOfColorMaps(); ++i)
        lines += 1 + Catalogue().GetIthColorMap(i)->NumOfColorMaps();
    if (lines > kMostLines)
        throw UsageError("more than " + std::to_string(kMostLines) +
                         " colour maps are configured: no picture");
    Picture picture(kStripLeft + ZEV_ColorMap::kTableSize * kColourWidth + kMargin,
                    lines * kLine + 2 * kMargin);
    std::fill(picture.bytes.begin(), picture.bytes.end(), std::uint8_t{0x28});
    int y = kMargin;
    for (int i = 0; i < Catalogue().NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *Catalogue().GetIthColorMap(i);
        DrawText(picture, kMargin, y, refhost::ToUtf8(set.GetName()));
        y += kLine;
        for (int k = 0; k < set.NumOfColorMaps(); ++k, y += kLine) {
            const ZEV_ColorMap& map = *set.GetColorMap(k);
            constexpr int kIndent = 2 * kCharacterWidth;
            constexpr int kLetters = (kStripLeft - kMargin - kIndent) / kCharacterWidth;
            DrawText(picture, kMargin + kIndent, y, NameOf(map).substr(0, kLetters));
            for (int x = 0; x < ZEV_ColorMap::kTableSize * kColourWidth; ++x) {
                const int level = x / kColourWidth;
                const KIT_Color colour =
                    map.IsDummy() ? KIT_Color(level * 0x010101) : map.TransformColor(level);
                for (int dy = 0; dy < kTextHeight; ++dy) {
                    std::uint8_t* pixel = picture.At(kStripLeft + x, y + dy);
                    pixel[0] = static_cast<std::uint8_t>(colour.m_Red);
                    pixel[1] = static_cast<std::uint8_t>(colour.m_Green);
                    pixel[2] = static_cast<std::uint8_t>(colour.m_Blue);
                }
            }
        }
    }
    return picture;
}

}  // namespace

void AddColorMapsCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string config, output;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("colormaps", "List the colour maps");
    command->add_flag("--json", options->json, "As one JSON list, with the colours");
    command->add_option("-o,--output", options->output, "PNG file: draw each as a strip");
    AddConfigOption(*command, options->config);
    command->callback([options, &run] {
        run = [options] {
            RefuseClashes({options->config}, {options->output});
            LoadConfiguration(options->config);
            RequireTree("colormaps");
            if (!options->output.empty()) WritePng(options->output, draw_maps());
            if (options->json) {
                PrintJson(options->output == "-" ? std::cerr : std::cout, describe_maps());
            } else if (options->output.empty()) {
                print_maps(std::cout);
            }
        };
    });
}
