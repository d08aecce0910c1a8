#pragma once

#include <COM/com_types.h>

/// The factories of the configuration's objects, see refhost::ComFactory.
namespace refhost {

HRESULT MakeConfigRoot(const IID& iid, void** out);
HRESULT MakeConfigIterator(const IID& iid, void** out);

}  // namespace refhost
