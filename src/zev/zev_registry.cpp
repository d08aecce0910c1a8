#include "zev_registry.h"

#include <mutex>
#include <unordered_set>

namespace {

struct Registry {
    std::mutex mutex;
    std::unordered_set<const void*> objects;
};

/// Never destroyed: objects come in while the process ends.
Registry& the_registry() {
    static Registry* const registry = new Registry;
    return *registry;
}

}  // namespace

void zev::KeepForever(const void* object) {
    Registry& registry = the_registry();
    const std::lock_guard<std::mutex> hold(registry.mutex);
    registry.objects.insert(object);
}

bool zev::IsKeptForever(const void* object) {
    Registry& registry = the_registry();
    const std::lock_guard<std::mutex> hold(registry.mutex);
    return registry.objects.count(object) != 0;
}
