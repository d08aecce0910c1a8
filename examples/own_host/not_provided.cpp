// The rest of what libzev refers to: opening and saving of messages, VOI LUTs, presets, masks, printing. This
// viewer does none of it, so that each of these ends the program and says what is missing. To add something,
// take it out of here.

#include <BLK/BLK_Lock.h>
#include <COM/bstr.h>
#include <DICOM/Dicom_CS.h>
#include <DICOM/Dicom_DS.h>
#include <DICOM/Dicom_Dictionary.h>
#include <DICOM/Dicom_LO.h>
#include <DICOM/Dicom_Msg.h>
#include <DICOM/Dicom_OW.h>
#include <DICOM/Dicom_US.h>
#include <GFX/GFX_PrintRaster.h>
#include <HST/HST_AutoWindow.h>
#include <KIT/KIT_BaseParams.h>
#include <KIT/KIT_DDPInfo.h>
#include <KIT/KIT_LinesMask.h>
#include <KIT/KIT_OBJHelper.h>
#include <KIT/KIT_PolygonMask.h>
#include <MAPPER/Mapper_PrinterLUT.h>
#include <MAPPER/Mapper_Pval.h>
#include <MAPPER/Mapper_WindowingManager.h>
#include <OBJ/OBJ_Msg.h>
#include <PRM/PRM_ITreeIterator.h>
#include <PRM/PRM_ITreeRoot.h>
#include <RW/RWBoundsErr.h>
#include <RW/RWOrdered.h>
#include <RW/RWWString.h>
#include <SPC/SPC_MeasurementUnitsParams.h>
#include <SPC/SPC_Modality.h>
#include <SPC/SPC_SpaceInfo.h>
#include <TXT/Locale_DecimalConvertUtils.h>
#include <TXT/TXT_Strings.h>

#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void not_provided(const char* what) {
    std::fprintf(stderr, "this host does not provide %s\n", what);
    std::abort();
}

}  // namespace

#define NOT_PROVIDED not_provided(__PRETTY_FUNCTION__)

BLK_Lock::BLK_Lock(BLK_ProcessedData*) { NOT_PROVIDED; }
BLK_Lock::~BLK_Lock() { NOT_PROVIDED; }

_bstr_t CreateString(int) { NOT_PROVIDED; }
const char* RWTOOL_INDEXERR() { NOT_PROVIDED; }

void RWThrowIndexError(std::size_t, std::size_t) { NOT_PROVIDED; }
wchar_t* WTxtLoadString(unsigned int, int) { NOT_PROVIDED; }
_bstr_t operator+(const wchar_t*, const _bstr_t&) { NOT_PROVIDED; }
Dicom_US operator|(const Dicom_US&, const Dicom_US&) { NOT_PROVIDED; }

void DDPInfoVector::AddParamsValue(KIT_DDPInfo*) { NOT_PROVIDED; }
RWTPtrOrderedVector<KIT_DDPInfo>& DDPInfoVector::GetParamsValues() { NOT_PROVIDED; }

bool Dicom_Bytes::Assign(const Dicom_Type&) { NOT_PROVIDED; }
Dicom_DumpLen Dicom_Bytes::Dump(void*) const { NOT_PROVIDED; }
Dicom_DumpLen Dicom_Bytes::GetDumpLen() const { NOT_PROVIDED; }
bool Dicom_Bytes::operator==(const Dicom_Type&) const { NOT_PROVIDED; }

Dicom_CS::Dicom_CS(const char*, int*) : Dicom_Text("CS") { NOT_PROVIDED; }

Dicom_DS::Dicom_DS(double) : Dicom_Text("DS") { NOT_PROVIDED; }
Dicom_DS::operator double() const { NOT_PROVIDED; }

Dicom_LO::Dicom_LO(const wchar_t*, int*) : Dicom_Text("LO") { NOT_PROVIDED; }

const Dicom_Type* Dicom_Msg::Get(const Dicom_Tag&) const { NOT_PROVIDED; }

Dicom_OW::Dicom_OW(void*, unsigned int, int, int*, bool) : Dicom_Bytes("OW") { NOT_PROVIDED; }

