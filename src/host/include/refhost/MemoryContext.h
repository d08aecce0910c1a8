#pragma once

#include <GFX/GFX_GraphicContext.h>
#include <HOST_Export.h>

#include <cstdint>
#include <vector>

namespace refhost {

/// A drawing target that is told what it can show.
class HOST_API MemoryContext : public GFX_GraphicContext {
public:
    explicit MemoryContext(int outputLevels, std::vector<std::uint32_t> palette = {});

    int GetOutputLevels() override { return m_OutputLevels; }
    int GetPalette(void** palette) override;
    bool IsPrintRaster() override { return false; }

private:
    int m_OutputLevels;
    std::vector<std::uint32_t> m_Palette;
};

}  // namespace refhost
