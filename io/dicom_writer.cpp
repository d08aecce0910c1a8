#include "dicom_writer.h"

#include <gdcmSequenceOfItems.h>
#include <gdcmWriter.h>

#include <sstream>

namespace {

void fill(const DicomDataSet& source, gdcm::DataSet& target) {
    for (const auto& [number, element] : source.elements) {
        gdcm::DataElement converted(
            gdcm::Tag(static_cast<std::uint16_t>(number >> 16), static_cast<std::uint16_t>(number & 0xFFFF)));
        converted.SetVR(gdcm::VR::GetVRTypeFromFile(element.vr.c_str()));
        if (element.IsSequence()) {
            const gdcm::SmartPointer<gdcm::SequenceOfItems> items = new gdcm::SequenceOfItems;
            items->SetLengthToUndefined();
            for (const DicomDataSet& itemSource : element.items) {
                gdcm::Item item;
                item.SetVLToUndefined();
                fill(itemSource, item.GetNestedDataSet());
                items->AddItem(item);
            }
            converted.SetValue(*items);
            converted.SetVLToUndefined();
        } else {
            converted.SetByteValue(element.bytes.data(), static_cast<std::uint32_t>(element.bytes.size()));
        }
        target.Replace(converted);
    }
}

}  // namespace

std::string EncodeDicomFile(const DicomDataSet& dataSet) {
    gdcm::Writer writer;
    fill(dataSet, writer.GetFile().GetDataSet());
    writer.GetFile().GetHeader().SetDataSetTransferSyntax(gdcm::TransferSyntax::ExplicitVRLittleEndian);
    std::ostringstream stream;
    writer.SetStream(stream);
    if (!writer.Write()) throw std::runtime_error("the DICOM data set cannot be written");
    return stream.str();
}