bool Dicom_Text::Assign(const Dicom_Type&) { NOT_PROVIDED; }
Dicom_DumpLen Dicom_Text::Dump(void*) const { NOT_PROVIDED; }
Dicom_DumpLen Dicom_Text::GetDumpLen() const { NOT_PROVIDED; }
bool Dicom_Text::GetNumber(std::size_t, double&) const { NOT_PROVIDED; }
std::wstring Dicom_Text::GetText(std::size_t) const { NOT_PROVIDED; }
bool Dicom_Text::IsNull() const { NOT_PROVIDED; }
bool Dicom_Text::IsNumeric() const { NOT_PROVIDED; }

int Dicom_Type::Match(const Dicom_Type&) const { NOT_PROVIDED; }
Dicom_Type::operator wchar_t*() const { NOT_PROVIDED; }
bool Dicom_Type::operator!=(const Dicom_Type&) const { NOT_PROVIDED; }
bool Dicom_Type::operator==(const Dicom_Type&) const { NOT_PROVIDED; }

Mapper_PrinterLUT* GFX_PrintRaster::GetPrinterLUT() { NOT_PROVIDED; }

int HST_AutoWindow::AutoWindowing(void*, int, int, int, int, int, const Dicom_CS&, bool, int, int, int, bool,
                                  bool) {
    NOT_PROVIDED;
}

bool KIT_BaseParams::AffectedByPresentation() { NOT_PROVIDED; }
KIT_BaseParams* KIT_BaseParams::Clone() { NOT_PROVIDED; }
KIT_BaseParams* KIT_BaseParams::Copy() { NOT_PROVIDED; }
void KIT_BaseParams::FixTissuesWithWrongList(KIT_BaseParamsVec*) { NOT_PROVIDED; }
bool KIT_BaseParams::GetFloatValue(wchar_t*, float&) { NOT_PROVIDED; }
int KIT_BaseParams::GetNumberOfFramesForInterpolation() { NOT_PROVIDED; }
const Dicom_LO* KIT_BaseParams::GetTagFromMsg(OBJ_Msg*, const char*) { NOT_PROVIDED; }
bool KIT_BaseParams::Interpolate(KIT_BaseParams**, int, KIT_BaseParamsVec*) { NOT_PROVIDED; }
bool KIT_BaseParams::IsBurnToRasterNeeded() { NOT_PROVIDED; }
bool KIT_BaseParams::IsChanged(KIT_BaseParams*) { NOT_PROVIDED; }
bool KIT_BaseParams::IsPreparedForPresentation() const { NOT_PROVIDED; }
bool KIT_BaseParams::IsUpdatedFromDDP() const { NOT_PROVIDED; }
bool KIT_BaseParams::IsUpdatedFromPresentation() const { NOT_PROVIDED; }
int KIT_BaseParams::IsUpdatedToFitGroup() { NOT_PROVIDED; }
void KIT_BaseParams::OperateOnAllDataSets(wchar_t*, RWTValOrderedVector<KIT_BaseParamsVec*>*) {
    NOT_PROVIDED;
}

void KIT_BaseParams::Paste(KIT_BaseParams*, KIT_BaseParamsVec*, KIT_BaseParamsVec*) { NOT_PROVIDED; }
void KIT_BaseParams::PrepareForPresentation(bool&) { NOT_PROVIDED; }
void KIT_BaseParams::RecordDDPInfo(DDPInfoVector&, long) { NOT_PROVIDED; }
void KIT_BaseParams::RegisterParamsChangeListener(KIT_ParamsChangeListener*) { NOT_PROVIDED; }
void KIT_BaseParams::ResetParamData() { NOT_PROVIDED; }
void KIT_BaseParams::SavePanParamsToDP(bool) { NOT_PROVIDED; }
void KIT_BaseParams::SaveWindowingParamsToDP(bool) { NOT_PROVIDED; }
void KIT_BaseParams::SaveZoomParamsToDP(bool) { NOT_PROVIDED; }
void KIT_BaseParams::SetData(const KIT_BaseParams&) { NOT_PROVIDED; }
void KIT_BaseParams::SetPreparedForPresentation(bool) { NOT_PROVIDED; }
void KIT_BaseParams::SetUpdatedFromDDP(bool) { NOT_PROVIDED; }
void KIT_BaseParams::SetUpdatedToFitGroup(bool) { NOT_PROVIDED; }
void KIT_BaseParams::UnregisterParamsChangeListener(KIT_ParamsChangeListener*) { NOT_PROVIDED; }
void KIT_BaseParams::Update(KIT_BaseParams*) { NOT_PROVIDED; }
bool KIT_BaseParams::UpdateFromDDP(OBJ_Msg*, OBJ_Msg*, KIT_Raster*, KIT_BaseParamsVec*) { NOT_PROVIDED; }
bool KIT_BaseParams::UpdateSR(SR_Template&, SR_Iterator&) { NOT_PROVIDED; }

