#pragma once

#include <COM/com_create.h>
#include <COM/com_error.h>

#if defined(_WIN32)
#include <comip.h>
#else
#include <cstddef>
#include <utility>

/// `_com_ptr_t`: counted pointer to an interface.
///
///     _com_ptr_t<PRM_ITreeRoot> root(CLSID_PRM_Tree);   // raises a failed creation
///     _com_ptr_t<PRM_ITree> tree = root;                // asks for the other interface
///     if (tree != nullptr) tree->GetInt(L"key");
///
/// Use through a null pointer raises `_com_error` with E_POINTER. Where a pointer is made from another
/// interface, E_NOINTERFACE leaves it null and any other failure is raised.
/// The count of the object is safe across threads when the object's own is; one pointer is used by one thread
/// at a time.
template <class Interface>
class _com_ptr_t {
public:
    _com_ptr_t() noexcept : m_p(nullptr) {}
    _com_ptr_t(std::nullptr_t) noexcept : m_p(nullptr) {}
    _com_ptr_t(const _com_ptr_t& other) noexcept : m_p(other.m_p) { AddRef(); }
    _com_ptr_t(_com_ptr_t&& other) noexcept : m_p(other.m_p) { other.m_p = nullptr; }
    /// Counts `p` once more.
    _com_ptr_t(Interface* p) noexcept : m_p(p) { AddRef(); }
    /// Takes over one count of `p` when `addRef` is false.
    _com_ptr_t(Interface* p, bool addRef) noexcept : m_p(p) {
        if (addRef) AddRef();
    }
    template <class Other>
    _com_ptr_t(const _com_ptr_t<Other>& other) : m_p(nullptr) {
        query(other.GetInterfacePtr());
    }
    /// Makes an object of the class; a failure other than E_NOINTERFACE is raised.
    explicit _com_ptr_t(const CLSID& clsid, IUnknown* outer = nullptr, unsigned int context = CLSCTX_ALL)
        : m_p(nullptr) {
        const HRESULT result = CreateInstance(clsid, outer, context);
        if (FAILED(result) && result != E_NOINTERFACE) _com_issue_error(result);
    }
    ~_com_ptr_t() { drop(); }

    _com_ptr_t& operator=(const _com_ptr_t& other) noexcept {
        _com_ptr_t(other).swap(*this);
        return *this;
    }
    _com_ptr_t& operator=(_com_ptr_t&& other) noexcept {
        _com_ptr_t(std::move(other)).swap(*this);
        return *this;
    }
    _com_ptr_t& operator=(Interface* p) noexcept {
        _com_ptr_t(p).swap(*this);
        return *this;
    }
    _com_ptr_t& operator=(std::nullptr_t) noexcept {
        drop();
        return *this;
    }
    template <class Other>
    _com_ptr_t& operator=(const _com_ptr_t<Other>& other) {
        _com_ptr_t(other).swap(*this);
        return *this;
    }

    /// Makes an object of the class: creates it as IUnknown, runs it, asks it for the interface and releases
    /// the IUnknown. The pointer is null unless every step succeeded; the result of the failing step is
    /// given.
    HRESULT CreateInstance(const CLSID& clsid, IUnknown* outer = nullptr, unsigned int context = CLSCTX_ALL) {
        drop();
        void* made = nullptr;
        HRESULT result = CoCreateInstance(clsid, outer, context, com_iid<IUnknown>(), &made);
        if (FAILED(result)) return result;
        IUnknown* unknown = static_cast<IUnknown*>(made);
        if (unknown == nullptr) return E_POINTER;
        result = OleRun(unknown);
        if (SUCCEEDED(result)) {
            void* wanted = nullptr;
            result = unknown->QueryInterface(com_iid<Interface>(), &wanted);
            if (SUCCEEDED(result)) m_p = static_cast<Interface*>(wanted);
        }
        unknown->Release();
        return result;
    }

    /// Asks for another interface. `p` is released first and is null after a failure.
    template <class Other>
    HRESULT QueryInterface(_com_ptr_t<Other>& p) const {
        p = nullptr;
        if (m_p == nullptr) return E_POINTER;
        void* wanted = nullptr;
        const HRESULT result = m_p->QueryInterface(com_iid<Other>(), &wanted);
        if (SUCCEEDED(result)) p.Attach(static_cast<Other*>(wanted));
        return result;
    }

    Interface* operator->() const {
        if (m_p == nullptr) _com_issue_error(E_POINTER);
        return m_p;
    }
    Interface& operator*() const { return *operator->(); }
    operator Interface*() const noexcept { return m_p; }
    explicit operator bool() const noexcept { return m_p != nullptr; }
    bool operator!() const noexcept { return m_p == nullptr; }
    Interface* GetInterfacePtr() const noexcept { return m_p; }
    /// Where an operation writes a counted pointer: releases what was here.
    Interface** operator&() noexcept {
        drop();
        return &m_p;
    }

    /// Releases what was here and takes over one count of `p`.
    void Attach(Interface* p) noexcept {
        drop();
        m_p = p;
    }
    /// Gives the count to the caller and leaves null.
    Interface* Detach() noexcept { return std::exchange(m_p, nullptr); }
    /// Gives the count back and leaves null; raises E_POINTER when the pointer is null already.
    void Release() {
        if (m_p == nullptr) _com_issue_error(E_POINTER);
        drop();
    }
    void swap(_com_ptr_t& other) noexcept { std::swap(m_p, other.m_p); }

private:
    void AddRef() noexcept {
        if (m_p != nullptr) m_p->AddRef();
    }
    void drop() noexcept {
        // The object may reach this pointer while it is destroyed.
        if (Interface* p = std::exchange(m_p, nullptr)) p->Release();
    }
    void query(IUnknown* source) {
        if (source == nullptr) return;
        void* wanted = nullptr;
        const HRESULT result = source->QueryInterface(com_iid<Interface>(), &wanted);
        if (SUCCEEDED(result)) {
            m_p = static_cast<Interface*>(wanted);
        } else if (result != E_NOINTERFACE) {
            _com_issue_error(result);
        }
    }

    Interface* m_p;
};

template <class Interface>
bool operator==(const _com_ptr_t<Interface>& p, std::nullptr_t) noexcept {
    return p.GetInterfacePtr() == nullptr;
}
template <class Interface>
bool operator!=(const _com_ptr_t<Interface>& p, std::nullptr_t) noexcept {
    return p.GetInterfacePtr() != nullptr;
}
#endif

/// The pointer type of an interface on every platform.
#if defined(_WIN32)
template <class Interface>
using com_ptr = _com_ptr_t<_com_IIID<Interface, &com_interface<Interface>::iid>>;
#else
template <class Interface>
using com_ptr = _com_ptr_t<Interface>;
#endif
