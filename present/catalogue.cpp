#include "catalogue.h"

#include <ZEV/ZEV_ColorMap.h>
#include <ZEV/ZEV_PresetValue.h>
#include <ZEV/ZEV_ProcedureColorMaps.h>
#include <ZEV/ZEV_ProcedurePreset.h>

#include <refhost/Config.h>
#include <refhost/Unicode.h>
#include <algorithm>

#include "io/present_error.h"

namespace {

constexpr int kNotGiven = -1;

std::string lower(std::string text) {
    for (char& sign : text) {
        if (sign >= 'A' && sign <= 'Z') sign = static_cast<char>(sign - 'A' + 'a');
    }
    return text;
}

/// Insertions, deletions, replacements and exchanges of neighbours.
std::size_t edit_distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                d[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            d[i][j] = std::min({replaced, d[i - 1][j] + 1, d[i][j - 1] + 1});
            const bool isExchange = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isExchange) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    }
    return d[a.size()][b.size()];
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "'" : ", '") + name + "'";
    return text;
}

}  // namespace

ZEV_Presets& Catalogue() {
    static ZEV_Presets s_Presets;
    return s_Presets;
}

void RequireTree(const std::string& name) try {
    refhost::RequireConfigTree(name);
} catch (const refhost::ConfigError& error) {
    throw UsageError(error.what());
}

void ReadCatalogue() { Catalogue().Init(L"windowing"); }

void ForEachPreset(const std::function<void(const std::string&, const ZEV_PresetValue&)>& visit) {
    for (int i = 0; i < Catalogue().NumOfPresetLists(); ++i) {
        ZEV_ProcedurePreset& set = *Catalogue().GetIthPreset(i);
        for (int k = 0; k < set.NumOfPresets(); ++k) {
            const ZEV_PresetValue& preset = *set.GetValue(k);
            if (HasEnds(preset) || HasWindow(preset)) visit(refhost::ToUtf8(set.GetName()), preset);
        }
    }
}

void ForEachColourMap(const std::function<void(const std::string&, ZEV_ColorMap&)>& visit) {
    for (int i = 0; i < Catalogue().NumOfColorMaps(); ++i) {
        ZEV_ProcedureColorMaps& set = *Catalogue().GetIthColorMap(i);
        for (int k = 0; k < set.NumOfColorMaps(); ++k)
            visit(refhost::ToUtf8(set.GetName()), *set.GetColorMap(k));
    }
}

ZEV_ColorMap& FindColourMap(const std::string& uidOrName, const std::string& modality) {
    ZEV_ColorMap *byUid = nullptr, *ofModality = nullptr, *ofAny = nullptr;
    std::vector<std::string> names;
    ForEachColourMap([&](const std::string& procedure, ZEV_ColorMap& map) {
        names.push_back(NameOf(map));
        if (!uidOrName.empty() && UidOf(map) == uidOrName) byUid = &map;
        if (!SameName(names.back(), uidOrName)) return;
        if (ofAny == nullptr) ofAny = &map;
        if (ofModality == nullptr && procedure == modality) ofModality = &map;
    });
    for (ZEV_ColorMap* found : {byUid, ofModality, ofAny}) {
        if (found != nullptr) return *found;
    }
    RequireTree("colormaps");
    throw UsageError("no colour map '" + uidOrName + "'" +
                     Suggestion(uidOrName, names, "zev colormaps lists them"));
}

const ZEV_PresetValue& FindPreset(const std::string& name, const std::string& modality) {
    const ZEV_PresetValue *own = nullptr, *forced = nullptr;
    std::vector<std::string> fitting, elsewhere, others;
    ForEachPreset([&](const std::string& procedure, const ZEV_PresetValue& preset) {
        const std::string itsName = NameOf(preset), fullName = procedure + "/" + itsName;
        if (forced == nullptr && SameName(fullName, name)) forced = &preset;
        (procedure == modality ? fitting : others).push_back(itsName);
        others.push_back(fullName);
        if (!SameName(itsName, name)) return;
        if (procedure != modality) {
            elsewhere.push_back(fullName);
        } else if (own == nullptr) {
            own = &preset;
        }
    });
    if (own != nullptr) return *own;
    if (forced != nullptr) return *forced;
    if (!elsewhere.empty()) {
        throw UsageError("preset '" + name + "' is not one of " + modality + "; '" + elsewhere.front() +
                         "' applies it all the same; " +
                         (fitting.empty() ? modality + " has no presets"
                                          : "those of " + modality + " are " + joined(fitting)));
    }
    RequireTree("windowing");
    fitting.insert(fitting.end(), others.begin(), others.end());
    throw UsageError("no preset '" + name + "'" + Suggestion(name, fitting, "zev presets lists them"));
}

bool HasEnds(const ZEV_PresetValue& preset) {
    return preset.GetMin() != kNotGiven && preset.GetMax() != kNotGiven;
}
bool HasWindow(const ZEV_PresetValue& preset) {
    return preset.GetCenter() != kNotGiven && preset.GetWidth() != kNotGiven;
}

std::string NameOf(const ZEV_PresetValue& preset) { return refhost::ToUtf8(preset.GetName()); }
std::string NameOf(const ZEV_ColorMap& map) { return refhost::ToUtf8(map.GetName()); }
std::string UidOf(const ZEV_ColorMap& map) {
    const _bstr_t uid = map.GetUID();
    return refhost::ToUtf8(static_cast<const wchar_t*>(uid));
}

bool SameName(const std::string& a, const std::string& b) { return lower(a) == lower(b); }

std::string Suggestion(const std::string& word, const std::vector<std::string>& candidates,
                       const std::string& otherwise) {
    // One slip in three letters is a slip; more is another word. A pasted text is not a word at all.
    constexpr std::size_t kLongestWord = 64;
    if (word.size() > kLongestWord) return "; " + otherwise;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    std::string nearest;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = edit_distance(lower(word), lower(candidate));
        if (distance < least) least = distance, nearest = candidate;
    }
    return "; " + (nearest.empty() ? otherwise : "did you mean '" + nearest + "'?");
}