KIT_DDPInfo::KIT_DDPInfo(const wchar_t*, const wchar_t*, const wchar_t*) { NOT_PROVIDED; }

void KIT_LinesMask::AddMask(KIT_LinesMask*, KIT_Mask::Data*) { NOT_PROVIDED; }
void KIT_LinesMask::Clear() { NOT_PROVIDED; }
void KIT_LinesMask::Inverse(KIT_Rect) { NOT_PROVIDED; }
KIT_LinesMask::KIT_LinesMask() { NOT_PROVIDED; }
KIT_LinesMask::KIT_LinesMask(const KIT_LinesMask&) { NOT_PROVIDED; }
bool KIT_LinesMask::is_empty() const { NOT_PROVIDED; }
KIT_LinesMask::~KIT_LinesMask() { NOT_PROVIDED; }

bool KIT_OBJHelper::IsBogus(OBJ_Msg*) { NOT_PROVIDED; }

KIT_PolygonMask* KIT_PolygonMask::ApplyMatrix(float[4][4]) { NOT_PROVIDED; }
KIT_LinesMask* KIT_PolygonMask::ConvertToLinesMask() { NOT_PROVIDED; }
KIT_PolygonMask* KIT_PolygonMask::IntersectWithDisplayRect(int, int, int, int) { NOT_PROVIDED; }

float Locale_DecimalConvertUtils::DefaultLocaleStrToFloat(const _bstr_t&) { NOT_PROVIDED; }

unsigned long Mapper_PrinterLUT::ApplyPrinterLUT(void*, std::size_t, unsigned short, unsigned short,
                                                 unsigned short, int, int, Mapper_Point*,
                                                 Mapper_Point*) const {
    NOT_PROVIDED;
}

int Mapper_Pval::GetLutInputCount() const { NOT_PROVIDED; }
int Mapper_Pval::GetLutInputFirst() const { NOT_PROVIDED; }
bool Mapper_Pval::HasPvalLut() const { NOT_PROVIDED; }
bool Mapper_Pval::IsLutReversing() const { NOT_PROVIDED; }
Mapper_Pval::Mapper_Pval(const Mapper_Pval&) { NOT_PROVIDED; }
Mapper_Pval::Mapper_Pval(OBJ_Msg*) { NOT_PROVIDED; }
int Mapper_Pval::SetWindowingType(Mapper_WindowingManager&, const Mapper_WindowingEntry*) { NOT_PROVIDED; }
void Mapper_Pval::UpdateWindowValues(int, int, int) { NOT_PROVIDED; }
bool Mapper_Pval::isPaic() const { NOT_PROVIDED; }

void Mapper_VOILut::FillWindowingTable16(unsigned short*, int, double, double, bool) const { NOT_PROVIDED; }
void Mapper_VOILut::FillWindowingTable32(unsigned int*, int, double, double, bool) const { NOT_PROVIDED; }
void Mapper_VOILut::FillWindowingTable8(unsigned char*, int, double, double, bool) const { NOT_PROVIDED; }

Dicom_LO Mapper_WindowingEntry::GetWindowingExplanation() const { NOT_PROVIDED; }

Mapper_VOILut* Mapper_WindowingManager::CreateDicomVOILut(const Mapper_WindowingEntry*, int,
                                                          VOI_LUT_OWNERSHIP) {
    NOT_PROVIDED;
}

int Mapper_WindowingManager::Init() { NOT_PROVIDED; }
Mapper_WindowingManager::Mapper_WindowingManager(const Dicom_Msg*) { NOT_PROVIDED; }

