// Any file as a presentation state, applied to a sample image and drawn.

#include <refhost/Config.h>

#include <memory>

#include "cli/samples.h"
#include "input.h"
#include "io/plain_reader.h"
#include "io/present_error.h"
#include "present/drawing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string image = [] {
        refhost::UseBuiltinConfig();
        return WriteSamples(fuzz::Folder()).front();
    }();
    if (size < 1) return 0;
    // What is not plain is read by a library in a process of its own.
    std::optional<DicomDataSet> set = ReadPlainDataSet(fuzz::FileOf(std::string(data + 1, data + size)));
    if (!set) return 0;
    PresentationState state{"state", static_cast<PresentationState::Kind>(data[0] % 3), std::move(*set)};
    DrawingOptions options;
    options.presentation.states =
        std::make_shared<PresentationStates>(std::vector<PresentationState>{state.ForAnyImage()});
    options.presentation.force = true;
    try {
        OpenedImage opened(image, options.presentation);
        std::vector<Note> notes;
        DrawImage(opened, options, &notes);
    } catch (const PresentError&) {
    } catch (const UsageError&) {
    }
    return 0;
}
