#include "batch.h"

#include <COM/com_error.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <new>
#include <set>

#include "io/atomic_file.h"
#include "io/present_error.h"
#include "io/printable.h"
#include "io/refusal.h"
#include "io/worker_pool.h"
#include "output.h"

namespace fs = std::filesystem;

namespace {

/// What one picture may take: memory for the largest frame several times over, and CPU time.
constexpr unsigned long long kMemory = 6ULL << 30;
constexpr unsigned kSeconds = 60;
constexpr int kFrameDigits = 4;

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::atomic<int> g_Signal{0};
void note_signal(int signal) { g_Signal = signal; }

/// Puts the signals that end a run to a flag, until the end.
class Interruptions {
public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = note_signal;
        g_Signal = 0;
        sigaction(SIGINT, &action, &m_Interrupt);
        sigaction(SIGTERM, &action, &m_Terminate);
    }
    ~Interruptions() {
        sigaction(SIGINT, &m_Interrupt, nullptr);
        sigaction(SIGTERM, &m_Terminate, nullptr);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

private:
    struct sigaction m_Interrupt {};
    struct sigaction m_Terminate {};
};

/// A file of lines that several runs may write to at once.
class Report {
public:
    explicit Report(const std::string& path) : m_Path(path) {
        if (path.empty()) return;
        m_File = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
        if (m_File < 0) throw PresentError(path, std::string("cannot be written: ") + std::strerror(errno));
    }
    ~Report() {
        if (m_File >= 0) close(m_File);
    }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    void Add(const std::string& line) const {
        if (m_File < 0) return;
        // One write for each line: what is appended at once stays together.
        if (write(m_File, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
            throw PresentError(m_Path, std::string("cannot be written: ") + std::strerror(errno));
    }

private:
    std::string m_Path;
    int m_File = -1;
};

/// How far the run is, on the last line of a terminal.
class Progress {
public:
    Progress(std::size_t all, bool isShown) : m_All(all), m_bShown(isShown && isatty(STDERR_FILENO) != 0) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(std::size_t done) {
        constexpr double kPause = 0.1;
        constexpr std::size_t kBar = 30;
        if (!m_bShown || seconds_since(m_Last) < kPause) return;
        m_Last = Clock::now();
        const double rate = static_cast<double>(done) / std::max(seconds_since(m_Start), 1e-3);
        const std::size_t filled = m_All == 0 ? 0 : kBar * done / m_All;
        std::string bar(kBar, ' ');
        std::fill_n(bar.begin(), filled, '=');
        char text[160];
        std::snprintf(text, sizeof text, "\r[%s] %zu of %zu, %.1f/s, %s left\033[K", bar.c_str(), done, m_All,
                      rate, done == 0 ? "?" : duration(static_cast<double>(m_All - done) / rate).c_str());
        std::cerr << text << std::flush;
    }
    void Clear() {
        if (m_Last != Clock::time_point()) std::cerr << "\r\033[K" << std::flush;
        m_Last = Clock::time_point();
    }

private:
    static std::string duration(double seconds) {
        const long whole = std::lround(seconds);
        char text[40];
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
        return text;
    }

    std::size_t m_All;
    bool m_bShown;
    Clock::time_point m_Start = Clock::now();
    Clock::time_point m_Last{};
};

/// Why a picture is missing, as one line without the program's name.
std::string reason() try { throw; } catch (const std::bad_alloc&) {
    return "not enough memory";
} catch (const _com_error& error) {
    return error.Error() == E_OUTOFMEMORY ? "not enough memory" : "the configuration cannot be read";
} catch (const std::exception& error) {
    return error.what();
}

/// A block of an input's frames: part `part` of `parts`.
struct Task {
    std::size_t input = 0;
    int part = 0, parts = 1;

    std::string ToText() const {
        return std::to_string(input) + " " + std::to_string(part) + " " + std::to_string(parts);
    }
    static Task Of(const std::string& text) {
        Task task;
        std::sscanf(text.c_str(), "%zu %d %d", &task.input, &task.part, &task.parts);
        return task;
    }
};

/// Files by what they are, whatever their names.
class FileSet {
public:
    void Add(const std::string& path) {
        if (const std::optional<File> file = file_at(path)) m_Files.push_back(*file);
    }
    void Sort() { std::sort(m_Files.begin(), m_Files.end()); }
    bool Has(const std::string& path) const {
        const std::optional<File> file = file_at(path);
        return file && std::binary_search(m_Files.begin(), m_Files.end(), *file);
    }

private:
    using File = std::pair<dev_t, ino_t>;

    static std::optional<File> file_at(const std::string& path) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0) return std::nullopt;
        return File(status.st_dev, status.st_ino);
    }