Dicom_CS OBJ_Msg::GetImageType() const { NOT_PROVIDED; }
Dicom_CS OBJ_Msg::GetPhotometricInterpretation() const { NOT_PROVIDED; }

double PRM_ITree::GetDoubleDefault(const _bstr_t&, double) { NOT_PROVIDED; }
int PRM_ITree::GetInt(const _bstr_t&) { NOT_PROVIDED; }
_bstr_t PRM_ITree::GetIthKeyName(const _bstr_t&, int) { NOT_PROVIDED; }
_bstr_t PRM_ITree::GetIthKeyValue(const _bstr_t&, int) { NOT_PROVIDED; }
PRM_ITreePtr PRM_ITree::GetIthSubTree(const _bstr_t&, int) { NOT_PROVIDED; }
int PRM_ITree::GetNumOfKeys(const _bstr_t&) { NOT_PROVIDED; }
int PRM_ITree::GetNumOfSubTrees(const _bstr_t&) { NOT_PROVIDED; }
_bstr_t PRM_ITree::GetString(const _bstr_t&) { NOT_PROVIDED; }
_bstr_t PRM_ITree::GetStringDefault(const _bstr_t&, const _bstr_t&) { NOT_PROVIDED; }
PRM_ITreePtr PRM_ITree::GetSubTree(const _bstr_t&) { NOT_PROVIDED; }

PRM_ITreePtr PRM_ITreeIterator::Current() { NOT_PROVIDED; }
int PRM_ITreeIterator::IsValid() { NOT_PROVIDED; }
void PRM_ITreeIterator::Next() { NOT_PROVIDED; }
void PRM_ITreeIterator::Start(PRM_ITree*, const _bstr_t&) { NOT_PROVIDED; }

PRM_ITreePtr PRM_ITreeRoot::OpenTree(const _bstr_t&, long, int) { NOT_PROVIDED; }
void PRM_ITreeRoot::SetAccess(unsigned int) { NOT_PROVIDED; }

RWBoundsErr::RWBoundsErr(const RWMessage&) : std::out_of_range("") { NOT_PROVIDED; }
RWBoundsErr::~RWBoundsErr() { NOT_PROVIDED; }

RWCollectable::RWCollectable() { NOT_PROVIDED; }
RWspace RWCollectable::binaryStoreSize() const { NOT_PROVIDED; }
RWCollectable* RWCollectable::copy() const { NOT_PROVIDED; }
unsigned int RWCollectable::hash() const { NOT_PROVIDED; }
RWClassID RWCollectable::isA() const { NOT_PROVIDED; }
bool RWCollectable::isEqual(const RWCollectable*) const { NOT_PROVIDED; }
RWCollectable* RWCollectable::newSpecies() const { NOT_PROVIDED; }
void RWCollectable::restoreGuts(RWFile&) { NOT_PROVIDED; }
void RWCollectable::restoreGuts(RWvistream&) { NOT_PROVIDED; }
void RWCollectable::saveGuts(RWFile&) const { NOT_PROVIDED; }
void RWCollectable::saveGuts(RWvostream&) const { NOT_PROVIDED; }
const RWCollectable* RWCollectable::self() const { NOT_PROVIDED; }
RWCollectable* RWCollectable::self() { NOT_PROVIDED; }
RWCollectable::~RWCollectable() { NOT_PROVIDED; }

RWMessage::RWMessage(const char*, std::size_t, std::size_t) { NOT_PROVIDED; }

RWOrdered::RWOrdered(std::size_t) { NOT_PROVIDED; }
void RWOrdered::clearAndDestroy() { NOT_PROVIDED; }
std::size_t RWOrdered::entries() const { NOT_PROVIDED; }
RWCollectable* RWOrdered::insert(RWCollectable*) { NOT_PROVIDED; }
RWCollectable*& RWOrdered::operator[](std::size_t) { NOT_PROVIDED; }
RWOrdered::~RWOrdered() { NOT_PROVIDED; }

bool RWWString::operator==(const wchar_t*) const { NOT_PROVIDED; }

float SPC_MeasurementUnitsParams::FindValueForRealWorldValue(float) const { NOT_PROVIDED; }
bool SPC_MeasurementUnitsParams::IsDataMissingForMeasurement(SPC_MEASUREMENT_UNITS) const { NOT_PROVIDED; }

