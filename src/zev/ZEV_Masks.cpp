#include <KIT/KIT_BaseParamsVec.h>
#include <KIT/KIT_PolygonMask.h>
#include <KIT/KIT_Raster.h>
#include <SPC/SPC_SpaceInfo.h>
#include <ZEV/ZEV_MaskableParam.h>
#include <ZEV/ZEV_Masks.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "zev_log.h"
#include "zev_mask_items.h"

ZEV_Masks::ZEV_Masks() { SetName("ZEV_Masks"); }

ZEV_Masks::ZEV_Masks(const ZEV_Masks& other) : KIT_BaseParams(other), m_bDynamicMask(other.m_bDynamicMask) {
    SetName("ZEV_Masks");
}

ZEV_Masks::~ZEV_Masks() {
    for (BaseItem* item : m_Items) delete item;
}

KIT_BaseParams& ZEV_Masks::operator=(const KIT_BaseParams& other) {
    copy_data(static_cast<const ZEV_Masks&>(other));
    return KIT_BaseParams::operator=(other);
}

ZEV_Masks& ZEV_Masks::operator=(const ZEV_Masks& other) {
    *this = static_cast<const KIT_BaseParams&>(other);
    return *this;
}

void ZEV_Masks::SetData(const KIT_BaseParams& other) {
    copy_data(static_cast<const ZEV_Masks&>(other));
    MarkChange();
}

void ZEV_Masks::Freeze() {
    if (m_pLiveParams != nullptr) copy_data(*static_cast<const ZEV_Masks*>(m_pLiveParams));
}

KIT_BaseParams* ZEV_Masks::Clone() { return new ZEV_Masks; }

void ZEV_Masks::copy_data(const ZEV_Masks& other) { m_bDynamicMask = other.m_bDynamicMask; }

void ZEV_Masks::UpdateMaskFromParam(std::string name, ZEV_MaskableParam* param, KIT_Mask* mask, bool atFront,
                                    bool ownsMask, bool dynamic) {
    const char* const function = "ZEV_Masks::UpdateMaskFromParam";
    if (m_pLiveParams == nullptr) {
        ZEV_LOG(function, zev::kLogError, "The masks parameter is not meant to be used in the UI side\n");
        return;
    }
    if (param == nullptr) {
        ZEV_LOG(function, zev::kLogError, "UpdateMaskFromParam was called with no parameter\n");
        return;
    }
    m_bDynamicMask = dynamic;

    BaseItem* found = nullptr;
    for (BaseItem* item : m_Items) {
        if (item->GetName() == name) {
            found = item;
            break;
        }
    }
    if (found == nullptr) {
        add_item(std::move(name), param, mask, atFront, ownsMask);
        return;
    }
    // The item's own mask that comes again under another parameter; deleted if it is not taken again.
    std::unique_ptr<KIT_Mask> given;
    if (found->GetParam() != param) {
        // The table goes: no run may keep it.
        if (mask != nullptr && found->GetMask() == mask && found->GiveMaskBack()) given.reset(mask);
        m_CombinedMask.Clear();
        found->Rebind(param, std::move(name));
    }
    if (found->GetMask() == nullptr || found->GetMaskCC().GetCount() != param->GetMaskCC()) {
        found->SetMask(mask, KIT_ChangeCounter(param->GetMaskCC()), ownsMask || given != nullptr);
        if (found->GetMask() == mask) static_cast<void>(given.release());
    }
}

void ZEV_Masks::add_item(std::string name, ZEV_MaskableParam* param, KIT_Mask* mask, bool atFront,
                         bool ownsMask) {
    auto* const polygon = dynamic_cast<KIT_PolygonMask*>(mask);
    auto* const lines = dynamic_cast<KIT_LinesMask*>(mask);
    if (mask != nullptr && polygon == nullptr && lines == nullptr) return;
    // From here on an owned mask is deleted by somebody, also when memory runs out.
    std::unique_ptr<KIT_Mask> owned(ownsMask ? mask : nullptr);
    std::list<BaseItem*> node(1, nullptr);
    if (mask == nullptr || polygon != nullptr) {
        node.front() = new PolygonItem(std::move(name), param, polygon, ownsMask);
    } else {
        node.front() = new LineItem(std::move(name), param, lines, ownsMask);
    }
    static_cast<void>(owned.release());
    m_Items.splice(atFront ? m_Items.begin() : m_Items.end(), node);
}

void ZEV_Masks::UpdateMasks(ZEV_TableParams tableParams) {
    build_tables(tableParams);
    zoom_masks_and_convert_to_lines(tableParams.m_pParamsVec, tableParams.m_OutputRect);
    combine_masks();
}

void ZEV_Masks::FinalizeAll(ZEV_TableParams tableParams) {
    for (BaseItem* item : m_Items) item->GetParam()->Finalize(tableParams);
}

KIT_LinesMask* ZEV_Masks::GetCombinedMask() { return &m_CombinedMask; }

ZEV_AbstractWindowingTable* ZEV_Masks::GetDefaultTable() {
    return m_Items.empty() ? nullptr : m_Items.front()->GetTable();
}

ZEV_MaskableParam* ZEV_Masks::GetParamOf(const KIT_Mask::Data* tag) const {
    for (BaseItem* item : m_Items) {
        if (tag != nullptr && item->GetTable() == tag) return item->GetParam();
    }
    return nullptr;
}

