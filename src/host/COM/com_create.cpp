#include <COM/com_create.h>
#include <COM/com_error.h>
#include <PRM/PRM_Classes.h>
#include <refhost/Com.h>

#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "PRM/factories.h"

namespace {

struct Registry {
    std::mutex mutex;
    // Named here: of a static library only what somebody names is linked.
    std::vector<std::pair<CLSID, refhost::ComFactory>> classes{
        {CLSID_PRM_Tree, &refhost::MakeConfigRoot}, {CLSID_PRM_TreeIterator, &refhost::MakeConfigIterator}};
};

// Never destroyed: objects are made until the process ends.
Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

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
    return ComFactory();
}

HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, unsigned int, const IID& iid, void** object) {
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

HRESULT OleRun(IUnknown* object) { return object != nullptr ? S_OK : E_INVALIDARG; }
