#include "library_reader.h"
#include "stream_decoder.h"

namespace {

class Library : public DicomLibrary {
public:
    DicomHead ReadHead(const std::string& path, bool partial) const override {
        return ReadHeadByLibrary(path, partial);
    }
    DicomDataSet ReadDataSet(const std::string& path) const override { return ReadDataSetByLibrary(path); }
    void Decode(const std::string& stream, const std::string& transferSyntax, const std::string& photometric,
                StoredFrame* frame) const override {
        DecodeStream(stream, transferSyntax, photometric, frame);
    }
};

}  // namespace

extern "C" const DicomLibrary* zev_dicom_library() {
    static const Library library;
    return &library;
}
