#pragma once

#include <ZEV/ZEV_Export.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

/// One presentation value that knows whether the image has given it yet.
///
///     ZEV_ParamValue<int> width;
///     width.Update(5);     // not initialised: the difference is kept
///     width.Init(100);     // the image's value; the difference is replayed: 105
///     width.Reset();       // back to 100
///
/// Init takes a value from the image and makes it the value to reset to, Set is an absolute change, Update a
/// change by a difference. Limits, where a holder has them, apply to every change but a plain Init.
/// Instantiated for int, float and bool; for bool the sum of a value and a difference is their logical or.
/// Not locked.
template <class T>
class ZEV_ParamValue {
public:
    ZEV_ParamValue() = default;
    ZEV_ParamValue(const ZEV_ParamValue&) = delete;

    /// Takes value, initial value, initialisation and limits. The two flags about waiting and early values
    /// stay this holder's own. A source with a list gives its contents; a source without one leaves this
    /// holder's list as it is.
    ZEV_ParamValue& operator=(const ZEV_ParamValue& other);

    /// The value that the image gives. Not limited, unless differences were waiting: those are replayed on
    /// top.
    void Init(T value);
    /// An absolute change; drops the differences that wait. Returns whether the value changed.
    bool Set(T value);
    /// A change by a difference; only recorded before Init. Returns whether the value changed.
    bool Update(T difference);
    /// Back to the initial value, if there is one. Returns whether the value changed.
    bool Reset();
    /// Takes over what another holder has: its value if it is initialised, else what was done to it.
    void Absorb(const ZEV_ParamValue& other);
    /// Applies the waiting differences in order of arrival, limiting after each. Returns whether the value
    /// changed.
    bool ReplayPending();
    /// Forgets the waiting differences; the list object stays.
    void ClearPending();

    T m_Value = T();  ///< the current value
    std::unique_ptr<std::vector<T>>
        m_pPending;                 ///< differences that arrived before Init, in order; made on first use
    bool m_bInitialized = false;    ///< Init has happened
    bool m_bHasPending = false;     ///< an Update arrived before Init
    bool m_bSetBeforeInit = false;  ///< the last Set came before Init
    T m_Initial = T();              ///< the value of the last Init
    T m_Max = T();                  ///< upper limit
    T m_Min = T();                  ///< lower limit
    bool m_bHasLimits = false;      ///< the limits apply

private:
    /// Room that a new list reserves: 1000 numbers, or 32 words of 32 bits.
    static constexpr std::size_t kPendingRoom = std::is_same_v<T, bool> ? 32 * 32 : 1000;

    void make_list();
    T clamp(T value) const;
    T sum(T value, T difference) const;
};

template <class T>
ZEV_ParamValue<T>& ZEV_ParamValue<T>::operator=(const ZEV_ParamValue& other) {
    if (this == &other) return *this;
    m_Value = other.m_Value;
    m_bInitialized = other.m_bInitialized;
    m_Max = other.m_Max;
    m_Min = other.m_Min;
    m_bHasLimits = other.m_bHasLimits;
    m_Initial = other.m_Initial;
    if (other.m_pPending) {
        make_list();
        *m_pPending = *other.m_pPending;
    }
    return *this;
}

template <class T>
void ZEV_ParamValue<T>::Init(T value) {
    const bool hadPending = m_bHasPending;
    m_bInitialized = true;
    m_Value = m_Initial = value;
    if (hadPending) {
        m_Value = clamp(value);
        ReplayPending();
    }
}

template <class T>
bool ZEV_ParamValue<T>::Set(T value) {
    const T old = m_Value;
    m_bHasPending = false;
    m_Value = clamp(value);
    m_bSetBeforeInit = !m_bInitialized;
    ClearPending();
    return m_Value != old;
}

template <class T>
bool ZEV_ParamValue<T>::Update(T difference) {
    if (m_bInitialized) {
        const T old = m_Value;
        m_Value = clamp(sum(m_Value, difference));
        return m_Value != old;
    }
    m_bHasPending = true;
    make_list();
    m_pPending->push_back(difference);
    return false;
}

template <class T>
bool ZEV_ParamValue<T>::Reset() {
    if (!m_bInitialized) {
        ClearPending();
        return false;
    }
    const T old = m_Value;
    m_bHasPending = false;
    m_Value = clamp(m_Initial);
    m_bSetBeforeInit = false;
    ClearPending();
    return m_Value != old;
}

template <class T>
void ZEV_ParamValue<T>::Absorb(const ZEV_ParamValue& other) {
    if (other.m_bInitialized) {
        m_bHasPending = false;
        m_Value = clamp(other.m_Value);
        m_bSetBeforeInit = !m_bInitialized;
        ClearPending();
        return;
    }
    if (other.m_bSetBeforeInit) Set(other.m_Value);
    if (other.m_bHasPending && other.m_pPending) {
        // By index and count taken first, so that a holder may absorb itself.
        const std::size_t count = other.m_pPending->size();
        for (std::size_t i = 0; i < count && i < other.m_pPending->size(); ++i)
            Update((*other.m_pPending)[i]);
    }
}

template <class T>
bool ZEV_ParamValue<T>::ReplayPending() {
    if (!m_pPending) return false;
    const T old = m_Value;
    for (const T difference : *m_pPending) m_Value = clamp(sum(m_Value, difference));
    ClearPending();
    return m_Value != old;
}

template <class T>
void ZEV_ParamValue<T>::ClearPending() {
    if (m_pPending) m_pPending->clear();
}

template <class T>
void ZEV_ParamValue<T>::make_list() {
    if (m_pPending) return;
    m_pPending = std::make_unique<std::vector<T>>();
    m_pPending->reserve(kPendingRoom);
}

template <class T>
T ZEV_ParamValue<T>::clamp(T value) const {
    if (!m_bHasLimits) return value;
    if (value < m_Min) return m_Min;
    if (value > m_Max) return m_Max;
    return value;
}

// Whole numbers add in 64 bits and stop at the 32-bit ends.
template <class T>
T ZEV_ParamValue<T>::sum(T value, T difference) const {
    if constexpr (std::is_same_v<T, bool>) {
        return value || difference;
    } else if constexpr (std::is_integral_v<T>) {
        const std::int64_t wide = std::int64_t{value} + std::int64_t{difference};
        if (wide < std::numeric_limits<T>::min()) return std::numeric_limits<T>::min();
        if (wide > std::numeric_limits<T>::max()) return std::numeric_limits<T>::max();
        return static_cast<T>(wide);
    } else {
        return value + difference;
    }
}

extern template class ZEV_API ZEV_ParamValue<int>;
extern template class ZEV_API ZEV_ParamValue<float>;
extern template class ZEV_API ZEV_ParamValue<bool>;
