#include <ZEV/ZEV_WindowingTable.h>

#include "zev_log.h"
#include "zev_table_types.h"

#define ZEV_DEFINE_TABLES(In)                              \
    template class ZEV_WindowingTable<In, unsigned char>;  \
    template class ZEV_WindowingTable<In, unsigned short>; \
    template class ZEV_WindowingTable<In, unsigned int>;
ZEV_DEFINE_TABLES(signed char)
ZEV_DEFINE_TABLES(unsigned char)
ZEV_DEFINE_TABLES(short)
ZEV_DEFINE_TABLES(unsigned short)
ZEV_DEFINE_TABLES(int)
ZEV_DEFINE_TABLES(unsigned int)
#undef ZEV_DEFINE_TABLES

ZEV_AbstractWindowingTable::~ZEV_AbstractWindowingTable() = default;

int ZEV_AbstractWindowingTable::GetSize() { return -1; }

ZEV_AbstractWindowingTable* ZEV_AbstractWindowingTable::CreateByDepthsAndSigns(int inputDepth,
                                                                               int outputDepth,
                                                                               bool isSigned) {
    if (inputDepth > zev::kLongBits || outputDepth > zev::kLongBits) {
        ZEV_LOG("ZEV_AbstractWindowingTable::CreateByDepthsAndSigns", zev::kLogError,
                "Request for creating an unsupported table\n");
        return nullptr;
    }
    return zev::VisitTableTypes<zev::kLongBits, ZEV_AbstractWindowingTable*>(
        inputDepth, outputDepth, isSigned, nullptr, [](auto types) -> ZEV_AbstractWindowingTable* {
            using Table = ZEV_WindowingTable<typename decltype(types)::In, typename decltype(types)::Out>;
            return new (std::nothrow) Table(Table::Storage::PrivateHeap);
        });
}
