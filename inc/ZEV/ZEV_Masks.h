#pragma once

#include <KIT/KIT_BaseParams.h>
#include <KIT/KIT_ChangeCounter.h>
#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_Mask.h>
#include <KIT/KIT_Rect.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_TableParams.h>

#include <list>
#include <memory>
#include <string>

class KIT_BaseParamsVec;
class KIT_PolygonMask;
class ZEV_AbstractWindowingTable;
class ZEV_MaskableParam;

/// Several windowings on one image: an ordered list of items, each of which joins a parameter object to a
/// mask shape, and one combined run list whose runs carry their tables.
///
///     ZEV_Masks live, masks;
///     masks.SetLiveParams(&live);                  // the rendering side works on a frozen copy
///     params.ConvertToMasks(&masks, &vec);         // the default region, first in the list
///     masks.UpdateMaskFromParam("lung", &lung, polygon, false, true, false);
///     masks.UpdateMasks(tableParams);
///     for (const auto& run : masks.GetCombinedMask()->GetRuns()) ...;   // GetDefaultTable() elsewhere
///     masks.FinalizeAll(tableParams);
///
/// Where regions overlap the later in the list is on top. The set owns its items with their tables and run
/// lists, and the masks that were handed over; never a parameter object. The
/// parameter objects, and masks that were not handed over, must outlive it. A copy takes no items. The output
/// rectangle of ZEV_TableParams is in screen pixels, right and bottom excluded. A set belongs to the thread
/// that renders with it.
class ZEV_API ZEV_Masks : public KIT_BaseParams {
public:
    class BaseItem;
    class PolygonItem;
    class LineItem;

    ZEV_Masks();
    ZEV_Masks(const ZEV_Masks& other);
    ~ZEV_Masks() override;

    using KIT_BaseParams::operator=;
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    void SetData(const KIT_BaseParams& other) override;
    void Freeze() override;
    /// A new default-constructed object; nothing is copied.
    KIT_BaseParams* Clone() override;

    /// Adds the item of that name, or refreshes it. A new item goes to the front or the end; an existing one
    /// keeps its place. It takes the mask if it has none, or if the parameter's mask counter moved since it
    /// took the last one; otherwise the given mask is not looked at and stays the caller's. Null for the mask
    /// is the default region. A mask that is neither a polygon nor a run list adds nothing. With `ownsMask` a
    /// mask that is taken is deleted with the item or its successor, and a new item's mask also when memory
    /// runs out; a mask that is not taken stays the caller's. `dynamic` marks a set whose masks change often;
    /// it is only stored for the host. On an object that is not a frozen copy, and for a null parameter: a
    /// log line and nothing else.
    void UpdateMaskFromParam(std::string name, ZEV_MaskableParam* param, KIT_Mask* mask, bool atFront,
                             bool ownsMask, bool dynamic);
    /// Brings tables, run lists and the combined mask up to date.
    void UpdateMasks(ZEV_TableParams tableParams);
    /// Calls Finalize on the parameter of every item, active or not, in list order.
    void FinalizeAll(ZEV_TableParams tableParams);

    /// The merged run list; the tag of a run is its ZEV_AbstractWindowingTable, or null. Valid until the next
    /// change.
    KIT_LinesMask* GetCombinedMask();
    /// The table of the first item; null if it has none or the list is empty.
    ZEV_AbstractWindowingTable* GetDefaultTable();
    /// The parameter of the item whose table a run's tag is; null for any other. A front end that paints its
    /// runs makes a ZEV_Painter from it.
    ZEV_MaskableParam* GetParamOf(const KIT_Mask::Data* tag) const;
    /// The sum of all mask and table counters: two results differ if anything changed in between.
    KIT_ChangeCounter GetTotalCC();
    bool IsDynamicMask() const;
    int MasksCountWithoutDefault();

    virtual ZEV_Masks& operator=(const ZEV_Masks& other);

protected:
    void copy_data(const ZEV_Masks& other);
    void build_tables(ZEV_TableParams tableParams);
    void combine_masks();
    void zoom_masks_and_convert_to_lines(KIT_BaseParamsVec* params, KIT_Rect rect);

private:
    void add_item(std::string name, ZEV_MaskableParam* param, KIT_Mask* mask, bool atFront, bool ownsMask);
    static std::unique_ptr<KIT_LinesMask> lines_of_polygon(BaseItem& item, float rasterToScreen[4][4],
                                                           const KIT_Rect& rect);
    static std::unique_ptr<KIT_LinesMask> lines_of_run_list(BaseItem& item, const KIT_Rect& rect);

    std::list<BaseItem*> m_Items;  ///< owned
    KIT_LinesMask m_CombinedMask;
    bool m_bDynamicMask = false;  ///< of the last UpdateMaskFromParam
};
