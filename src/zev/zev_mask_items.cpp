#include "zev_mask_items.h"

#include <KIT/KIT_PolygonMask.h>
#include <ZEV/ZEV_MaskableParam.h>
#include <ZEV/ZEV_WindowingTable.h>

#include <cmath>
#include <cstring>
#include <utility>

namespace {

/// Must be exceeded, in double precision, for two matrix elements to count as different.
constexpr double kMatrixTolerance = 0.0005;

void copy_matrix(float to[4][4], const float from[4][4]) { std::memcpy(to, from, 16 * sizeof(float)); }

}  // namespace

ZEV_Masks::BaseItem::BaseItem(std::string name, ZEV_MaskableParam* param, KIT_Mask* mask, bool owns) {
    m_pParam = param;
    m_Name = std::move(name);
    m_pMask = mask;
    m_bOwnsMask = owns;
}

ZEV_Masks::BaseItem::~BaseItem() { release_all(); }

void ZEV_Masks::BaseItem::release_all() {
    if (m_bOwnsMask) delete m_pMask;
    delete m_pTable;
    delete m_pLines;
    m_pMask = nullptr;
    m_pTable = nullptr;
    m_pLines = nullptr;
}

void ZEV_Masks::BaseItem::Clear() {
    release_all();
    Reset();
}

void ZEV_Masks::BaseItem::Reset() {
    m_pParam = nullptr;
    m_pMask = nullptr;
    m_pTable = nullptr;
    m_pLines = nullptr;
    m_bOwnsMask = false;
    m_Name.clear();
    std::memset(m_ScreenToPhysical, 0, sizeof m_ScreenToPhysical);
}

void ZEV_Masks::BaseItem::SetMask(KIT_Mask* mask, KIT_ChangeCounter cc, bool owns) {
    const bool isTaken = mask != nullptr && !mask->IsEmpty();
    if (isTaken && mask == m_pMask) {
        // Handed the mask that it holds: releasing it first would delete it.
        m_bOwnsMask = m_bOwnsMask || owns;
    } else {
        ReleaseMask();
        if (isTaken) {
            m_pMask = mask;
            m_bOwnsMask = owns;
        }
    }
    m_MaskCC = cc;
}

bool ZEV_Masks::BaseItem::GiveMaskBack() {
    const bool owned = m_bOwnsMask;
    m_pMask = nullptr;
    m_bOwnsMask = false;
    return owned;
}

bool ZEV_Masks::BaseItem::IsPolygon() { return false; }
bool ZEV_Masks::BaseItem::RasterMatrixChanged(const float[4][4]) { return false; }

void ZEV_Masks::BaseItem::SetLines(KIT_LinesMask* lines, const float[4][4],
                                   const float screenToPhysical[4][4], const KIT_Rect& rect) {
    m_Rect = rect;
    ReleaseLines();
    m_pLines = lines;
    copy_matrix(m_ScreenToPhysical, screenToPhysical);
}

KIT_LinesMask* ZEV_Masks::BaseItem::GetLines() { return m_pLines; }

bool ZEV_Masks::BaseItem::needs_conversion(const float stored[4][4], const float given[4][4]) const {
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            const float difference = stored[row][column] - given[row][column];
            // Not a number counts as a change.
            if (!(std::fabs(static_cast<double>(difference)) <= kMatrixTolerance)) return true;
        }
    }
    return m_pLines == nullptr;
}

bool ZEV_Masks::BaseItem::ScreenMatrixChanged(const float matrix[4][4]) {
    return needs_conversion(m_ScreenToPhysical, matrix);
}

KIT_Rect& ZEV_Masks::BaseItem::GetRect() { return m_Rect; }
void ZEV_Masks::BaseItem::ClearAll() { Clear(); }

void ZEV_Masks::BaseItem::ReleaseTable() {
    delete m_pTable;
    m_pTable = nullptr;
}

void ZEV_Masks::BaseItem::ReleaseMask() {
    if (m_bOwnsMask) delete m_pMask;
    m_pMask = nullptr;
}

void ZEV_Masks::BaseItem::ReleaseLines() {
    delete m_pLines;
    m_pLines = nullptr;
}

void ZEV_Masks::BaseItem::Rebind(ZEV_MaskableParam* param, std::string name) {
    ClearAll();
    m_pParam = param;
    m_Name = std::move(name);
}

void ZEV_Masks::BaseItem::SetTable(ZEV_AbstractWindowingTable* table, KIT_ChangeCounter cc) {
    ReleaseTable();
    m_pTable = table;
    m_TableCC = cc;
}

bool ZEV_Masks::BaseItem::RectDiffers(const KIT_Rect& rect) { return m_Rect != rect; }

ZEV_Masks::PolygonItem::PolygonItem(std::string name, ZEV_MaskableParam* param, KIT_PolygonMask* mask,
                                    bool owns)
    : BaseItem(std::move(name), param, mask, owns) {}
ZEV_Masks::PolygonItem::~PolygonItem() = default;

void ZEV_Masks::PolygonItem::Clear() { BaseItem::Clear(); }

void ZEV_Masks::PolygonItem::Reset() {
    BaseItem::Reset();
    std::memset(m_RasterToScreen, 0, sizeof m_RasterToScreen);
}

bool ZEV_Masks::PolygonItem::IsPolygon() { return true; }
bool ZEV_Masks::PolygonItem::RasterMatrixChanged(const float matrix[4][4]) {
    return needs_conversion(m_RasterToScreen, matrix);
}

void ZEV_Masks::PolygonItem::SetLines(KIT_LinesMask* lines, const float rasterToScreen[4][4],
                                      const float screenToPhysical[4][4], const KIT_Rect& rect) {
    BaseItem::SetLines(lines, rasterToScreen, screenToPhysical, rect);
    copy_matrix(m_RasterToScreen, rasterToScreen);
}

ZEV_Masks::LineItem::LineItem(std::string name, ZEV_MaskableParam* param, KIT_LinesMask* mask, bool owns)
    : BaseItem(std::move(name), param, mask, owns) {}
ZEV_Masks::LineItem::~LineItem() = default;
