#pragma once

#include <KIT/KIT_Mask.h>
#include <MIR/Mir_PrivateHeap.h>
#include <ZEV/ZEV_Export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

/// A finished lookup table: one read turns a pixel value into a display value.
///
///     std::unique_ptr<ZEV_AbstractWindowingTable> table(params.BuildTable(tableParams));
///     auto* t = dynamic_cast<ZEV_WindowingTable<short, unsigned char>*>(table.get());
///     display = t->GetTable()[pixel];           // a signed pixel may be negative
///
/// The base hides the types where tables are only passed on; a mask's run carries one as its
/// KIT_Mask::Data, which converts back with static_cast. Tables are not copied; each has one owner, who
/// deletes it through this base. Several threads may read a finished table; nothing is locked.
class ZEV_API ZEV_AbstractWindowingTable : public KIT_Mask::Data {
public:
    ZEV_AbstractWindowingTable() = default;
    ZEV_AbstractWindowingTable(const ZEV_AbstractWindowingTable&) {}
    ZEV_AbstractWindowingTable& operator=(const ZEV_AbstractWindowingTable&) { return *this; }

    virtual ~ZEV_AbstractWindowingTable();
    /// Makes pixel value 0 read the entry `offset` places behind the first: 0 to GetSize() - 1, not tested.
    /// Counted from the first entry each time.
    virtual void SetOrigin(int offset) = 0;
    /// Number of entries by the input type (256 or 65536), not by the raster's real depth; -1 in the base.
    virtual int GetSize();

    /// A new table, all entries 0, for bits per pixel by bands: below 9, 9 to 16, 17 to 32. The caller owns
    /// it. The sign concerns the input type only. Null, with a log line, for a depth of 33 or more; null when
    /// there is no memory for the object. A 32-bit input gives a table without entries.
    static ZEV_AbstractWindowingTable* CreateByDepthsAndSigns(int inputDepth, int outputDepth, bool isSigned);
};

/// The table for pixels of type In (8, 16 or 32 bits, signed or not) and display values of type Out
/// (unsigned). A raster of fewer bits than In fills the first 1 << bits entries; the others stay 0. For
/// signed pixels the origin lies in the middle of the filled range.
template <class In, class Out>
class ZEV_API ZEV_WindowingTable : public ZEV_AbstractWindowingTable {
public:
    /// How a new table's storage is treated.
    enum class Storage {
        PrivateHeap,       ///< from the host's recycling heap, all entries 0
        PrivateHeapUnset,  ///< the same, contents undefined: the caller fills every entry before it is read
        Ordinary           ///< from array new, all entries 0
    };

    explicit ZEV_WindowingTable(Storage storage);
    ~ZEV_WindowingTable() override;
    ZEV_WindowingTable(const ZEV_WindowingTable&) = delete;
    ZEV_WindowingTable& operator=(const ZEV_WindowingTable&) = delete;

    void SetOrigin(int offset) override;
    int GetSize() override { return m_Size; }

    /// The entry of pixel value 0; null if there was no memory for the storage.
    Out* GetTable() const { return m_pOrigin; }

    /// Number of values of In as a 32-bit count: 0 for a 32-bit In.
    static constexpr int kSize = sizeof(In) == 1 ? 256 : sizeof(In) == 2 ? 65536 : 0;

private:
    Out* m_pTable;         ///< first entry; owned
    Out* m_pOrigin;        ///< the entry of pixel value 0
    int m_Size;            ///< number of entries
    bool m_OnPrivateHeap;  ///< the storage goes back to the private heap
};

template <class In, class Out>
ZEV_WindowingTable<In, Out>::ZEV_WindowingTable(Storage storage)
    : m_pTable(nullptr), m_pOrigin(nullptr), m_Size(kSize), m_OnPrivateHeap(storage != Storage::Ordinary) {
    const std::size_t bytes = static_cast<std::size_t>(m_Size) * sizeof(Out);
    if (m_OnPrivateHeap) {
        m_pTable = static_cast<Out*>(
            Mir_SingletonHeap::GetInstance(static_cast<Mir_HeapType>(0)).AllocateArray(bytes, __FILE__));
    } else {
        m_pTable = new Out[static_cast<std::size_t>(m_Size)];
    }
    if (m_pTable != nullptr && storage != Storage::PrivateHeapUnset) std::memset(m_pTable, 0, bytes);
    m_pOrigin = m_pTable;
}

template <class In, class Out>
ZEV_WindowingTable<In, Out>::~ZEV_WindowingTable() {
    if (m_OnPrivateHeap) {
        Mir_SingletonHeap::GetInstance(static_cast<Mir_HeapType>(0)).FreeArray(m_pTable, __FILE__);
    } else {
        delete[] m_pTable;
    }
}

template <class In, class Out>
void ZEV_WindowingTable<In, Out>::SetOrigin(int offset) {
    m_pOrigin = m_pTable == nullptr ? nullptr : m_pTable + offset;
}

#define ZEV_DECLARE_TABLES(In)                                            \
    extern template class ZEV_API ZEV_WindowingTable<In, unsigned char>;  \
    extern template class ZEV_API ZEV_WindowingTable<In, unsigned short>; \
    extern template class ZEV_API ZEV_WindowingTable<In, unsigned int>;
ZEV_DECLARE_TABLES(signed char)
ZEV_DECLARE_TABLES(unsigned char)
ZEV_DECLARE_TABLES(short)
ZEV_DECLARE_TABLES(unsigned short)
ZEV_DECLARE_TABLES(int)
ZEV_DECLARE_TABLES(unsigned int)
#undef ZEV_DECLARE_TABLES
