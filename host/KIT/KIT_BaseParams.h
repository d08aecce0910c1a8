#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_ChangeCounter.h>

#include <cstddef>
#include <string>
#include <vector>

class Dicom_LO;
class DDPInfoVector;
class KIT_BaseParamsVec;
class KIT_ParamsChangeListener;
class KIT_Raster;
class OBJ_Msg;
class SR_Iterator;
class SR_Template;
template <class T>
class RWTValOrderedVector;

/// Base of every parameter object of a view: a named, counted set of values that can be copied, frozen and
/// merged. The order of the virtual operations is a contract: derived classes of several libraries continue
/// the same table. AddRef and Release count owners, the other operations as their comments say; where there
/// is no comment the base returns false or null, or does nothing.
class HOST_API KIT_BaseParams : public KIT_ChangeCounter {
public:
    KIT_BaseParams();
    /// Takes name, flags and count; never the live link or the listeners.
    KIT_BaseParams(const KIT_BaseParams& other);
    ~KIT_BaseParams() override;

    /// Parameter objects are allocated and freed here, whichever library creates or deletes them.
    static void* operator new(std::size_t size);
    static void operator delete(void* object);
    static void operator delete[](void* object);

    void SetName(const char* name);
    const char* GetName() const;

    /// Makes this object a frozen copy of `live`, or an ordinary object with null. The live object must
    /// outlive the link.
    void SetLiveParams(KIT_BaseParams* live);
    KIT_BaseParams* GetLiveParams() const;

    using KIT_ChangeCounter::operator=;
    void MarkChange() override;

    /// One more owner.
    virtual void AddRef();
    /// One owner fewer; the object deletes itself when AddRef had been called and the last owner goes.
    virtual void Release();
    /// Takes name, flags and count of the other object. Overrides call it last.
    virtual KIT_BaseParams& operator=(const KIT_BaseParams& other);
    virtual void SetData(const KIT_BaseParams& other);
    virtual void Freeze();
    /// A new default-constructed object of the same class; null here, since the base has no values.
    virtual KIT_BaseParams* Clone();
    virtual void Defrost();
    virtual bool IsBurnToRasterNeeded();
    virtual void ResetParamData();
    virtual void Update(KIT_BaseParams* other);
    virtual bool Interpolate(KIT_BaseParams** params, int count, KIT_BaseParamsVec* vec);
    virtual bool IsChanged(KIT_BaseParams* other);
    virtual int GetNumberOfFramesForInterpolation();
    virtual KIT_BaseParams* Copy();
    virtual void Paste(KIT_BaseParams* source, KIT_BaseParamsVec* sourceVec, KIT_BaseParamsVec* targetVec);
    virtual bool UpdateSR(SR_Template& structure, SR_Iterator& position);
    virtual void RecordDDPInfo(DDPInfoVector& record, long mode);
    virtual void SaveWindowingParamsToDP(bool save);
    virtual void SaveZoomParamsToDP(bool save);
    virtual void SavePanParamsToDP(bool save);
    virtual bool AffectedByPresentation();
    virtual void OperateOnAllDataSets(wchar_t* operation, RWTValOrderedVector<KIT_BaseParamsVec*>* dataSets);
    virtual bool UpdateFromDDP(OBJ_Msg* ddpMsg, OBJ_Msg* msg, KIT_Raster* raster, KIT_BaseParamsVec* vec);
    virtual bool IsUpdatedFromDDP() const;
    virtual void SetUpdatedFromDDP(bool updated);
    virtual bool IsUpdatedFromPresentation() const;
    virtual void PrepareForPresentation(bool& prepared);
    virtual bool IsPreparedForPresentation() const;
    virtual void SetPreparedForPresentation(bool prepared);
    /// True for the object that stands for the image as first loaded; a new object is one.
    virtual bool GetOriginal();
    virtual void SetOriginal(bool original);
    virtual int IsUpdatedToFitGroup();
    virtual void SetUpdatedToFitGroup(bool updated);
    virtual const Dicom_LO* GetTagFromMsg(OBJ_Msg* msg, const char* tag);
    /// A listener is not owned and must be taken out before it dies; registering it twice has no further
    /// effect.
    virtual void RegisterParamsChangeListener(KIT_ParamsChangeListener* listener);
    virtual void UnregisterParamsChangeListener(KIT_ParamsChangeListener* listener);
    virtual bool GetFloatValue(wchar_t* name, float& value);
    virtual void FixTissuesWithWrongList(KIT_BaseParamsVec* vec);

protected:
    virtual void fire_params_change();

    /// The object of which this one is a frozen copy; null in an object that is no copy.
    KIT_BaseParams* m_pLiveParams = nullptr;

private:
    void take_base_values(const KIT_BaseParams& other);

    std::string m_Name;
    std::vector<KIT_ParamsChangeListener*> m_Listeners;
    int m_References = 0;
    bool m_bOriginal = true;
    bool m_bUpdatedFromDDP = false;
    bool m_bPreparedForPresentation = false;
    bool m_bUpdatedToFitGroup = false;
};
