// Gamma and inversion.

#include <ZEV/ZEV_Params.h>

bool ZEV_Params::IsGamma1LargerThanGamma2(float gamma1, float gamma2) {
    return gamma1 > gamma2 - kGammaTolerance;
}
bool ZEV_Params::IsGamma1SmallerThanGamma2(float gamma1, float gamma2) {
    return gamma2 + kGammaTolerance > gamma1;
}

bool ZEV_Params::IsValidGamma(float gamma) {
    return IsGamma1LargerThanGamma2(gamma, kGammaLowest) && IsGamma1SmallerThanGamma2(gamma, kGammaHighest) &&
           gamma != kGammaDisabled;
}

float ZEV_Params::GetGamma() { return m_Gamma.m_Value; }
float ZEV_Params::GetInitialGamma() { return m_Gamma.m_Initial; }
bool ZEV_Params::IsGammaInitialized() { return m_Gamma.m_bInitialized; }
bool ZEV_Params::GammaLargerThan(float gamma) { return IsGamma1LargerThanGamma2(gamma, GetGamma()); }
bool ZEV_Params::GammaSmallerThan(float gamma) { return IsGamma1SmallerThanGamma2(gamma, GetGamma()); }
bool ZEV_Params::GammaIsEqualTo(float gamma) { return GammaLargerThan(gamma) && GammaSmallerThan(gamma); }
bool ZEV_Params::IsGammaDisabled() { return GetGamma() == kGammaDisabled; }
bool ZEV_Params::GammaExistAndNotNaturalValue() {
    return !IsGammaDisabled() && !GammaIsEqualTo(kGammaNatural);
}

void ZEV_Params::InitGamma(float gamma) { m_Gamma.Init(gamma); }

void ZEV_Params::SetGamma(float gamma) {
    if (!IsValidGamma(gamma)) return;
    m_Gamma.Set(gamma);
    MarkTableChange();
}

void ZEV_Params::UpdateGamma(float difference) {
    if (!IsValidGamma(GetGamma() + difference)) return;
    m_Gamma.Update(difference);
    MarkTableChange();
}

void ZEV_Params::EnableGamma(bool enable) {
    if (enable) {
        m_Gamma.Set(m_Gamma.m_Initial);
    } else {
        SetGamma(kGammaDisabled);
    }
}

bool ZEV_Params::IsInverse() { return m_Inverse.m_Value; }
bool ZEV_Params::GetInverse() { return IsInverse(); }

void ZEV_Params::InitInverse(bool inverse) {
    m_Inverse.Init(inverse);
    MarkTableChange();
}

void ZEV_Params::SetInverse(bool inverse) {
    if (!m_Inverse.Set(inverse)) return;
    MarkTableChange();
    m_InverseChangeCounter.MarkChange();
}

bool ZEV_Params::GetVisibleInverse() { return m_Inverse.m_Value != m_bPhotometricInverse; }
bool ZEV_Params::GetPhotometricInverse() { return m_bPhotometricInverse; }
void ZEV_Params::SetPhotometricInverse(bool inverse) { m_bPhotometricInverse = inverse; }
bool ZEV_Params::GetLutInverse() { return m_bLutInverse; }
void ZEV_Params::SetLutInverse(bool inverse) { m_bLutInverse = inverse; }
KIT_ChangeCounter ZEV_Params::GetInverseChangeCounter() { return m_InverseChangeCounter; }
