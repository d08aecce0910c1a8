#include "stream_decoder.h"

#include <gdcmBitmap.h>
#include <gdcmSequenceOfFragments.h>
#include <gdcmTrace.h>
#include <gdcmTransferSyntax.h>

#include <algorithm>
#include <cstdint>

#include "io/dicom_tags.h"
#include "io/refusal.h"

namespace {

gdcm::DataElement one_fragment(std::string bytes) {
    if (bytes.size() % 2 != 0) bytes += '\0';
    gdcm::Fragment fragment;
    fragment.SetByteValue(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    gdcm::SmartPointer<gdcm::SequenceOfFragments> fragments = new gdcm::SequenceOfFragments;
    fragments->AddFragment(fragment);
    gdcm::DataElement pixels{gdcm::Tag(tag::kPixelData)};
    pixels.SetVR(gdcm::VR::OB);
    pixels.SetValue(*fragments);
    return pixels;
}

void describe(const StoredFrame& frame, const std::string& photometricName, gdcm::Bitmap* bitmap) {
    bitmap->SetNumberOfDimensions(2);
    bitmap->SetDimension(0, static_cast<unsigned>(frame.columns));
    bitmap->SetDimension(1, static_cast<unsigned>(frame.rows));
    bitmap->SetPixelFormat(gdcm::PixelFormat(
        static_cast<unsigned short>(frame.samples), static_cast<unsigned short>(frame.bitsAllocated),
        static_cast<unsigned short>(frame.bitsStored), static_cast<unsigned short>(frame.bitsStored - 1),
        static_cast<unsigned short>(frame.isSigned)));
    gdcm::PhotometricInterpretation::PIType photometric = gdcm::PhotometricInterpretation::MONOCHROME2;
    if (frame.samples == 3) {
        photometric = gdcm::PhotometricInterpretation::GetPIType(photometricName.c_str());
        if (photometric == gdcm::PhotometricInterpretation::UNKNOWN)
            photometric = gdcm::PhotometricInterpretation::RGB;
    }
    bitmap->SetPhotometricInterpretation(photometric);
}

}  // namespace

void DecodeStream(const std::string& stream, const std::string& transferSyntax,
                  const std::string& photometric, StoredFrame* frame) {
    gdcm::Trace::WarningOff();
    gdcm::Trace::ErrorOff();
    gdcm::Bitmap bitmap;
    describe(*frame, photometric, &bitmap);
    bitmap.SetTransferSyntax(gdcm::TransferSyntax::GetTSType(transferSyntax.c_str()));
    bitmap.SetDataElement(one_fragment(stream));

    const std::uint64_t samples = frame->Pixels() * static_cast<std::uint64_t>(frame->samples),
                        length = bitmap.GetBufferLength();
    frame->data.resize(std::max<std::uint64_t>(length, 4 * samples));
    if (!bitmap.GetBuffer(&frame->data[0])) throw Refusal("compressed pixel data cannot be decoded");
    const gdcm::PixelFormat& format = bitmap.GetPixelFormat();
    frame->sampleBytes = format.GetBitsAllocated() / 8;
    if (format.GetBitsAllocated() % 8 != 0 || frame->sampleBytes == 3 || frame->sampleBytes > 4 ||
        frame->sampleBytes < 1 || format.GetSamplesPerPixel() != frame->samples) {
        throw Refusal("compressed pixel data decode to another form than the header says");
    }
    frame->data.resize(samples * static_cast<unsigned>(frame->sampleBytes));
    frame->bitsAllocated = format.GetBitsAllocated();
    frame->bitsStored = std::min<int>(frame->bitsStored, frame->bitsAllocated);
    frame->highBit = frame->bitsStored - 1;
}
