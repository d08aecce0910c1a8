// Memory that runs out at the N-th request, for every N, while an image is opened, drawn and saved. This
// program's operator new is its own.

#include <COM/com_error.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "../cli/app_test_support.h"
#include "io/atomic_file.h"
#include "io/picture_file.h"
#include "io/present_error.h"
#include "present/ddp_file.h"
#include "present/dicom_copy.h"
#include "present/drawing.h"
#include "present/state_file.h"

namespace {

/// Requests of this thread that are still served; negative for all.
thread_local long t_Left = -1;
thread_local long t_Requests = 0;

void* serve(std::size_t size, std::size_t alignment) {
    ++t_Requests;
    if (t_Left == 0) throw std::bad_alloc();
    if (t_Left > 0) --t_Left;
    const std::size_t rounded = (size + alignment - 1) / alignment * alignment;
    void* const block = alignment <= alignof(std::max_align_t) ? std::malloc(size == 0 ? 1 : size)
                                                               : std::aligned_alloc(alignment, rounded);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

}  // namespace

// All forms that the project uses: the address sanitizer has its own of those that are not replaced.
void* operator new(std::size_t size) { return serve(size, 1); }
void* operator new[](std::size_t size) { return serve(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return serve(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return serve(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return serve(size, 1);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& quiet) noexcept {
    return operator new(size, quiet);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete[](void* block, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { std::free(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace {

/// Runs the work with ever more requests served, until it needs no more. Memory that runs out has to show as
/// such, or as an image that cannot be presented.
void run_out_of_memory(const std::function<void()>& work, const std::function<void()>& check) {
    work();
    t_Requests = 0;
    work();
    const long needed = t_Requests;
    ASSERT_GT(needed, 100);
    // Every request up to here, then some of the many like them.
    const long step = std::max(1L, needed / 1500);
    for (long served = 0; served < needed; served += served < 300 ? 1 : step) {
        SCOPED_TRACE(testing::Message() << "request " << served << " of " << needed);
        t_Left = served;
        // What can be done without memory is done: a table is not kept, a thread fewer works.
        try {
            work();
        } catch (const std::bad_alloc&) {
        } catch (const _com_error& error) {
            EXPECT_EQ(error.Error(), E_OUTOFMEMORY);
        } catch (const PresentError&) {
        }
        t_Left = -1;
        check();
        if (testing::Test::HasFailure()) return;
    }
    work();
}

class OutOfMemory : public testing::Test {
protected:
    OutOfMemory() {
        WriteSamples(m_Folder.Path());
        m_State = WriteSampleState(m_Folder.Path());
    }
    support::TemporaryDirectory m_Folder;
    std::string m_State;
};

TEST_F(OutOfMemory, OpeningAndDrawing) {
    DrawingOptions options;
    options.presentation.statesPath = m_State;
    options.view.regions = {"ellipse:150,250,70,110;center=-600;width=1600"};
    options.fit = "64x64";
    Picture wanted;
    const auto draw = [&] { return DrawFrame(m_Folder / "ct.dcm", options, 0).picture; };
    wanted = draw();
    Picture drawn;
    run_out_of_memory([&] { drawn = Picture(), drawn = draw(); },
                      // Half a picture is no picture.
                      [&] { EXPECT_TRUE(drawn.bytes.empty() || drawn.bytes == wanted.bytes); });
    EXPECT_EQ(drawn.bytes, wanted.bytes);
}

TEST_F(OutOfMemory, Saving) {
    const std::string copy = m_Folder / "copy.dcm", parameters = m_Folder / "ddp.dcm",
                      png = m_Folder / "out.png";
    OpenedImage image(m_Folder / "ct.dcm", PresentationOptions());
    ZEV_RGBParams rgb;
    const std::string old = "what was there before";
    for (const std::string& path : {copy, parameters, png}) support::WriteFile(path, old);
    const std::vector<std::uint8_t> picture =
        EncodePicture(Picture(50, 40, Picture::kGrey8), PictureFormat::kPng);
    const auto save = [&] {
        WriteFilesAtomically(
            {{copy, EncodeCopy(image, 0, rgb, copy)},
             {parameters, EncodeDisplayParameters(image, SaveMode::kPresent, {}, parameters)}});
        const std::vector<std::uint8_t> bytes =
            EncodePicture(Picture(50, 40, Picture::kGrey8), PictureFormat::kPng);
        WriteFileAtomically(png, bytes.data(), bytes.size());
    };
    save();
    const std::string newCopy = support::ReadFile(copy), newPng = support::ReadFile(png);
    const std::size_t files = m_Folder.Count();
    run_out_of_memory(save, [&] {
        const std::string copied = support::ReadFile(copy), drawn = support::ReadFile(png);
        EXPECT_TRUE(copied == old || support::AreCopies(copied, newCopy));
        EXPECT_TRUE(drawn == old || drawn == newPng);
        EXPECT_EQ(m_Folder.Count(), files) << "a temporary file stays";
        support::WriteFile(copy, old), support::WriteFile(png, old);
    });
}

}  // namespace
