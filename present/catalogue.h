#pragma once

#include <ZEV/ZEV_Presets.h>

#include <functional>
#include <string>
#include <vector>

class ZEV_ColorMap;
class ZEV_PresetValue;

/// The configured presets and colour maps, read when the configuration is loaded and kept for the process:
/// default maps and saved UIDs are looked up among them, and parameter objects point at them.
ZEV_Presets& Catalogue();

/// Reads the catalogue from the configuration in use. One that lacks its trees leaves it empty; a
/// configuration that cannot be read raises _com_error. The colour maps of the first reading stay.
void ReadCatalogue();

/// Throws UsageError, with the configuration's name and what is wrong, unless it has a sound tree of that
/// name ("windowing" for presets, "colormaps"). Opening an image takes a missing tree for an empty one.
void RequireTree(const std::string& name);

/// Every preset that has a window, in the configuration's order, with the name of its procedure.
void ForEachPreset(const std::function<void(const std::string& procedure, const ZEV_PresetValue&)>& visit);
/// Every colour map, in the configuration's order.
void ForEachColourMap(const std::function<void(const std::string& procedure, ZEV_ColorMap&)>& visit);

/// The map with that UID, of several the last, as for an image's default map; else the first of that name
/// among the modality's maps, else among all. Names match without regard to case. Throws UsageError, with the
/// nearest name, when there is none.
ZEV_ColorMap& FindColourMap(const std::string& uidOrName, const std::string& modality);

/// The first preset of that name with a complete window among the modality's presets; "CT/Brain" names one of
/// another modality. Names match without regard to case. Throws UsageError with the nearest name, or with
/// those that fit the modality when the preset belongs to another.
const ZEV_PresetValue& FindPreset(const std::string& name, const std::string& modality);

/// Both ends are given, or else both centre and width; a number that is not given is -1.
bool HasEnds(const ZEV_PresetValue& preset);
bool HasWindow(const ZEV_PresetValue& preset);

/// The name of a preset or a colour map as UTF-8. Null is empty.
std::string NameOf(const ZEV_PresetValue& preset);
std::string NameOf(const ZEV_ColorMap& map);
std::string UidOf(const ZEV_ColorMap& map);

/// Text equality without regard to the case of A to Z.
bool SameName(const std::string& a, const std::string& b);
/// The end of an error message about a mistyped word: "; did you mean '...'?" with the candidate nearest by
/// edit distance, or "; " and `otherwise` when none is near.
std::string Suggestion(const std::string& word, const std::vector<std::string>& candidates,
                       const std::string& otherwise);
