#pragma once

#include <cstdint>

/// A tag as one number: group in the high half, element in the low.
constexpr std::uint32_t DicomTag(unsigned group, unsigned element) { return (group << 16) | element; }

/// The attributes that more than one line of the project reads or writes, by the standard's keywords.
namespace tag {

constexpr std::uint32_t kMediaStorageSopClass = DicomTag(0x0002, 0x0002);
constexpr std::uint32_t kMetaGroupLength = DicomTag(0x0002, 0x0000);
constexpr std::uint32_t kMediaStorageSopInstance = DicomTag(0x0002, 0x0003);
constexpr std::uint32_t kTransferSyntax = DicomTag(0x0002, 0x0010);
constexpr std::uint32_t kLengthToEnd = DicomTag(0x0008, 0x0001);
constexpr std::uint32_t kSpecificCharacterSet = DicomTag(0x0008, 0x0005);
constexpr std::uint32_t kImageType = DicomTag(0x0008, 0x0008);
constexpr std::uint32_t kSopClass = DicomTag(0x0008, 0x0016);
constexpr std::uint32_t kSopInstance = DicomTag(0x0008, 0x0018);
constexpr std::uint32_t kModality = DicomTag(0x0008, 0x0060);
constexpr std::uint32_t kPresentationIntent = DicomTag(0x0008, 0x0068);
constexpr std::uint32_t kReferencedPresentationStates = DicomTag(0x0008, 0x9237);
constexpr std::uint32_t kImagerPixelSpacing = DicomTag(0x0018, 0x1164);
constexpr std::uint32_t kReferencedSeries = DicomTag(0x0008, 0x1115);
constexpr std::uint32_t kReferencedImages = DicomTag(0x0008, 0x1140);
constexpr std::uint32_t kReferencedSopClass = DicomTag(0x0008, 0x1150);
constexpr std::uint32_t kReferencedSopInstance = DicomTag(0x0008, 0x1155);
constexpr std::uint32_t kReferencedFrameNumber = DicomTag(0x0008, 0x1160);
constexpr std::uint32_t kDerivationDescription = DicomTag(0x0008, 0x2111);
constexpr std::uint32_t kPixelPresentation = DicomTag(0x0008, 0x9205);
constexpr std::uint32_t kSamplesPerPixel = DicomTag(0x0028, 0x0002);
constexpr std::uint32_t kPhotometricInterpretation = DicomTag(0x0028, 0x0004);
constexpr std::uint32_t kPlanarConfiguration = DicomTag(0x0028, 0x0006);
constexpr std::uint32_t kNumberOfFrames = DicomTag(0x0028, 0x0008);
constexpr std::uint32_t kRows = DicomTag(0x0028, 0x0010);
constexpr std::uint32_t kColumns = DicomTag(0x0028, 0x0011);
constexpr std::uint32_t kPixelAspectRatio = DicomTag(0x0028, 0x0034);
constexpr std::uint32_t kPixelSpacing = DicomTag(0x0028, 0x0030);
constexpr std::uint32_t kBitsAllocated = DicomTag(0x0028, 0x0100);
constexpr std::uint32_t kBitsStored = DicomTag(0x0028, 0x0101);
constexpr std::uint32_t kHighBit = DicomTag(0x0028, 0x0102);
constexpr std::uint32_t kPixelRepresentation = DicomTag(0x0028, 0x0103);
constexpr std::uint32_t kSmallestPixelValue = DicomTag(0x0028, 0x0106);
constexpr std::uint32_t kLargestPixelValue = DicomTag(0x0028, 0x0107);
constexpr std::uint32_t kPixelPaddingValue = DicomTag(0x0028, 0x0120);
constexpr std::uint32_t kPixelPaddingRangeLimit = DicomTag(0x0028, 0x0121);
constexpr std::uint32_t kFloatPixelPadding = DicomTag(0x0028, 0x0122);
constexpr std::uint32_t kDoubleFloatPixelPadding = DicomTag(0x0028, 0x0123);
constexpr std::uint32_t kFloatPixelPaddingLimit = DicomTag(0x0028, 0x0124);
constexpr std::uint32_t kDoubleFloatPixelPaddingLimit = DicomTag(0x0028, 0x0125);
constexpr std::uint32_t kWindowCenter = DicomTag(0x0028, 0x1050);
constexpr std::uint32_t kWindowWidth = DicomTag(0x0028, 0x1051);
constexpr std::uint32_t kRescaleIntercept = DicomTag(0x0028, 0x1052);
constexpr std::uint32_t kRescaleSlope = DicomTag(0x0028, 0x1053);
constexpr std::uint32_t kRescaleType = DicomTag(0x0028, 0x1054);
constexpr std::uint32_t kWindowExplanation = DicomTag(0x0028, 0x1055);
constexpr std::uint32_t kVoiLutFunction = DicomTag(0x0028, 0x1056);
// Those of the red palette; green and blue follow.
constexpr std::uint32_t kPaletteDescriptor = DicomTag(0x0028, 0x1101);
constexpr std::uint32_t kPaletteData = DicomTag(0x0028, 0x1201);
constexpr std::uint32_t kSegmentedPaletteData = DicomTag(0x0028, 0x1221);
constexpr std::uint32_t kModalityLutSequence = DicomTag(0x0028, 0x3000);
constexpr std::uint32_t kModalityLutType = DicomTag(0x0028, 0x3004);
constexpr std::uint32_t kLutDescriptor = DicomTag(0x0028, 0x3002);
constexpr std::uint32_t kLutData = DicomTag(0x0028, 0x3006);
constexpr std::uint32_t kVoiLutSequence = DicomTag(0x0028, 0x3010);
constexpr std::uint32_t kSoftcopyVoiLutSequence = DicomTag(0x0028, 0x3110);
constexpr std::uint32_t kFrameVoiLutSequence = DicomTag(0x0028, 0x9132);
constexpr std::uint32_t kRealWorldValueMapping = DicomTag(0x0040, 0x9096);
constexpr std::uint32_t kPetUnits = DicomTag(0x0054, 0x1001);
constexpr std::uint32_t kImageHorizontalFlip = DicomTag(0x0070, 0x0041);
constexpr std::uint32_t kImageRotation = DicomTag(0x0070, 0x0042);
constexpr std::uint32_t kDisplayedAreaTopLeft = DicomTag(0x0070, 0x0052);
constexpr std::uint32_t kDisplayedAreaBottomRight = DicomTag(0x0070, 0x0053);
constexpr std::uint32_t kDisplayedAreaSequence = DicomTag(0x0070, 0x005A);
constexpr std::uint32_t kContentLabel = DicomTag(0x0070, 0x0080);
constexpr std::uint32_t kContentDescription = DicomTag(0x0070, 0x0081);
constexpr std::uint32_t kPresentationCreationDate = DicomTag(0x0070, 0x0082);
constexpr std::uint32_t kPresentationCreationTime = DicomTag(0x0070, 0x0083);
constexpr std::uint32_t kContentCreatorName = DicomTag(0x0070, 0x0084);
constexpr std::uint32_t kPresentationSizeMode = DicomTag(0x0070, 0x0100);
constexpr std::uint32_t kPresentationPixelSpacing = DicomTag(0x0070, 0x0101);
constexpr std::uint32_t kPresentationPixelAspectRatio = DicomTag(0x0070, 0x0102);
constexpr std::uint32_t kMagnificationRatio = DicomTag(0x0070, 0x0103);
constexpr std::uint32_t kPresentationLutSequence = DicomTag(0x2050, 0x0010);
constexpr std::uint32_t kPresentationLutShape = DicomTag(0x2050, 0x0020);
constexpr std::uint32_t kSharedFunctionalGroups = DicomTag(0x5200, 0x9229);
constexpr std::uint32_t kPerFrameFunctionalGroups = DicomTag(0x5200, 0x9230);
constexpr std::uint32_t kExtendedOffsetTable = DicomTag(0x7FE0, 0x0001);
constexpr std::uint32_t kFloatPixelData = DicomTag(0x7FE0, 0x0008);
constexpr std::uint32_t kDoubleFloatPixelData = DicomTag(0x7FE0, 0x0009);
constexpr std::uint32_t kPixelData = DicomTag(0x7FE0, 0x0010);
constexpr std::uint32_t kItem = DicomTag(0xFFFE, 0xE000);
constexpr std::uint32_t kItemDelimitation = DicomTag(0xFFFE, 0xE00D);
constexpr std::uint32_t kSequenceDelimitation = DicomTag(0xFFFE, 0xE0DD);

}  // namespace tag
