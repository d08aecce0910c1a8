#pragma once

#include <COM/com_types.h>

#include <atomic>

namespace refhost {

/// Base of the host's component objects: counts its owners and answers for its interfaces, the first of which
/// stands for IUnknown too. A new object has one owner.
template <class First, class... More>
class ComObject : public First, public More... {
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT QueryInterface(const IID& iid, void** object) final {
        if (object == nullptr) return E_POINTER;
        *object = nullptr;
        if (iid == com_iid<IUnknown>()) *object = static_cast<IUnknown*>(static_cast<First*>(this));
        offer<First>(iid, object);
        (offer<More>(iid, object), ...);
        if (*object == nullptr) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() final { return m_Owners.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG Release() final {
        const ULONG left = m_Owners.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~ComObject() = default;

private:
    template <class Interface>
    void offer(const IID& iid, void** object) {
        if (iid == com_iid<Interface>()) *object = static_cast<Interface*>(this);
    }

    std::atomic<ULONG> m_Owners{1};
};

}  // namespace refhost
