// Prints the DICOM library's dictionary of public attributes as the table that dicom_dictionary.cpp includes.
#include <gdcmDict.h>
#include <gdcmDicts.h>
#include <gdcmGlobal.h>

#include <cstdio>
#include <cstring>

namespace {

void print(unsigned tag, const gdcm::VR& vr) {
    const char* name = vr == gdcm::VR::INVALID ? nullptr : gdcm::VR::GetVRString(vr);
    if (name == nullptr || std::strlen(name) != 2) name = "UN";
    if (vr == gdcm::VR::US_SS) name = "xs";
    if (vr == gdcm::VR::US_SS_OW || vr == gdcm::VR::US_OW || vr == gdcm::VR::OB_OW) name = "OW";
    std::printf("{0x%08X, \"%s\"},\n", tag, name);
}

}  // namespace

int main() {
    const gdcm::Tag other(0xFFFF, 0xFFFF);
    const gdcm::Dict& dictionary = gdcm::Global::GetInstance().GetDicts().GetPublicDict();
    for (auto entry = dictionary.Begin(); entry != dictionary.End(); ++entry) {
        if (entry->first.IsPublic() && entry->first != other)
            print(entry->first.GetElementTag(), entry->second.GetVR());
    }
    print(other.GetElementTag(), dictionary.GetDictEntry(other).GetVR());
}
