#pragma once

#include <KIT/KIT_ChangeCounter.h>
#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_Masks.h>

#include <string>

class KIT_LinesMask;
class KIT_Mask;
class KIT_PolygonMask;
class ZEV_AbstractWindowingTable;
class ZEV_MaskableParam;

/// Ties one parameter object to one mask shape and holds what was derived from them: a table and a run list
/// on the screen.
class ZEV_API ZEV_Masks::BaseItem {
public:
    BaseItem(std::string name, ZEV_MaskableParam* param, KIT_Mask* mask, bool owns);
    BaseItem(const BaseItem&) = delete;
    BaseItem& operator=(const BaseItem&) = delete;

    virtual ~BaseItem();
    /// Deletes what the item holds, then Reset.
    virtual void Clear();
    virtual void Reset();
    /// Takes another shape, unless it is null or empty, and in any case the counter.
    virtual void SetMask(KIT_Mask* mask, KIT_ChangeCounter cc, bool owns);
    virtual bool IsPolygon();
    virtual bool RasterMatrixChanged(const float matrix[4][4]);
    /// Takes a run list over, which may be null, with the inputs it was made from.
    virtual void SetLines(KIT_LinesMask* lines, const float rasterToScreen[4][4],
                          const float screenToPhysical[4][4], const KIT_Rect& rect);
    virtual KIT_LinesMask* GetLines();
    virtual bool ScreenMatrixChanged(const float matrix[4][4]);
    virtual KIT_Rect& GetRect();
    virtual void ClearAll();
    virtual void ReleaseTable();
    virtual void ReleaseMask();
    virtual void ReleaseLines();

    ZEV_MaskableParam* GetParam() { return m_pParam; }
    std::string GetName() { return m_Name; }
    KIT_Mask* GetMask() { return m_pMask; }
    ZEV_AbstractWindowingTable* GetTable() { return m_pTable; }
    KIT_ChangeCounter GetMaskCC() { return m_MaskCC; }
    KIT_ChangeCounter GetTableCC() { return m_TableCC; }
    /// Releases the mask without deleting it; returns whether the item owned it.
    bool GiveMaskBack();
    /// Releases everything and serves another parameter.
    void Rebind(ZEV_MaskableParam* param, std::string name);
    /// Takes a table over, which may be null.
    void SetTable(ZEV_AbstractWindowingTable* table, KIT_ChangeCounter cc);
    bool RectDiffers(const KIT_Rect& rect);

protected:
    /// More than 0.0005 apart in any element, or there is no run list to keep.
    bool needs_conversion(const float stored[4][4], const float given[4][4]) const;
    void release_all();

    ZEV_MaskableParam* m_pParam = nullptr;  ///< not owned
    std::string m_Name;
    KIT_Rect m_Rect;              ///< of the last conversion
    KIT_Mask* m_pMask = nullptr;  ///< null for the default region
    bool m_bOwnsMask = false;
    KIT_ChangeCounter m_MaskCC;                      ///< the parameter's, when the mask was taken
    KIT_LinesMask* m_pLines = nullptr;               ///< the shape on the screen; owned
    ZEV_AbstractWindowingTable* m_pTable = nullptr;  ///< owned
    KIT_ChangeCounter m_TableCC;                     ///< the parameter's, when the table was built
    float m_ScreenToPhysical[4][4] = {};             ///< of the last conversion
};

/// A shape in raster coordinates, carried to the screen by the raster-to-screen matrix.
class ZEV_API ZEV_Masks::PolygonItem : public BaseItem {
public:
    PolygonItem(std::string name, ZEV_MaskableParam* param, KIT_PolygonMask* mask, bool owns);
    ~PolygonItem() override;

    void Clear() override;
    void Reset() override;
    bool IsPolygon() override;
    bool RasterMatrixChanged(const float matrix[4][4]) override;
    void SetLines(KIT_LinesMask* lines, const float rasterToScreen[4][4], const float screenToPhysical[4][4],
                  const KIT_Rect& rect) override;

private:
    float m_RasterToScreen[4][4] = {};  ///< of the last conversion
};

/// A shape that is a run list on the screen already.
class ZEV_API ZEV_Masks::LineItem : public BaseItem {
public:
    LineItem(std::string name, ZEV_MaskableParam* param, KIT_LinesMask* mask, bool owns);
    ~LineItem() override;
};
