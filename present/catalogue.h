#pragma once

#include <ZEV/ZEV_Presets.h>

#include <string>

class ZEV_ColorMap;
class ZEV_PresetValue;

/// The configured presets and colour maps, read when the configuration is loaded and kept for the process: default maps and
/// saved UIDs are looked for among them, and parameter objects point at them.
ZEV_Presets& Catalogue();

/// Reads the catalogue from the configuration in use. One that lacks its trees leaves it empty; a configuration that cannot
/// be read raises _com_error. The colour maps of the first reading stay.
void ReadCatalogue();

/// The map with that UID, of several the last, as images find theirs; else the first of that name among the modality's maps,
/// else among all. Throws UsageError when there is none.
ZEV_ColorMap& FindColourMap(const std::string& uidOrName, const wchar_t* modality);

/// The first preset of that name with a complete window among the modality's presets, else among all. Throws UsageError when
/// there is none.
const ZEV_PresetValue& FindPreset(const std::string& name, const wchar_t* modality);

/// Both ends are given, or else both centre and width; a number that is not given is -1.
bool HasEnds(const ZEV_PresetValue& preset);
bool HasWindow(const ZEV_PresetValue& preset);

/// A name as UTF-8 with blanks behind it, for the first column of a list. Null is empty.
std::string NameColumn(const wchar_t* name);
