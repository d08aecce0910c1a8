// Any bytes as a DICOM file, as a directory of a medium, as a compressed frame and as a worker's answer: all
// that the project reads itself. The library for unusual files and compressed pixels runs in a process of its
// own and is not looked at here.

#include <memory>

#include "input.h"
#include "io/codestream.h"
#include "io/dicom_elements.h"
#include "io/dicom_file.h"
#include "io/dicom_parser.h"
#include "io/dicomdir.h"
#include "io/overlay_planes.h"
#include "io/plain_reader.h"
#include "io/present_error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const std::string bytes(data + 1, data + size);
    if (data[0] % 4 == 0) {
        ReadCodestreamHeader(bytes);
        std::string frame;
        const int samples = 1 + data[0] / 4 % 3, sampleBytes = 1 + data[0] / 16 % 4;
        const std::size_t pixels = 64;
        frame.assign(pixels * static_cast<std::size_t>(samples * sampleBytes), '\0');
        fuzz::Require(DecodeRle(bytes, pixels, samples, sampleBytes, &frame) <= pixels);
        try {
            ByteReader reader(bytes);
            reader.DataSet();
        } catch (const std::exception&) {
        }
        return 0;
    }
    const std::string path = fuzz::FileOf(bytes);
    const std::optional<DicomHead> head = ReadPlainHead(path);
    const std::optional<DicomDataSet> set = ReadPlainDataSet(path);
    try {
        if (head && head->transferSyntax.compare(0, 18, "1.2.840.10008.1.2.") != 0) {
            LoadOptions options;
            options.partial = data[0] & 4;
            options.frame = data[0] / 8 % 4;
            DicomFile::Load(path, options);
        }
        if (set && IsDicomDir(path)) ReadDicomDir(path);
    } catch (const PresentError&) {
    }
    return 0;
}
