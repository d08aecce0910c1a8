#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <thread>

#include "batch.h"
#include "commands.h"
#include "io/atomic_file.h"
#include "io/present_error.h"
#include "options.h"
#include "present/overlays.h"

namespace fs = std::filesystem;

namespace {

constexpr int kMostJobs = 1024;

struct Options {
    std::vector<std::string> inputs;
    std::string output, frames = "0", format, shard;
    int jobs = 0;
    BatchOptions batch;
};

/// A folder of this process for what comes on standard input.
class Scratch {
public:
    Scratch() : m_Path((fs::temp_directory_path() / "zev-XXXXXX").string()) {
        if (mkdtemp(m_Path.data()) == nullptr) throw PresentError(m_Path, "cannot be made");
    }
    ~Scratch() {
        std::error_code error;
        fs::remove_all(m_Path, error);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    const std::string& Path() const { return m_Path; }

private:
    std::string m_Path;
};

/// The format that is asked for: by name, else by the suffix of a picture's own name.
PictureFormat format_of(const Options& options, bool isOnePicture) {
    const bool isNamed = isOnePicture && options.output != "-";
    const std::string suffix = fs::path(options.output).extension().string();
    std::optional<PictureFormat> format;
    if (!options.format.empty()) {
        format = PictureFormatOf(options.format);
    } else if (isNamed) {
        if (!suffix.empty()) format = PictureFormatOf(suffix);
        if (!format) {
            throw UsageError("--output: '" + options.output + "' has " +
                             (suffix.empty() ? "no" : "an unknown") +
                             " suffix; it is to be .png, .jpg, .tif, .pgm, .ppm or .npy, or give --format");
        }
    }
    format = format.value_or(PictureFormat::kPng);
    if (options.batch.drawing.bits == 16 && !TakesSixteenBits(*format))
        throw UsageError(std::string("--bits: a picture in ") + (SuffixOf(*format) + 1) + " has no 16 bits");
    return *format;
}

std::vector<std::string> other_inputs(const Options& options) {
    const DrawingOptions& drawing = options.batch.drawing;
    return InputsOf(std::string(), drawing.presentation, &drawing.view);
}

void draw_one(const Options& options, const BatchInput& input, int frame, PictureFormat format) {
    if (options.batch.resume || !options.batch.report.empty() || !options.shard.empty())
        throw UsageError("--resume, --report and --shard are for a folder of pictures");
    std::vector<std::string> inputs = other_inputs(options);
    inputs.push_back(input.path);
    RefuseClashes(inputs, {options.output});
    const std::vector<std::uint8_t> bytes =
        EncodePicture(DrawFrame(input.path, options.batch.drawing, frame).picture, format);
    WriteFileAtomically(options.output, bytes.data(), bytes.size());
}

void render(Options options) {
    BatchOptions& batch = options.batch;
    if (options.output.empty()) throw UsageError("--output: names nothing");
    const std::optional<FrameRange> frames = ParseFrames(options.frames);
    if (!frames) throw UsageError("--frame: '" + options.frames + "' is not a frame, FIRST-LAST or all");
    batch.frames = *frames;
    const std::optional<Shard> shard = ParseShard(options.shard.empty() ? "1/1" : options.shard);
    if (!shard) throw UsageError("--shard: '" + options.shard + "' is not I/N with I from 1 to N");
    if (!batch.drawing.fit.empty() && !ParseSize(batch.drawing.fit))
        throw UsageError("--fit: '" + batch.drawing.fit + "' is not WIDTHxHEIGHT");
    ParseRegions(batch.drawing.view.regions);
    ParseInk(batch.drawing.overlayColour, "--overlay-color");
    LoadConfiguration(batch.drawing.presentation.config);
    ReadStates(batch.drawing.presentation);

    std::optional<Scratch> scratch;
    if (std::find(options.inputs.begin(), options.inputs.end(), "-") != options.inputs.end())
        scratch.emplace();
    BatchInputs inputs = FindInputs(options.inputs, scratch ? scratch->Path() : std::string());

    std::error_code error;
    const bool isFolder = fs::is_directory(options.output, error) || options.output.back() == '/';
    if (!inputs.areMany && inputs.files.size() == 1 && !isFolder) {
        const LoadOptions load{0, batch.drawing.presentation.partial};
        const bool isOnePicture =
            batch.frames.isSingle || batch.frames.first == batch.frames.last ||
            (batch.frames.first == 0 && DicomFile::Load(inputs.files[0].path, load).Frames() == 1);
        if (isOnePicture)
            return draw_one(options, inputs.files[0], batch.frames.first, format_of(options, true));
    }
    if (!isFolder &&
        (options.output == "-" || PictureFormatOf(fs::path(options.output).extension().string())))
        throw UsageError("--output: '" + options.output +
                         "' names one picture, and more may come; name a folder");

    batch.format = format_of(options, false);
    batch.output = options.output;
    while (batch.output.size() > 1 && batch.output.back() == '/') batch.output.pop_back();
    batch.otherInputs = other_inputs(options);
    batch.jobs =
        options.jobs > 0 ? options.jobs : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    const auto others =
        std::stable_partition(inputs.files.begin(), inputs.files.end(),
                              [&](const BatchInput& input) { return shard->Has(input.hash); });
    for (auto input = others; input != inputs.files.end(); ++input)
        batch.otherInputs.push_back(std::move(input->path));
    inputs.files.erase(others, inputs.files.end());
    MakeDirectory(batch.output);
    if (const int status = DrawMany(inputs, batch); status != 0) throw ExitStatus{status};
}

}  // namespace

void AddRenderCommand(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    BatchOptions& batch = options->batch;
    CLI::App* command = app.add_subcommand("render", "Draw frames");
    command
        ->add_option("INPUT", options->inputs,
                     "DICOM files, folders with all that is in them, DICOMDIR files, @LIST (a path on each "
                     "line), or - "
                     "(a file on standard input)")
        ->required();
    command
        ->add_option("-o,--output", options->output,
                     "Picture when exactly one comes out, else a folder, which is made if need be")
        ->required();
    AddPresentationOptions(*command, batch.drawing.presentation, &options->frames);
    AddBrightnessOptions(*command, batch.drawing.brightness);
    AddViewOptions(*command, batch.drawing.view);
    AddOverlayOptions(*command, batch.drawing);
    command->add_option("--fit", batch.drawing.fit,
                        "WxH: scales the picture to lie within, with antialiasing");
    command
        ->add_option("--format", options->format,
                     "png, jpg, tiff, pgm, ppm or npy; by default as the suffix says")
        ->check(OneOf({"png", "jpg", "tiff", "pgm", "ppm", "npy"}));
    command->add_option("--bits", batch.drawing.bits, "8, or 16 for 16 bits of grey")
        ->check(OneOf({"8", "16"}));
    command->add_option("--jobs", options->jobs, "Pictures drawn at a time; all processors by default")
        ->check(WholeNumberFrom(1, kMostJobs));
    command->add_option("--shard", options->shard, "I/N: draw a share of the inputs, I from 1 to N");
    command->add_flag("--resume", batch.resume,
                      "Leave pictures that are there and not older than their input");
    command->add_option("--report", batch.report, "File for one line of JSON on each picture");
    command->add_flag("-q,--quiet", batch.quiet, "Only say what fails");
    command->callback([options, &run] { run = [options] { render(*options); }; });
}
