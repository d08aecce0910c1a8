#pragma once

#include <COM/com_types.h>

/// Making objects by class identifier.

#if !defined(_WIN32)

constexpr unsigned int CLSCTX_INPROC_SERVER = 0x1;
constexpr unsigned int CLSCTX_INPROC_HANDLER = 0x2;
constexpr unsigned int CLSCTX_LOCAL_SERVER = 0x4;
constexpr unsigned int CLSCTX_REMOTE_SERVER = 0x10;
/// Every context: 23.
constexpr unsigned int CLSCTX_ALL =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

/// Makes an object of the class and writes its interface `iid`, counted, to `*object` (null on failure).
/// REGDB_E_CLASSNOTREG when no such class is known, E_NOINTERFACE when it lacks the interface,
/// CLASS_E_NOAGGREGATION for an outer object, else what the class itself answers.
HOST_API HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, unsigned int context, const IID& iid,
                                  void** object);

/// Puts an object into its running state: S_OK, or E_INVALIDARG for null.
HOST_API HRESULT OleRun(IUnknown* object);
#endif
