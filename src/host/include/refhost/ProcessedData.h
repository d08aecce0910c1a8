#pragma once

#include <BLK/BLK_ProcessedData.h>
#include <SRC/SRC_IImageDataSource.h>
#include <SRC/SRC_IProcessedDataSource.h>

#include <mutex>

namespace refhost {

/// Processed data that knows one number. One holder at a time; a second one waits.
class HOST_API ProcessedData : public BLK_ProcessedData {
public:
    explicit ProcessedData(int valueRange) : m_ValueRange(valueRange) {}
    int GetValueRange(int block) override;

    /// From now on nobody can hold the data.
    void Withdraw();

private:
    bool hold() override;
    void release() override;

    std::recursive_mutex m_Mutex;
    bool m_bWithdrawn = false;
    int m_ValueRange;
};

/// A source with processed data, which may be null and must outlive it.
HOST_API SRC_IImageDataSourcePtr MakeProcessedDataSource(BLK_ProcessedData* data);
/// A source without any.
HOST_API SRC_IImageDataSourcePtr MakePlainDataSource();

}  // namespace refhost
