// Any request of the page, on two sample images, with a folder to save into.

#include <refhost/Config.h>

#include <filesystem>

#include "cli/samples.h"
#include "input.h"
#include "web/view_service.h"

namespace {

ViewService* make_service() {
    refhost::UseBuiltinConfig();
    const std::vector<std::string> samples = WriteSamples(fuzz::Folder() + "/samples");
    ViewServiceOptions options;
    options.saveFolder = fuzz::Folder() + "/saved";
    std::filesystem::create_directories(options.saveFolder);
    auto* const service = new ViewService({{samples[0], "ct", true}, {samples[1], "mr", true}}, options);
    service->Start(1);
    while (service->ReadNext()) continue;
    return service;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ViewService& service = *make_service();
    fuzz::Input input(data, size);
    const bool ownPath = input.ConsumeIntegralInRange(0, 15) == 0;
    const std::string name =
        ownPath
            ? input.ConsumeRandomLengthString(60)
            : "/" + service.Token() + "/api/" +
                  input.PickValueInArray({"list", "thumb", "colormaps", "open", "pixels", "table", "layers",
                                          "explain", "histogram", "save", "progress", "presets"});
    WebRequest request;
    request.method = input.PickValueInArray({"POST", "GET", "PUT"});
    request.path = name;
    request.host = "127.0.0.1:1";
    request.contentType = "application/json";
    for (const char* key : {"id", "frame", "state"}) {
        if (input.ConsumeBool()) request.query[key] = input.ConsumeRandomLengthString(12);
    }
    request.body = input.ConsumeRemainingBytesAsString();
    fuzz::Require(service.Answer(request).status >= 200);
    static int saved = 0;
    if (++saved % 200 == 0) {
        for (const auto& file : std::filesystem::directory_iterator(fuzz::Folder() + "/saved"))
            std::filesystem::remove_all(file);
    }
    return 0;
}
