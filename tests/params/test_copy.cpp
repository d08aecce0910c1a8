#include <KIT/KIT_DDPInfo.h>

#include "support.h"

namespace {

using support::Message;

/// Opens a protected operation.
struct Open : ZEV_Params {
    using ZEV_Params::RecordDDPInfo;
};

/// Every value that a way of copying may take over, as text, so that two objects compare at a glance.
std::string state(ZEV_Params& p) {
    std::string s;
    const auto add = [&s](const char* name, double value) {
        (s += name) += "=" + std::to_string(value) + " ";
    };
    const auto held = [&add](const char* name, const void* pointer) {
        add(name, static_cast<double>(reinterpret_cast<std::uintptr_t>(pointer)));
    };
    add("active", p.GetActive()), add("negate", p.GetNegate()), add("tableCC", p.GetTableCC());
    add("maskCC", p.GetMaskCC()), add("center", p.GetCenter()), add("width", p.GetWidth());
    add("min", p.GetWindowMin()), add("max", p.GetWindowMax()), add("minScale", p.GetWindowMinScale());
    add("maxScale", p.GetWindowMaxScale()), add("center0", p.GetInitialCenter()), add("gamma", p.GetGamma());
    add("inverse", p.IsInverse()), add("intercept", p.GetRescaleIntercept());
    add("slope", p.GetRescaleSlope()), add("rescaled", p.IsRescaleInitialized()),
        add("byDicom", p.GetFlagValuesByDicom());
    add("padding", p.GetPixelPaddingValue()), add("limit", p.GetPixelPaddingValueLimit());
    add("usePadding", p.GetUsePadding()), add("localizer", p.IsLocalizer());
    add("inverseCC", p.GetInverseChangeCounter().GetCount()), add("photometric", p.GetPhotometricInverse());
    add("allTypes", p.GetChangeColorMapsOnAllDSTypes()), add("minMaxMode", p.GetMinMaxScaleMode());
    add("useRescale", p.GetUseRescale()), add("windowByUser", p.GetWindowingChangedByUser());
    add("mapByUser", p.GetColormapChangedByUser()), add("minData", p.GetMinDataValue());
    add("maxData", p.GetMaxDataValue()), add("originals", p.IsOriginalParamFromDP());
    held("pval", p.GetMapperPvLut().get());
    held("raster", p.GetReferenceRaster());
    held("map", p.GetColorMap());
    held("dicomMap", p.GetDicomColorMap());
    held("msg", p.GetLastUpdatedMsg());
    add("width0", p.GetInitialWidth()), add("gamma0", p.GetInitialGamma()), add("range", p.GetPixelRange());
    add("inits", p.IsCenterInitialized() + 2 * p.IsWidthInitialized() + 4 * p.IsGammaInitialized());
    DDPInfoVector record;
    (p.*&Open::RecordDDPInfo)(record, 1);
    for (KIT_DDPInfo* info : record.GetParamsValues()) {
        // The selected entry is not copied by every way.
        const _bstr_t tag(info->m_TagName.data()), value(info->m_Value.data());
        if (tag != _bstr_t(L"MIREL_SELECTED_WINDOWING")) s += static_cast<const char*>(value);
    }
    return s;
}

/// What shows only after a reset: the saved presentation's map, the default entry.
std::string state_after_reset(ZEV_Params& p) {
    p.ResetExceptRaster(true, true);
    p.SetTableCC(0);
    return state(p) + std::to_string(p.GetVoiLutSelection());
}

/// Every member away from its default.
struct Changed {
    Changed() {
        msg.Image(4, 4).Window("40\\-600", "400\\1600").Text(0x00281055, "LO", "SOFT\\LUNG");
        params.SetVoiLutManager(new Mapper_WindowingManager(&msg));
        params.GetVoiLutManager()->Init();
        params.SetVoiLutSelection(1, true);
        params.SetMapperPvLut(new Mapper_Pval(&msg));
        params.SetActive(false), params.SetNegate(true);
        params.InitCenter(10), params.InitWidth(20), params.SetCenter(77), params.SetWidth(88);
        params.InitGamma(1.5f), params.SetGamma(2.5f), params.InitInverse(false), params.SetInverse(true);
        params.SetRescaleIntercept(-1000), params.SetRescaleSlope(2.0f), params.SetFlagValuesByDicom(true);
        params.SetPixelPaddingValues(3, 9), params.SetUsePadding(true), params.SetIsLocalizer();
        params.SetPhotometricInverse(true), params.SetHighlight(5, 6);
        params.SetReferenceRaster(&raster, false), params.SetLastUpdatedMsg(&msg);
        raster.Bytes()[2] = 9, params.CalcPixelRange(nullptr, 0, 6);
        params.AddDicomColorMap(new ZEV_ColorMap), params.SetDPColorMap(&savedMap);
        params.SetColorMap(&map);
        params.SetChangeColorMapsOnAllDSTypes(true), params.SetMinMaxScaleMode(true);
        params.SetUseRescale(false);
        params.SetWindowingChangedByUser(true), params.SetColormapChangedByUser(true);
        params.SetMinDataValue(1.5f), params.SetMaxDataValue(2.5f);
        params.SetOriginalCenterFromDP(1), params.SetOriginalWidthFromDP(2);
        params.SetOriginalInverseFromDP(true);
        KIT_Rect rect(1, 2, 3, 4);
        params.SetOutputRect(rect);
        params.SetOriginal(false);
    }
    Message msg;
    refhost::MemoryRaster raster{6, 1, 16, false};
    ZEV_ColorMap map, savedMap;
    ZEV_Params params;
};

bool highlighted(ZEV_Params& p) {
    int a, b;
    return p.GetHighlight(&a, &b);
}
KIT_Rect rect_of(ZEV_Params& p) {
    KIT_Rect rect;
    p.GetOutputRect(rect);
    return rect;
}

TEST(Copy, AssignmentKeepsTheWindowThoughAnEntryIsSelected) {
    Changed source;
    ZEV_Params target;
    target.SetHighlight(1, 1);
    target = source.params;
    EXPECT_EQ(target.GetVoiLutSelection(), 1);
    EXPECT_EQ(target.GetVoiLutManager(), source.params.GetVoiLutManager());
    EXPECT_FALSE(highlighted(target));
    EXPECT_FALSE(target.GetOriginal());
    EXPECT_EQ(target.GetCount(), source.params.GetCount());
    EXPECT_EQ(rect_of(target), KIT_Rect());
    // Running the selection marks the copy's table; every value is the source's.
    target.SetTableCC(source.params.GetTableCC());
    EXPECT_EQ(state(target), state(source.params));
    EXPECT_EQ(state_after_reset(target), state_after_reset(source.params));
}

TEST(Copy, CopyConstructorTakesTheEntrysWindow) {
    Changed source;
    ZEV_Params copy(source.params);
    EXPECT_EQ(copy.GetCenter(), -600);
    EXPECT_EQ(copy.GetWidth(), 1600);
    EXPECT_EQ(copy.GetInitialCenter(), 10);
    EXPECT_EQ(copy.GetVoiLutSelection(), 1);
    EXPECT_EQ(copy.GetGamma(), 2.5f);
    EXPECT_EQ(rect_of(copy), KIT_Rect());
    EXPECT_FALSE(highlighted(copy));
    EXPECT_GT(copy.GetTableCC(), source.params.GetTableCC());
}

TEST(Copy, SetDataLeavesTheVoiMembersAndMarks) {
    Changed source;
    ZEV_Params target;
    target.SetHighlight(1, 1);
    target.SetData(source.params);
    EXPECT_EQ(target.GetVoiLutManager(), nullptr);
    EXPECT_EQ(target.GetVoiLutSelection(), -1);
    EXPECT_TRUE(highlighted(target));
    EXPECT_TRUE(target.GetOriginal());
    EXPECT_EQ(target.GetTableCC(), source.params.GetTableCC() + 1);
    target.SetTableCC(source.params.GetTableCC());
    EXPECT_EQ(state(target), state(source.params));
}

TEST(Copy, CloneCopiesNothing) {
    Changed source;
    const std::unique_ptr<KIT_BaseParams> clone(source.params.Clone());
    ZEV_Params fresh;
    EXPECT_EQ(state(static_cast<ZEV_Params&>(*clone)), state(fresh));
    EXPECT_STREQ(clone->GetName(), "ZEV_Params");
    EXPECT_EQ(fresh.GetTableCC(), 3);
}

TEST(Copy, AnImagesColorMapIsDeletedOnceAndLivesAsLongAsItsOwner) {
    ZEV_Params owner;
    ZEV_ColorMap* const first = new ZEV_ColorMap;
    owner.AddDicomColorMap(first);
    {
        ZEV_Params copy(owner);
        EXPECT_EQ(copy.GetColorMap(), first);
        // A second map does not pull the first from under the copy.
        owner.AddDicomColorMap(new ZEV_ColorMap);
        EXPECT_EQ(copy.GetDicomColorMap()->GetCustomButtonId(), -1);
    }
    // The first comes back: still one deletion.
    owner.AddDicomColorMap(first);
    ZEV_ColorMap saved;
    owner.SetDPColorMap(&saved);
    owner.SetColorMap(nullptr);
    owner.AddDicomColorMap(owner.GetDicomColorMap());
    EXPECT_EQ(owner.GetColorMap(), nullptr);
    owner.Reset();
    EXPECT_EQ(owner.GetColorMap(), &saved);
    owner.SetDPColorMap(nullptr);
    owner.Reset();
    EXPECT_EQ(owner.GetColorMap(), owner.GetDicomColorMap());
}

TEST(Copy, SharedPointersAreFreedByTheLastHolder) {
    auto first = std::make_unique<Changed>();
    auto copy = std::make_unique<ZEV_Params>();
    *copy = first->params;
    Mapper_Pval* const shared = copy->GetMapperPvLut().get();
    copy->CopyMyPval();
    EXPECT_NE(copy->GetMapperPvLut().get(), shared);
    // Held already: neither pointer may gain a second owner.
    copy->SetMapperPvLut(copy->GetMapperPvLut().get());
    copy->SetVoiLutManager(copy->GetVoiLutManager());
    copy->SetReferenceRaster(new refhost::MemoryRaster, true);
    ZEV_Params third(*copy);
    EXPECT_NE(third.GetReferenceRaster(), &first->raster);
    EXPECT_EQ(third.GetReferenceRaster(), copy->GetReferenceRaster());
    first.reset();
    copy.reset();
    EXPECT_EQ(third.GetVoiLutEntryCount(), 2u);
}

}  // namespace
