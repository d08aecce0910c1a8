#include "description.h"

#include <ZEV/ZEV_ColorMap.h>

#include <refhost/Unicode.h>
#include <cmath>
#include <cstdio>

#include "io/dicom_tags.h"
#include "io/number.h"
#include "io/printable.h"
#include "io/real_world_values.h"

namespace {

/// The shortest number that reads back as this float, without the tail that widening would show.
double as_written(float value) { return ParseNumber(NumberText(value)).value_or(static_cast<double>(value)); }

const char* function_name(int code) {
    switch (code) {
        case Mapper_WindowingEntry::FUNCTION_SIGMOID:
            return "sigmoid";
        case Mapper_WindowingEntry::FUNCTION_TABLE:
            return "table";
        default:
            return "linear";
    }
}

Json entries(ZEV_Params& params) {
    Json list = Json::array();
    Mapper_WindowingManager* manager = params.GetVoiLutManager();
    if (manager == nullptr) return list;
    for (const Mapper_WindowingEntry* entry : manager->m_Entries) {
        const Dicom_LO explanation = entry->GetWindowingExplanation();
        list.push_back({{"function", function_name(entry->m_FunctionCode)},
                        {"explanation", refhost::ToUtf8(explanation.GetText(0).c_str())},
                        {"center", entry->GetCenter()},
                        {"width", entry->GetWidth()}});
    }
    return list;
}

Json colour_map(ZEV_Params& params) {
    const ZEV_ColorMap* map = params.GetColorMap();
    if (map == nullptr) return nullptr;
    const _bstr_t uid = map->GetUID();
    return {{"name", refhost::ToUtf8(map->GetName())},
            {"uid", refhost::ToUtf8(static_cast<const wchar_t*>(uid))},
            {"dummy", map->IsDummy()}};
}

Json number_or_null(bool exists, int value) { return exists ? Json(value) : Json(nullptr); }

Json text_or_null(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json spacing(const DicomDataSet& set) {
    for (const std::uint32_t tag : {tag::kPixelSpacing, tag::kImagerPixelSpacing}) {
        const std::string text = set.Text(tag);
        const std::size_t separator = text.find('\\');
        if (separator == std::string::npos) continue;
        const auto row = ParseNumber(Trimmed(text.substr(0, separator)));
        const auto column = ParseNumber(Trimmed(text.substr(separator + 1)));
        if (row && column) return {*row, *column};
    }
    return nullptr;
}

bool has_overlays(const DicomDataSet& set) {
    for (unsigned group = 0x6000; group <= 0x601E; group += 2) {
        if (set.Has(DicomTag(group, 0x0010))) return true;
    }
    return false;
}

Json real_world_values(const DicomDataSet& set) {
    Json list = Json::array();
    for (const RealWorldMapping& mapping : ReadRealWorldMappings(set)) {
        const bool isLinear = mapping.table.empty();
        list.push_back({{"label", text_or_null(mapping.label)},
                        {"explanation", text_or_null(mapping.explanation)},
                        {"units", text_or_null(mapping.unitsCode)},
                        {"unitsMeaning", text_or_null(mapping.unitsMeaning)},
                        {"first", mapping.first},
                        {"last", mapping.last},
                        {"slope", isLinear ? Json(mapping.slope) : Json(nullptr)},
                        {"intercept", isLinear ? Json(mapping.intercept) : Json(nullptr)}});
    }
    return list;
}

Json overlay_planes(const DicomFile& file) {
    Json list = Json::array();
    for (const OverlayPlane& plane : file.Overlays()) {
        char group[8];
        std::snprintf(group, sizeof group, "%04X", plane.group);
        list.push_back({{"group", group},
                        {"rows", plane.rows},
                        {"columns", plane.columns},
                        {"origin", {plane.top + 1, plane.left + 1}},
                        {"type", text_or_null(plane.type)},
                        {"label", text_or_null(plane.label)},
                        {"description", text_or_null(plane.description)},
                        {"embedded", plane.isEmbedded}});
    }
    return list;
}

Json applied_state(const OpenedImage& image) {
    const PresentationState* const state = image.State();
    if (state == nullptr) return nullptr;
    return {{"file", state->path},
            {"sopInstanceUid", text_or_null(state->set.Text(tag::kSopInstance))},
            {"label", text_or_null(state->Label())},
            {"description", text_or_null(state->set.Text(tag::kContentDescription))},
            {"created", text_or_null(state->Created())}};
}

void describe_file(const OpenedImage& image, Json& info) {
    const DicomFile& file = image.File();
    const DicomDataSet& set = file.DataSet();
    info["file"] = file.Path();
    info["sopInstanceUid"] = text_or_null(set.Text(tag::kSopInstance));
    info["transferSyntax"] = file.TransferSyntax();
    info["photometricInterpretation"] = text_or_null(set.Text(tag::kPhotometricInterpretation));
    info["colour"] = file.IsColour();
    info["rows"] = file.Rows();
    info["columns"] = file.Columns();
    info["frames"] = file.Frames();
    info["frame"] = file.Frame();
    info["pixelSpacing"] = spacing(set);
    info["overlays"] = has_overlays(set);
    info["presentationStates"] = set.Has(tag::kReferencedPresentationStates);
    info["palettes"] = set.Has(tag::kPaletteDescriptor);
    info["supplementalPalette"] = file.Supplement().has_value();
    info["overlayPlanes"] = overlay_planes(file);
    info["realWorldValues"] = real_world_values(file.OwnDataSet());
    info["presentationState"] = applied_state(image);
}

void describe_window(OpenedImage& image, Json& info) {
    ZEV_Params& params = image.Params();
    info["center"] = params.GetCenter();
    info["width"] = params.GetWidth();
    info["windowMin"] = params.GetWindowMin();
    info["windowMax"] = params.GetWindowMax();
    info["windowMinScale"] = params.GetWindowMinScale();
    info["windowMaxScale"] = params.GetWindowMaxScale();
    info["gamma"] = as_written(params.GetGamma());
    info["inverse"] = params.IsInverse();
    info["visibleInverse"] = params.GetVisibleInverse();
    info["photometricInverse"] = params.GetPhotometricInverse();
    info["rescaleSlope"] = as_written(params.GetRescaleSlope());
    info["rescaleIntercept"] = params.GetRescaleIntercept();
    info["units"] = text_or_null(image.UnitsText());
    const bool hasPadding = params.GetPixelPaddingValue() != ZEV_Params::kNoPadding;
    info["paddingValue"] = number_or_null(hasPadding, params.GetPixelPaddingValue());
    info["paddingLimit"] = number_or_null(hasPadding, params.GetPixelPaddingValueLimit());
    info["usePadding"] = params.GetUsePadding();
    info["minMaxScaleMode"] = params.GetMinMaxScaleMode();
    info["voiLutSelection"] = number_or_null(params.GetVoiLutSelection() >= 0, params.GetVoiLutSelection());
    info["voiLutEntries"] = entries(params);
    info["colorMap"] = colour_map(params);
    info["localizer"] = params.IsLocalizer();
    info["bitsPerPixel"] = image.Raster().m_BitsPerPixel;
    info["signed"] = image.Raster().m_bSigned;
    info["modalityLut"] = !image.File().IsAsStored() && !image.File().IsReduced();
    info["storedRange"] = RangeOf(image.File().StoredRange());
    info["modalityRange"] = RangeOf(image.ModalityRange());
    info["windowSource"] = NameOf(image.GetWindowSource());
    info["windowUnits"] = image.InStoredValues() ? "stored" : "modality";
    if (image.InStoredValues()) {
        info["modalityCenter"] = image.ModalityCenter();
        info["modalityWidth"] = image.ModalityWidth();
    }
    info["preset"] = image.Preset() ? Json(*image.Preset()) : Json(nullptr);
}

Json json_of(const Explanation& explanation, bool isPoint) {
    Json object;
    if (isPoint) object["at"] = {explanation.point.x, explanation.point.y};
    object["steps"] = Json::array();
    for (const ExplainedStep& step : explanation.steps) {
        object["steps"].push_back({{"step", step.name},
                                   {"text", step.text},
                                   {"value", step.value ? Json(*step.value) : Json(nullptr)},
                                   {"attributes", step.attributes}});
    }
    if (isPoint) {
        char colour[8] = "";
        if (explanation.display) std::snprintf(colour, sizeof colour, "#%06X", *explanation.display);
        object["display"] = explanation.display ? Json(colour) : Json(nullptr);
    }
    return object;
}

}  // namespace

Json DescribeImage(OpenedImage& image) {
    Json info;
    describe_file(image, info);
    info["modality"] = refhost::ToUtf8(image.Modality().GetModalityName());
    if (!image.File().IsColour()) describe_window(image, info);
    info["notes"] = Json::array();
    for (const Note& note : image.Notes())
        info["notes"].push_back({{"code", note.code}, {"text", note.text}});
    return info;
}

Json DescribeValues(OpenedImage& image) {
    Json list = Json::array();
    const auto add = [&list](const std::string& name, const std::string& units, double slope,
                             double intercept) -> Json& {
        list.push_back({{"name", name},
                        {"units", units},
                        {"slope", slope},
                        {"intercept", intercept},
                        {"first", nullptr},
                        {"last", nullptr},
                        {"table", nullptr}});
        return list.back();
    };
    const Rescale& rescale = image.GetRescale();
    add("modality", image.UnitsText(), rescale.slope, rescale.intercept);
    if (const std::optional<double> one = image.OneSuv())
        add("SUV by body weight", "SUV", rescale.slope / *one, rescale.intercept / *one);
    // They are of stored values: the data set has none where the pixel values are others.
    for (const RealWorldMapping& mapping : ReadRealWorldMappings(image.File().DataSet())) {
        if (!std::isfinite(mapping.slope) || !std::isfinite(mapping.intercept)) continue;
        Json& value = add(mapping.label.empty() ? mapping.explanation : mapping.label, mapping.unitsCode,
                          mapping.slope, mapping.intercept);
        value["first"] = mapping.first;
        value["last"] = mapping.last;
        if (!mapping.table.empty()) value["table"] = mapping.table;
    }
    return {{"stored", image.File().IsAsStored()}, {"list", std::move(list)}};
}

Json DescribeExplanations(const std::vector<Explanation>& explanations) {
    Json result;
    result["image"] = json_of(explanations.front(), false)["steps"];
    result["points"] = Json::array();
    for (std::size_t i = 1; i < explanations.size(); ++i)
        result["points"].push_back(json_of(explanations[i], true));
    return result;
}
