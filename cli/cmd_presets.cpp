#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <refhost/Unicode.h>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "present/catalogue.h"
#include "present/presentation.h"

namespace {

using Json = nlohmann::ordered_json;

/// The sets as the library holds them: a place that has no preset is filled, and a number that is not given is -1.
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
                               {"min", preset.GetMin()},
                               {"max", preset.GetMax()},
                               {"center", preset.GetCenter()},
                               {"width", preset.GetWidth()},
                               {"units", refhost::ToUtf8(static_cast<const wchar_t*>(units))}});
        }
        procedures.push_back({{"procedure", refhost::ToUtf8(set.GetName())}, {"presets", presets}});
    }
    return procedures;
}

/// Only what can be chosen.
void print_presets(std::ostream& out) {
    for (int i = 0; i < Catalogue().NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset& set = *Catalogue().GetIthPreset(i);
        out << refhost::ToUtf8(set.GetName()) << "\n";
        for (int place = 0; place < set.NumOfPresets(); ++place) {
            const ZEV_PresetValue& preset = *set.GetValue(place);
            if (!HasEnds(preset) && !HasWindow(preset)) continue;
            out << "  " << NameColumn(preset.GetName());
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
        }
    }
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
    command->add_option("--config", options->config, "Configuration in place of the built-in one");
    command->callback([options, &run] {
        run = [options] {
            LoadConfiguration(options->config);
            if (options->json) {
                std::cout << describe_presets().dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
            } else {
                print_presets(std::cout);
            }
        };
    });
}
