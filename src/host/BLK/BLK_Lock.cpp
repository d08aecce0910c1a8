#include <BLK/BLK_Lock.h>
#include <BLK/BLK_ProcessedData.h>

BLK_ProcessedData::~BLK_ProcessedData() = default;

BLK_Lock::BLK_Lock(BLK_ProcessedData* data) : m_pData(data != nullptr && data->hold() ? data : nullptr) {}

BLK_Lock::~BLK_Lock() {
    if (m_pData != nullptr) m_pData->release();
}
