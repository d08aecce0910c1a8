#pragma once

#include <new>
#include <utility>

/// Room for a constant object that is made on demand and never destroyed. The room itself needs no
/// initialisation, so a reference to the object is valid before any code has run.
template <typename T>
union ConstantSlot {
    constexpr ConstantSlot() : m_Empty() {}
    ~ConstantSlot() {}

    template <typename... Args>
    void Make(Args&&... args) {
        new (&m_Object) T(std::forward<Args>(args)...);
    }

    char m_Empty;
    T m_Object;
};
