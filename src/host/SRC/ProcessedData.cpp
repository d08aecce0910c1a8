#include <COM/com_object.h>
#include <refhost/ProcessedData.h>

namespace refhost {

namespace {

class PlainSource final : public ComObject<SRC_IImageDataSource> {};

class ProcessedSource final : public ComObject<SRC_IImageDataSource, SRC_IProcessedDataSource> {
public:
    explicit ProcessedSource(BLK_ProcessedData* data) : m_pData(data) {}

    HRESULT GetProcessedData(BLK_ProcessedData** data) override {
        if (data == nullptr) return E_POINTER;
        *data = m_pData;
        return S_OK;
    }

private:
    BLK_ProcessedData* m_pData;
};

}  // namespace

int ProcessedData::GetValueRange(int) { return m_ValueRange; }

void ProcessedData::Withdraw() {
    const std::lock_guard<std::recursive_mutex> guard(m_Mutex);
    m_bWithdrawn = true;
}

bool ProcessedData::hold() {
    m_Mutex.lock();
    if (!m_bWithdrawn) return true;
    m_Mutex.unlock();
    return false;
}

void ProcessedData::release() { m_Mutex.unlock(); }

SRC_IImageDataSourcePtr MakeProcessedDataSource(BLK_ProcessedData* data) {
    return SRC_IImageDataSourcePtr(new ProcessedSource(data), false);
}

SRC_IImageDataSourcePtr MakePlainDataSource() { return SRC_IImageDataSourcePtr(new PlainSource, false); }

}  // namespace refhost
