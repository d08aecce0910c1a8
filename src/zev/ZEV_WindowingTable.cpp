#include <ZEV/ZEV_WindowingTable.h>

#include "zev_log.h"
#include "zev_table_types.h"

#define ZEV_DEFINE_TABLE(In, Out) template class ZEV_WindowingTable<In, Out>;
ZEV_FOR_EACH_TABLE(ZEV_DEFINE_TABLE)
#undef ZEV_DEFINE_TABLE

ZEV_AbstractWindowingTable::~ZEV_AbstractWindowingTable() = default;

int ZEV_AbstractWindowingTable::GetSize() { return -1; }

ZEV_AbstractWindowingTable* ZEV_AbstractWindowingTable::CreateByDepthsAndSigns(int inputDepth,
                                                                               int outputDepth,
                                                                               bool isSigned) {
    if (inputDepth >= 33 || outputDepth >= 33) {
        ZEV_LOG("ZEV_AbstractWindowingTable::CreateByDepthsAndSigns", zev::kLogError,
                "Request for creating an unsupported table\n");
        return nullptr;
    }
    return zev::VisitTableTypes<ZEV_AbstractWindowingTable*>(
        inputDepth, outputDepth, isSigned, nullptr, [](auto types) -> ZEV_AbstractWindowingTable* {
            using Table = ZEV_WindowingTable<typename decltype(types)::In, typename decltype(types)::Out>;
            return new (std::nothrow) Table(Table::Storage::PrivateHeap);
        });
}