float SPC_MeasurementUnitsParams::TranslateBackFromUnitsToPixel(float, SPC_MEASUREMENT_UNITS) const {
    NOT_PROVIDED;
}

const wchar_t* SPC_Modality::GetModalityName() const { NOT_PROVIDED; }
SPC_Modality::MODALITY SPC_Modality::ModalityStr2Enum(_bstr_t) { NOT_PROVIDED; }

void SPC_SpaceInfo::GetRaster2ScreenTrasformMat(float[4][4]) { NOT_PROVIDED; }
void SPC_SpaceInfo::GetScreen2PhysicalTrasformMat(float[4][4]) { NOT_PROVIDED; }

_bstr_t::operator const char*() const { NOT_PROVIDED; }

// Each class with virtual operations has one that its table goes with.
bool KIT_LinesMask::HitTest(int, int) const { NOT_PROVIDED; }
void KIT_LinesMask::init() { NOT_PROVIDED; }
KIT_Mask::~KIT_Mask() = default;
KIT_Mask_proxy::~KIT_Mask_proxy() = default;
KIT_PolygonMask::~KIT_PolygonMask() = default;
void KIT_PolygonMask::Clear() { NOT_PROVIDED; }
bool KIT_PolygonMask::HitTest(int, int) const { NOT_PROVIDED; }
void KIT_PolygonMask::init() { NOT_PROVIDED; }
bool KIT_PolygonMask::is_empty() const { NOT_PROVIDED; }
Mapper_Pval::~Mapper_Pval() = default;
Mapper_WindowingManager::~Mapper_WindowingManager() = default;
int RWCollectable::compareTo(const RWCollectable*) const { NOT_PROVIDED; }
RWCollection::RWCollection() = default;
RWCollection::~RWCollection() = default;
RWWString::RWWString() = default;
RWWString::~RWWString() = default;

template <typename T>
Dicom_DumpLen Dicom_NumberType<T>::GetDumpLen() const {
    NOT_PROVIDED;
}
template <typename T>
Dicom_DumpLen Dicom_NumberType<T>::Dump(void*) const {
    NOT_PROVIDED;
}
template <typename T>
bool Dicom_NumberType<T>::Assign(const Dicom_Type&) {
    NOT_PROVIDED;
}
template <typename T>
std::wstring Dicom_NumberType<T>::GetText(std::size_t) const {
    NOT_PROVIDED;
}
template <typename T>
bool Dicom_NumberType<T>::GetNumber(std::size_t, double&) const {
    NOT_PROVIDED;
}
template <typename T>
Dicom_Type* Dicom_NumberType<T>::Clone() const {
    NOT_PROVIDED;
}
template <typename T>
std::size_t Dicom_NumberType<T>::GetVM() const {
    NOT_PROVIDED;
}
template <typename T>
bool Dicom_NumberType<T>::IsNumeric() const {
    NOT_PROVIDED;
}

template class Dicom_NumberType<unsigned short>;
template class Dicom_NumberType<float>;

// The viewer's own private attributes.
const Dicom_Tag Dicom_Dictionary::ORNEL1_INVERSE_WINDOW(0x7B211000);
const Dicom_Tag Dicom_Dictionary::MIREL_AUTO_WIN_CENTER(0x7B211001);
const Dicom_Tag Dicom_Dictionary::MIREL_AUTO_WIN_WIDTH(0x7B211002);
const Dicom_Tag Dicom_Dictionary::MIREL_COLOR_MAP_UID(0x7B211003);
const Dicom_Tag Dicom_Dictionary::MIREL_GAMMA_WINDOWING_VALUE(0x7B211004);
const Dicom_Tag Dicom_Dictionary::MIREL_KEY_IMAGE(0x7B211005);
const Dicom_Tag Dicom_Dictionary::MIREL_PRESENTATION_LUT_SHAPE(0x7B211006);
const Dicom_Tag Dicom_Dictionary::MIREL_SELECTED_WINDOWING(0x7B211007);
const Dicom_Tag Dicom_Dictionary::MIREL_WINDOWING_PRESET(0x7B211008);
