#include <DICOM/Dicom_CS.h>
#include <HST/HST_AutoWindow.h>
#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_AutoWindowing.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <optional>
#include <vector>

#include "commands.h"
#include "io/dicom_tags.h"
#include "io/present_error.h"
#include "io/printable.h"
#include "options.h"
#include "output.h"
#include "present/presentation.h"

namespace {

Json window(int center, int width) { return {{"width", width}, {"center", center}}; }

Json calculator(OpenedImage& image, SPC_Modality::MODALITY modality, KIT_Rect rect) {
    int width = 0, center = 0;
    if (ZEV_AutoWindowing().Calc(&image.Raster(), &width, &center, &rect, modality) != 0) return nullptr;
    return window(center, width);
}

/// What opening would measure, over the whole image or a part of it.
Json host(OpenedImage& image, const std::optional<KIT_Rect>& rect) {
    if (!rect) {
        const std::optional<StoredWindow> measured = MeasureWindow(image);
        return measured ? window(measured->center, measured->width) : Json(nullptr);
    }
    refhost::MemoryRaster& raster = image.Raster();
    ZEV_Params& params = image.Params();
    const Dicom_CS modality(image.File().DataSet().Text(tag::kModality).c_str(), nullptr);
    const bool fullRange =
        params.ShouldUseFullRange() ||
        (image.Modality().GetModality() == SPC_Modality::MODALITY_CT && params.IsLocalizer());
    HST_AutoWindow measure;
    if (measure.AutoWindowing(raster.GetPixels(), rect->left, rect->top, rect->right, rect->bottom,
                              raster.m_Width, modality, params.GetPhotometricInverse(), raster.m_BitsPerPixel,
                              params.GetPixelPaddingValue(), params.GetPixelPaddingValueLimit(),
                              raster.m_bSigned, fullRange) != 0) {
        return nullptr;
    }
    return window(static_cast<int>(measure.m_Center), static_cast<int>(measure.m_Width));
}

void print_for_people(const Json& result, const std::string& path) {
    const auto line = [](const std::string& name, const Json& value) {
        std::cout << "  " << name << std::string(8 - name.size(), ' ');
        if (value.is_null()) {
            std::cout << "none\n";
        } else {
            std::cout << "centre " << value["center"] << ", width " << value["width"] << "\n";
        }
    };
    std::cout << Printable(path) << ", in stored pixel values\n";
    for (const auto& [name, value] : result["calculators"].items()) line(name, value);
    line("host", result["host"]);
}

}  // namespace

void AddAutoCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string input;
        bool json = false;
        std::vector<int> rect;
        PresentationOptions presentation;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("auto", "Show what automatic windowing measures");
    command->add_option("INPUT", options->input, "DICOM file")->required();
    command->add_flag("--json", options->json, "As one JSON object");
    command->add_option("--rect", options->rect, "x0,y0,x1,y1: the part to measure, x1 and y1 excluded")
        ->delimiter(',')
        ->expected(4);
    AddFrameOption(*command, options->presentation);
    AddConfigOption(*command, options->presentation.config);
    command->callback([options, &run] {
        run = [options] {
            LoadConfiguration(options->presentation.config);
            OpenedImage image(options->input, options->presentation);
            if (image.File().IsColour()) throw PresentError(options->input, "is in colour and has no window");
            std::optional<KIT_Rect> rect;
            if (!options->rect.empty()) {
                rect = KIT_Rect(options->rect[1], options->rect[0], options->rect[3], options->rect[2]);
            }
            const KIT_Rect region = rect.value_or(KIT_Rect());
            Json result;
            result["calculators"] = {{"CR", calculator(image, SPC_Modality::MODALITY_CR, region)},
                                     {"CT", calculator(image, SPC_Modality::MODALITY_CT, region)},
                                     {"MR", calculator(image, SPC_Modality::MODALITY_MR, region)},
                                     {"NM", calculator(image, SPC_Modality::MODALITY_NM, region)}};
            result["host"] = host(image, rect);
            if (options->json) {
                PrintJson(std::cout, result);
            } else {
                print_for_people(result, options->input);
            }
        };
    });
}
