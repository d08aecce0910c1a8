#pragma once

#include <COM/com_types.h>

#include <functional>

/// The process's classes of component objects. Any thread.
namespace refhost {

/// Makes an object and writes its interface `iid`, counted, to `*object`; null there on failure.
typedef std::function<HRESULT(const IID& iid, void** object)> ComFactory;

/// Makes CoCreateInstance use `factory` for the class, or forget the class when it is empty. Gives the
/// factory that was there before, so that a test can put it back.
HOST_API ComFactory RegisterComClass(const CLSID& clsid, ComFactory factory);

/// Where the platform has a component library of its own, starts it for this process and offers the classes
/// through it; elsewhere it does nothing. A program makes one at its start, before the first object, and
/// keeps it:
///
///     int main() {
///         const refhost::ComApartment apartment;
class HOST_API ComApartment {
public:
    ComApartment();
    ~ComApartment();
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

/// Leaves `description` as the calling thread's error information.
HOST_API void SetErrorDescription(const wchar_t* description);

}  // namespace refhost
