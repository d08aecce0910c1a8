#pragma once

#include <KIT/KIT_BaseParams.h>
#include <ZEV/ZEV_Export.h>

class OBJ_Msg;

/// Brightness and contrast of a true-colour image.
///
///     ZEV_RGBParams rgb;
///     rgb.UpdateFromDicom(&msg);
///     rgb.UpdateBrightness(10);
///     if (rgb.IsBurnToRasterNeeded()) ...;    // the host applies the two numbers to its pixels
///
/// The class only holds the two numbers; a new object has a count of 1. No lock: an object is used by one
/// thread at a time.
class ZEV_API ZEV_RGBParams : public KIT_BaseParams {
public:
    ZEV_RGBParams();
    ZEV_RGBParams(const ZEV_RGBParams& other);
    ~ZEV_RGBParams() override;

    using KIT_BaseParams::operator=;
    KIT_BaseParams& operator=(const KIT_BaseParams& other) override;
    void Freeze() override;
    /// A new default-constructed object; nothing is copied.
    KIT_BaseParams* Clone() override;
    /// True only if both numbers are other than 0.
    bool IsBurnToRasterNeeded() override;
    /// Takes over another ZEV_RGBParams that was changed since it was made. Null is ignored.
    void Update(KIT_BaseParams* other) override;

    using KIT_BaseParams::SetData;
    void SetData(const ZEV_RGBParams& other);
    void Reset();

    int GetBrightness();
    int GetContrast();
    /// Not limited; nothing happens when the value stays.
    void SetBrightness(int brightness);
    void SetContrast(int contrast);
    /// By a difference, the sum limited to -100..100; marks a change also when the value stays.
    void UpdateBrightness(int difference);
    void UpdateContrast(int difference);

    /// Takes what the message has; an absent attribute leaves its number. Returns 0, also for null.
    int UpdateFromDicom(OBJ_Msg* msg);
    /// Writes both. 1, or 0 when the message refuses one, or -1 with a log line for null.
    int UpdateTheDicom(OBJ_Msg* msg);

    virtual ZEV_RGBParams& operator=(const ZEV_RGBParams& other);

protected:
    void copy_data(const ZEV_RGBParams& other);

private:
    int m_Brightness = 0;
    int m_Contrast = 0;
};
