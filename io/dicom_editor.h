#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dicom_elements.h"
#include "dicom_parser.h"

/// A copy of a DICOM file in which single attributes are changed. Every other byte of the data set stays as
/// it is: transfer syntax, encapsulated pixel data, private attributes, lengths of sequences. What a change
/// makes untrue goes along: the length of a group, and of a sequence and its item around a changed attribute.
///
///     DicomEditor copy("ct.dcm");
///     copy.Put(DicomTag(0x0028, 0x1050), DicomElement{"DS", "40", {}});
///     WriteFileAtomically("out.dcm", copy.Encode());
///
/// The file must have been read by DicomFile before, which refuses what is no image. Lengths in it are still
/// taken for claims.
class DicomEditor {
public:
    /// Sequences and items, from 0, on the way from the top level to a nested data set; empty for the top.
    using Place = std::vector<std::pair<std::uint32_t, std::size_t>>;

    using Encoding = DicomEncoding;

    /// Throws PresentError for a file that cannot be read or has no file meta information.
    explicit DicomEditor(const std::string& path);

    /// The bytes of a top-level value as the file has them; nothing when it is absent.
    std::optional<std::string> Value(std::uint32_t tag) const;

    /// Puts an attribute in place of one that is there. The value is in little-endian bytes, as everywhere.
    void Put(std::uint32_t tag, DicomElement element, const Place& place = {});
    /// Takes an attribute out. Nothing happens where it is absent.
    void Remove(std::uint32_t tag, const Place& place = {});
    /// The identity of the copy, in the data set and in the file meta information.
    void PutInstance(const std::string& uid);
    /// The number, 10 to FF, of a creator's private block in a group. A file without one gets it, at the
    /// lowest number that is free. Throws PresentError when none is.
    unsigned PrivateBlock(unsigned group, const std::string& creator);

    /// The bytes of the copy. Throws PresentError when the file's structure cannot be followed.
    std::string Encode() const;

private:
    using Changes = std::map<std::uint32_t, std::optional<DicomElement>>;

    void read_meta();
    void find_top_level();
    /// Changes for a place and for what lies within it. `sequence` narrows the latter down.
    bool has_changes_within(const Place& place,
                            const std::optional<std::uint32_t>& sequence = std::nullopt) const;
    std::string edit(const DicomParser& parser, std::size_t begin, std::size_t end, const Place& place) const;
    /// The element at `start` with its items edited.
    std::string edit_sequence(const DicomParser& parser, std::size_t start, std::size_t end,
                              const Place& place) const;

    std::string m_Path;
    /// File meta information, then the data set, which is inflated if need be.
    std::string m_Bytes;
    std::size_t m_DataSet = 0;
    Encoding m_Encoding;
    bool m_bDeflated = false;
    std::map<Place, Changes> m_Changes;
    /// Where the top-level values lie.
    std::map<std::uint32_t, std::pair<std::size_t, std::size_t>> m_TopLevel;
};

/// The elements of a data set as bytes. Throws std::runtime_error when a value is too long for its VR.
std::string EncodeDataSet(const DicomDataSet& set, const DicomEditor::Encoding& encoding = {});

/// A new UID from a random number (PS3.5 B.2).
std::string MakeUid();
