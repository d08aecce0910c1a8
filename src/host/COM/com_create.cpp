#include <COM/com_create.h>
#include <COM/com_error.h>
#include <refhost/Com.h>

#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "COM/com_classes.h"
#include "COM/com_object.h"

#if defined(_WIN32)
template <>
struct com_interface<IClassFactory> {
    static constexpr IID iid = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
};
#endif

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<refhost::ComClass> classes = refhost::ConfigClasses();
    /// The platform's component library was started and knows the classes.
    bool inUse = false;
};

// Never destroyed: objects are made until the process ends.
Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

HRESULT Create(const CLSID& clsid, IUnknown* outer, const IID& iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
        refhost::ComFactory factory;
        {
            Registry& registry = TheRegistry();
            const std::lock_guard<std::mutex> hold(registry.mutex);
            for (const auto& known : registry.classes) {
                if (known.first == clsid) factory = known.second;
            }
        }
        // Called outside the lock: a factory may make other objects.
        return factory ? factory(iid, object) : REGDB_E_CLASSNOTREG;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const _com_error& error) {
        return error.Error();
    }
}

#if defined(_WIN32)

/// What the platform's component library asks for the objects of a class.
class ClassObject final : public refhost::ComObject<IClassFactory> {
public:
    explicit ClassObject(const CLSID& clsid) : m_Class(clsid) {}
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        return Create(m_Class, outer, iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

private:
    const CLSID m_Class;
};

void Offer(const CLSID& clsid) {
    DWORD cookie = 0;
    auto* const made = new ClassObject(clsid);
    CoRegisterClassObject(clsid, made, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie);
    made->Release();
}

#endif

}  // namespace

refhost::ComFactory refhost::RegisterComClass(const CLSID& clsid, ComFactory factory) {
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> hold(registry.mutex);
    for (auto it = registry.classes.begin(); it != registry.classes.end(); ++it) {
        if (it->first != clsid) continue;
        ComFactory old = std::move(it->second);
        if (factory) {
            it->second = std::move(factory);
        } else {
            registry.classes.erase(it);
        }
        return old;
    }
    if (factory) registry.classes.emplace_back(clsid, std::move(factory));
#if defined(_WIN32)
    if (registry.inUse) Offer(clsid);
#endif
    return ComFactory();
}

#if !defined(_WIN32)
refhost::ComApartment::ComApartment() = default;
refhost::ComApartment::~ComApartment() = default;

HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, unsigned int, const IID& iid, void** object) {
    return Create(clsid, outer, iid, object);
}

HRESULT OleRun(IUnknown* object) { return object != nullptr ? S_OK : E_INVALIDARG; }
#else
refhost::ComApartment::ComApartment() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> hold(registry.mutex);
    if (!std::exchange(registry.inUse, true)) {
        for (const auto& known : registry.classes) Offer(known.first);
    }
}

// The classes stay on offer, and with them the component library.
refhost::ComApartment::~ComApartment() = default;
#endif