    std::vector<File> m_Files;
};

/// What a worker does. It answers with a letter and a line for the report: D for a picture that was drawn, F
/// for one that failed, S without a line for one that was there already, N for a file that is not an image.
/// Nothing at all is the end of the task.
class Drawer {
public:
    Drawer(const BatchInputs& inputs, const BatchOptions& options, const FileSet& files)
        : m_Inputs(inputs), m_Options(options), m_InputFiles(files) {}

    void Draw(const Task& task, const WorkerPool::Answer& answer) {
        const BatchInput& input = m_Inputs.files[task.input];
        const FrameRange& range = m_Options.frames;
        int first = range.first, last = range.last;
        if (range.isSingle) return draw_frame(input, first, answer);
        try {
            const int frames = frames_of(input.path);
            const int end = std::min(last, frames - 1);
            const bool isCut = task.part == 0 && (first > end || (last != all_frames() && last > end));
            if (isCut) {
                fail(input, std::max(first, frames),
                     PresentError(input.path, "has no frame " + std::to_string(std::max(first, frames)) +
                                                  ": its frames are 0 to " + std::to_string(frames - 1))
                         .what(),
                     answer);
            }
            const long count = std::max(0, end - first + 1);
            last = static_cast<int>(first + count * (task.part + 1) / task.parts - 1);
            first = static_cast<int>(first + count * task.part / task.parts);
        } catch (...) {
            if (task.part == 0) fail(input, first, reason(), answer);
            return;
        }
        for (int frame = first; frame <= last; ++frame) draw_frame(input, frame, answer);
    }

    /// Answers for a worker that is gone. Of several frames it is not known which one was the end of it.
    void Lose(const BatchInput& input, const std::string& why, const WorkerPool::Answer& answer) const {
        fail(input, m_Options.frames.isSingle ? std::optional<int>(m_Options.frames.first) : std::nullopt,
             why, answer);
    }

private:
    bool partial() const { return m_Options.drawing.presentation.partial; }
    /// The first frame may be damaged where the others are not.
    int frames_of(const std::string& path) const try {
        return DicomFile::Load(path, LoadOptions{0, partial()}).Frames();
    } catch (const PresentError&) {
        try {
            return DicomFile::Load(path, LoadOptions{1, partial()}).Frames();
        } catch (const PresentError&) {
        }
        throw;
    }
    static int all_frames() { return ParseFrames("all")->last; }

    std::string output_of(const BatchInput& input, int frame) const {
        char suffix[24] = "";
        if (!m_Options.frames.isSingle) std::snprintf(suffix, sizeof suffix, "-f%0*d", kFrameDigits, frame);
        return m_Options.output + "/" + input.name + suffix + SuffixOf(m_Options.format);
    }

    Json line_of(const BatchInput& input, std::optional<int> frame) const {
        return {{"input", input.path},
                {"output", frame ? Json(output_of(input, *frame)) : Json(nullptr)},
                {"frame", frame ? Json(*frame) : Json(nullptr)}};
    }

    void fail(const BatchInput& input, std::optional<int> frame, const std::string& why,
              const WorkerPool::Answer& answer) const {
        if (input.isFound && why.rfind(Printable(input.path) + ": " + kNoImage, 0) == 0) return answer("N");
        Json line = line_of(input, frame);
        line["error"] = Printable(why);
        answer("F" + line.dump(-1, ' ', false, Json::error_handler_t::replace));
    }

    bool is_done(const std::string& input, const std::string& output) const {
        struct stat in {
        }, out{};
        if (stat(output.c_str(), &out) != 0 || stat(input.c_str(), &in) != 0 || out.st_size == 0 ||
            !S_ISREG(out.st_mode)) {
            return false;
        }
        return std::make_pair(out.st_mtim.tv_sec, out.st_mtim.tv_nsec) >=
               std::make_pair(in.st_mtim.tv_sec, in.st_mtim.tv_nsec);
    }

    void draw_frame(const BatchInput& input, int frame, const WorkerPool::Answer& answer) {
        const std::string output = output_of(input, frame);
        if (m_Options.resume && is_done(input.path, output)) return answer("S");
        const auto start = Clock::now();
        try {
            if (m_InputFiles.Has(output))
                throw PresentError(output, "is one of the inputs or the report, and is not written over");
            const DrawnPicture drawn = DrawFrame(input.path, m_Options.drawing, frame);
            const std::vector<std::uint8_t> bytes = EncodePicture(drawn.picture, m_Options.format);
            prepare_folder(fs::path(output).parent_path());
            WriteFileAtomically(output, bytes.data(), bytes.size(), AtomicFile::kLater);
            Json line = line_of(input, frame);
            line["milliseconds"] = std::round(seconds_since(start) * 1e5) / 100.0;
            line["center"] = drawn.center ? Json(*drawn.center) : Json(nullptr);
            line["width"] = drawn.width ? Json(*drawn.width) : Json(nullptr);
            line["windowSource"] = drawn.windowSource.empty() ? Json(nullptr) : Json(drawn.windowSource);
            line["notes"] = Json::array();
            for (const Note& note : drawn.notes)
                line["notes"].push_back({{"code", note.code}, {"text", note.text}});
            line["error"] = nullptr;
            answer("D" + line.dump(-1, ' ', false, Json::error_handler_t::replace));
        } catch (...) {
            fail(input, frame, reason(), answer);
        }
    }

