#pragma once

#include <refhost/Com.h>

#include <utility>
#include <vector>

namespace refhost {

typedef std::pair<CLSID, ComFactory> ComClass;

/// The classes of the configuration. Asked for by name, not registered by a static object, which a static
/// library would leave out.
std::vector<ComClass> ConfigClasses();

}  // namespace refhost
