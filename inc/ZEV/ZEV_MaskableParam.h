#pragma once

#include <KIT/KIT_BaseParams.h>
#include <KIT/KIT_ChangeCounter.h>
#include <ZEV/ZEV_Export.h>
#include <ZEV/ZEV_TableParams.h>

class ZEV_AbstractWindowingTable;
class ZEV_Masks;

/// Base of any parameter object that can present a masked region: it makes a table, can be switched on and
/// off, its region can be the outside of the mask's shape, and changes to the table and to the mask are
/// counted apart.
///
///     class Highlight : public ZEV_MaskableParam {
///         void ConvertToMasks(ZEV_Masks* masks, KIT_BaseParamsVec*) override {
///             masks->UpdateMaskFromParam("highlight", this, new KIT_PolygonMask(ring), false, true, false);
///         }
///         ZEV_AbstractWindowingTable* BuildTable(ZEV_TableParams tableParams) override;   // a new table
///     };
///
/// No lock: an object is used by one thread at a time.
class ZEV_API ZEV_MaskableParam : public KIT_BaseParams {
public:
    ZEV_MaskableParam();
    /// Takes the base's values, then flags and both counters.
    ZEV_MaskableParam(const ZEV_MaskableParam& other);
    ~ZEV_MaskableParam() override;

    using KIT_BaseParams::operator=;
    /// The base's assignment first, then flags and both counters.
    ZEV_MaskableParam& operator=(const ZEV_MaskableParam& other);

    // ---- the region ----
    bool GetActive() const;
    /// Marks a mask change when the value differs, else nothing.
    void SetActive(bool active);
    bool GetNegate() const;
    /// Stores the flag and marks no change: it is set before the region is entered into a mask set.
    void SetNegate(bool negate);

    // ---- change counters ----
    int GetMaskCC() const;
    int GetTableCC() const;
    void SetTableCC(int count);
    /// Advances the table counter, then the object's own count. The keeper of a table learns of a change in
    /// no other way.
    void MarkTableChange();

    // ---- what a region does ----
    /// Enters the object into a mask set.
    virtual void ConvertToMasks(ZEV_Masks* masks, KIT_BaseParamsVec* vec) = 0;
    /// A new table, which the caller owns, or null.
    virtual ZEV_AbstractWindowingTable* BuildTable(ZEV_TableParams tableParams) = 0;
    /// Advances the mask counter, then the object's own count.
    virtual void MarkMaskChange();
    /// Ends the drawing of a frame; nothing to do in the base.
    virtual void Finalize(ZEV_TableParams tableParams);

protected:
    virtual void copy_data(const ZEV_MaskableParam& other);

    bool m_bActive = true;        ///< the region takes part at all
    KIT_ChangeCounter m_TableCC;  ///< changes that make the table stale
    KIT_ChangeCounter m_MaskCC;   ///< changes that make the mask stale
    bool m_bNegate = false;       ///< the region is the outside of the mask's shape
};