    void prepare_folder(const fs::path& folder) {
        if (!m_Prepared.insert(folder.string()).second) return;
        MakeDirectory(folder.string());
        RemoveLeftovers(folder.string());
    }

    const BatchInputs& m_Inputs;
    const BatchOptions& m_Options;
    const FileSet& m_InputFiles;
    std::set<std::string> m_Prepared;
};

}  // namespace

int DrawMany(const BatchInputs& inputs, const BatchOptions& options) {
    const auto start = Clock::now();
    FileSet inputFiles;
    for (const BatchInput& input : inputs.files) inputFiles.Add(input.path);
    for (const std::string& path : options.otherInputs) inputFiles.Add(path);
    inputFiles.Sort();
    if (inputFiles.Has(options.report))
        throw UsageError("the report " + options.report + " is one of the inputs");
    const Report report(options.report);
    inputFiles.Add(options.report);
    inputFiles.Sort();
    Drawer drawer(inputs, options, inputFiles);
    const Interruptions interruptions;

    // With few inputs the frames of each are shared out.
    const bool isShared =
        !options.frames.isSingle && inputs.files.size() < 2 * static_cast<std::size_t>(options.jobs);
    const int parts = isShared ? options.jobs : 1;
    const std::size_t tasks = inputs.files.size() * static_cast<std::size_t>(parts);
    WorkerPool pool(static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(options.jobs), tasks)),
                    [&](const std::string& request, const WorkerPool::Answer& answer) {
                        drawer.Draw(Task::Of(request), answer);
                        answer(std::string());
                    },
                    {kMemory, kSeconds});

    std::size_t given = 0, done = 0, drawn = 0, there = 0, failed = 0, skipped = inputs.skipped;
    Progress progress(tasks, !options.quiet);
    const auto take = [&](char kind, const std::string& text) {
        if (kind == 'S') return void(++there);
        if (kind == 'N') return void(++skipped);
        ++(kind == 'D' ? drawn : failed);
        Json line = Json::parse(text);
        if (kind == 'F') {
            progress.Clear();
            std::cerr << "zev: " << line["error"].get<std::string>() << std::endl;
        }
        report.Add(WithSchema(line).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
    };
    WorkerPool::Events events;
    events.next = [&]() -> std::optional<std::string> {
        if (given == tasks) return std::nullopt;
        const auto number = static_cast<std::size_t>(parts);
        const Task task{given / number, static_cast<int>(given % number), parts};
        ++given;
        return task.ToText();
    };
    events.answered = [&](const std::string&, const std::string& answer) {
        if (answer.empty()) return void(++done);
        take(answer[0], answer.substr(1));
    };
    events.lost = [&](const std::string& request, IsolatedResult::End end) {
        ++done;
        const BatchInput& input = inputs.files[Task::Of(request).input];
        const char* const why = end == IsolatedResult::kOutOfTime ? "cannot be decoded in reasonable time"
                                : end == IsolatedResult::kKilled  ? "the process that drew it was killed"
                                                                  : "the DICOM data are damaged or cut short";
        drawer.Lose(input, PresentError(input.path, why).what(),
                    [&](const std::string& answer) { take(answer[0], answer.substr(1)); });
    };
    events.goOn = [&] {
        progress.Show(done);
        return g_Signal == 0;
    };
    pool.Run(events);
    progress.Clear();
    SyncFolder(options.output);

    const auto count_of = [](std::size_t count, const char* noun) {
        return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
    };
    if (!options.quiet) {
        const double seconds = seconds_since(start);
        std::cerr << count_of(drawn, "picture");
        if (failed != 0) std::cerr << ", " << failed << " failed";
        if (there != 0) std::cerr << ", " << there << " there already";
        if (skipped != 0) std::cerr << ", " << count_of(skipped, "file") << " without a DICOM image skipped";
        char text[60];
        std::snprintf(text, sizeof text, ", %.1f s, %.0f/s\n", seconds,
                      static_cast<double>(drawn) / std::max(seconds, 1e-3));
        std::cerr << text;
    }
    if (g_Signal != 0) {
        std::cerr << "zev: interrupted with " << tasks - done << " of " << tasks << " inputs to go\n";
        return 128 + g_Signal;
    }
    return failed == 0 ? 0 : 1;
}
