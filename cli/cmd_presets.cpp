#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <refhost/Unicode.h>
#include <iostream>
#include <memory>

#include "commands.h"
#include "io/printable.h"
#include "options.h"
#include "output.h"
#include "present/catalogue.h"
#include "present/presentation.h"

namespace {

Json number_or_null(int value) { return value == ZEV_PresetValue::kNotGiven ? Json(nullptr) : Json(value); }

/// The sets as the library holds them: a place without a preset is filled.
Json describe_presets() {
    Json procedures = Json::array();
    for (int i = 0; i < Catalogue().NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset& set = *Catalogue().GetIthPreset(i);
        Json presets = Json::array();
        for (int place = 0; place < set.NumOfPresets(); ++place) {
            const ZEV_PresetValue& preset = *set.GetValue(place);
            const _bstr_t units = ZEV_WindowingUnits::ConvertToString(preset.GetUnits());
            presets.push_back({{"place", place},
                               {"name", refhost::ToUtf8(preset.GetName())},
                               {"min", number_or_null(preset.GetMin())},
                               {"max", number_or_null(preset.GetMax())},
                               {"center", number_or_null(preset.GetCenter())},
                               {"width", number_or_null(preset.GetWidth())},
                               {"units", refhost::ToUtf8(static_cast<const wchar_t*>(units))}});
        }
        procedures.push_back({{"procedure", refhost::ToUtf8(set.GetName())}, {"presets", presets}});
    }
    return procedures;
}

/// Only what can be chosen.
void print_presets(std::ostream& out) {
    std::string shown;
    ForEachPreset([&](const std::string& procedure, const ZEV_PresetValue& preset) {
        if (procedure != shown) out << Printable(procedure) << "\n";
        shown = procedure;
        out << "  " << NameColumn(NameOf(preset));
        if (HasEnds(preset)) {
            out << preset.GetMin() << " to " << preset.GetMax();
        } else {
            out << "centre " << preset.GetCenter() << ", width " << preset.GetWidth();
        }
        if (preset.GetUnits() > ZEV_WindowingUnits::UNITS_RAW) {
            const _bstr_t units = ZEV_WindowingUnits::ConvertToString(preset.GetUnits());
            out << " " << refhost::ToUtf8(static_cast<const wchar_t*>(units));
        }
        out << "\n";
    });
}

}  // namespace

void AddPresetsCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string config;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("presets", "List the windowing presets");
    command->add_flag("--json", options->json, "As one JSON list");
    AddConfigOption(*command, options->config);
    command->callback([options, &run] {
        run = [options] {
            LoadConfiguration(options->config);
            RequireTree("windowing");
            if (options->json) {
                PrintJson(std::cout, describe_presets());
            } else {
                print_presets(std::cout);
            }
        };
    });
}
