#include "dicom_library.h"

#include <atomic>

#include "module.h"
#include "refusal.h"

namespace {

constexpr const char* kModuleName = "libzevcodecs.so";

const DicomLibrary& load() {
    std::string reason;
    void* const symbol = ModuleSymbol(kModuleName, kDicomLibrarySymbol, &reason);
    if (symbol == nullptr) throw Refusal("cannot be decoded: " + reason);
    return *reinterpret_cast<const DicomLibrary* (*)()>(symbol)();
}

}  // namespace

// Without the lock of a static variable, which a child process could inherit closed.
const DicomLibrary& LoadDicomLibrary() {
    static std::atomic<const DicomLibrary*> loaded{nullptr};
    if (loaded == nullptr) loaded = &load();
    return *loaded;
}
