#pragma once

#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_Presets.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>
#include <gtest/gtest.h>
#include <refhost/Config.h>

#include <string>

#include "support.h"

/// A configuration of named trees for the duration of a test, which starts and ends without colour maps.
class PresetsTest : public testing::Test {
protected:
    PresetsTest() { forget_color_maps(); }
    ~PresetsTest() override {
        forget_color_maps();
        refhost::FailConfigReads(S_OK);
        refhost::FailConfigCreation(S_OK);
        refhost::UseBuiltinConfig();
    }
    static void forget_color_maps() { ZEV_ProcedureColorMapsList::GetInstance()->clearAndDestroy(); }
    static void Trees(const std::string& trees) {
        refhost::LoadConfigText("{\"trees\": {" + trees + "}}", "test");
    }

    static std::string Describe(ZEV_ProcedurePreset& set) {
        std::string text;
        for (int i = 0; i < set.NumOfPresets(); ++i) {
            ZEV_PresetValue& v = *set.GetValue(i);
            text += static_cast<const char*>(_bstr_t(v.GetName()));
            for (int n :
                 {v.GetMin(), v.GetMax(), v.GetCenter(), v.GetWidth(), static_cast<int>(v.GetUnits())}) {
                text += " " + std::to_string(n);
            }
            text += "; ";
        }
        return text;
    }
};