KIT_ChangeCounter ZEV_Masks::GetTotalCC() {
    KIT_ChangeCounter total(0);
    for (BaseItem* item : m_Items) {
        total = total + KIT_ChangeCounter(item->GetParam()->GetMaskCC());
        total = total + KIT_ChangeCounter(item->GetParam()->GetTableCC());
    }
    return total;
}

bool ZEV_Masks::IsDynamicMask() const { return m_bDynamicMask; }
int ZEV_Masks::MasksCountWithoutDefault() { return static_cast<int>(m_Items.size()) - 1; }

void ZEV_Masks::build_tables(ZEV_TableParams tableParams) {
    if (tableParams.m_pSourceRaster == nullptr) return;
    const int depth = tableParams.m_pSourceRaster->m_BitsPerPixel;
    // Beyond 30 bits no table has such a size: never up to date.
    const std::int64_t size = depth >= 0 && depth <= 30 ? std::int64_t{1} << depth : -2;
    for (BaseItem* item : m_Items) {
        ZEV_MaskableParam* const param = item->GetParam();
        if (!param->GetActive()) continue;
        ZEV_AbstractWindowingTable* const table = item->GetTable();
        if (table != nullptr && item->GetTableCC().GetCount() == param->GetTableCC() &&
            table->GetSize() == size) {
            continue;
        }
        ZEV_AbstractWindowingTable* const built = param->BuildTable(tableParams);
        // Runs may refer to the table that goes now.
        m_CombinedMask.Clear();
        // The counter is read after the build, which may advance it itself.
        item->SetTable(built, KIT_ChangeCounter(param->GetTableCC()));
    }
}

void ZEV_Masks::combine_masks() {
    if (!m_CombinedMask.IsEmpty()) return;
    for (BaseItem* item : m_Items) {
        if (item->GetParam() != nullptr && item->GetParam()->GetActive()) {
            m_CombinedMask.AddMask(item->GetLines(), item->GetTable());
        }
    }
}

/// The polygon on the screen, cut to the rectangle.
std::unique_ptr<KIT_LinesMask> ZEV_Masks::lines_of_polygon(BaseItem& item, float rasterToScreen[4][4],
                                                           const KIT_Rect& rect) {
    auto* const polygon = dynamic_cast<KIT_PolygonMask*>(item.GetMask());
    if (polygon == nullptr) return nullptr;
    const std::unique_ptr<KIT_PolygonMask> moved(polygon->ApplyMatrix(rasterToScreen));
    const std::unique_ptr<KIT_PolygonMask> clipped(
        moved == nullptr ? nullptr
                         : moved->IntersectWithDisplayRect(rect.left, rect.top, rect.right, rect.bottom));
    if (clipped == nullptr) {
        ZEV_LOG("ZEV_Masks::zoom_masks_and_convert_to_lines", zev::kLogError, "The clipped mask is NULL\n");
        return nullptr;
    }
    std::unique_ptr<KIT_LinesMask> lines(clipped->ConvertToLinesMask());
    if (item.GetParam()->GetNegate() && lines != nullptr) lines->Inverse(rect);
    return lines;
}

/// A copy as it is: no matrix applies.
std::unique_ptr<KIT_LinesMask> ZEV_Masks::lines_of_run_list(BaseItem& item, const KIT_Rect& rect) {
    auto* const shape = dynamic_cast<KIT_LinesMask*>(item.GetMask());
    if (shape == nullptr) return nullptr;
    auto lines = std::make_unique<KIT_LinesMask>(*shape);
    if (item.GetParam()->GetNegate()) lines->Inverse(rect);
    return lines;
}

void ZEV_Masks::zoom_masks_and_convert_to_lines(KIT_BaseParamsVec* params, KIT_Rect rect) {
    const char* const function = "ZEV_Masks::zoom_masks_and_convert_to_lines";
    auto* const space =
        params == nullptr ? nullptr : static_cast<SPC_SpaceInfo*>(params->GetParams("SPC_SpaceInfo", false));
    float rasterToScreen[4][4] = {};
    float screenToPhysical[4][4] = {};
    if (space == nullptr) {
        // Nothing is drawn with stale geometry.
        ZEV_LOG(function, zev::kLogError, "No space info in the view\n");
        for (BaseItem* item : m_Items) {
            if (item->GetMask() != nullptr)
                item->SetLines(nullptr, rasterToScreen, screenToPhysical, KIT_Rect());
        }
        m_CombinedMask.Clear();
        return;
    }
    space->GetRaster2ScreenTrasformMat(rasterToScreen);
    space->GetScreen2PhysicalTrasformMat(screenToPhysical);

    for (BaseItem* item : m_Items) {
        std::unique_ptr<KIT_LinesMask> lines;
        KIT_Rect newRect;
        if (item->GetMask() != nullptr && item->GetParam()->GetActive()) {
            const bool stale = (item->IsPolygon() && item->RasterMatrixChanged(rasterToScreen)) ||
                               item->RectDiffers(rect) || item->ScreenMatrixChanged(screenToPhysical);
            if (!stale) continue;
            // A run list keeps the rectangle that it has, which stays 0.
            newRect = item->IsPolygon() ? rect : item->GetRect();
            lines = item->IsPolygon() ? lines_of_polygon(*item, rasterToScreen, rect)
                                      : lines_of_run_list(*item, newRect);
        }
        item->SetLines(lines.release(), rasterToScreen, screenToPhysical, newRect);
        m_CombinedMask.Clear();
    }
}
