#pragma once

#include <DICOM/Dicom_LO.h>
#include <HOST_Export.h>
#include <MAPPER/Mapper_VOILut.h>
#include <MAPPER/Mapper_WindowingEntry.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

class Dicom_Msg;

/// Who deletes a VOI LUT.
enum VOI_LUT_OWNERSHIP {
    /// The manager, which keeps one per entry and output maximum.
    VOI_LUT_OWNED_BY_MANAGER = 0,
    /// The caller; each call makes a new one.
    VOI_LUT_OWNED_BY_CALLER = 1
};

/// The windowings of an image message: its window pairs, then the items of its VOI LUT Sequence,
/// each in the order of the message.
///
/// A pair that isn't a window (no number, or a width of 0 or less) and an item that can't be read as a table
/// are left out. A pair with a function that the standard does not define is listed as linear but gives no
/// VOI LUT, so that only its numbers count.
class HOST_API Mapper_WindowingManager {
public:
    /// The message is needed until Init has returned. Null gives a manager without entries.
    explicit Mapper_WindowingManager(const Dicom_Msg* msg);
    Mapper_WindowingManager(const Mapper_WindowingManager&) = delete;
    Mapper_WindowingManager& operator=(const Mapper_WindowingManager&) = delete;
    virtual ~Mapper_WindowingManager();

    /// Reads the entries; returns 0, or -1 without a message. A further call changes nothing.
    int Init();

    /// A VOI LUT for one of m_Entries with outputs from 0 to `maxOutput`. Null for an entry that gives none
    /// or isn't in the list, and for a negative `maxOutput`. Safe on several threads at once.
    Mapper_VOILut* CreateDicomVOILut(const Mapper_WindowingEntry* entry, int maxOutput,
                                     VOI_LUT_OWNERSHIP ownership);

    /// Writes a window, in modality units, into any message so that it is the first one found there. Returns
    /// 1; 0 with nothing written for a null message or numbers that aren't finite; 0 with the table in its
    /// own window where its descriptor cannot hold the given one (a width outside 1 to 65536, a first input
    /// below -32768 or above 65535, 32767 if the rescaled pixels can be negative).
    /// - null or linear entry: the pair with `explanation` and the function LINEAR; tables stay, behind it;
    /// - sigmoid: the pair with the entry's own explanation and the function SIGMOID;
    /// - table: the pairs go, and the table becomes the first item of the VOI LUT Sequence, resampled to the
    ///   window if that is not the table's own; the other items stay.
    int SetVOILUT(Dicom_Msg* msg, const Mapper_WindowingEntry* entry, double center, double width,
                  Dicom_LO explanation);

    /// In the order of selection; the manager deletes them.
    std::vector<Mapper_WindowingEntry*> m_Entries;

private:
    void add(std::unique_ptr<Mapper_WindowingEntry> entry);
    void read_pairs(std::vector<std::wstring>& names);
    void read_tables(std::vector<std::wstring>& names);
    void name_entries(const std::vector<std::wstring>& names);
    bool put_table(Dicom_Msg& msg, const Mapper_WindowingEntry& entry, double center, double width) const;

    /// Null once it has been read.
    const Dicom_Msg* m_pMsg;
    bool m_bRead = false;
    Mapper_Rescale m_Rescale;
    // Of the rescaled pixels.
    double m_LowestInput = 0.0;
    double m_HighestInput = 65535.0;
    std::mutex m_Lock;
    std::map<std::pair<const Mapper_WindowingEntry*, int>, std::unique_ptr<Mapper_VOILut>> m_Luts;
};
