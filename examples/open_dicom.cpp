// Opens a DICOM image as the program does and draws it: open_dicom IMAGE.dcm PICTURE.png [STATE]
// STATE is a presentation state, or a folder of them.

#include <exception>
#include <iostream>

#include "io/atomic_file.h"
#include "io/picture_file.h"
#include "present/drawing.h"

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    try {
        //! [open]
        LoadConfiguration("");  // the built-in presets and colour maps
        DrawingOptions options;
        if (argc > 3) options.presentation.statesPath = argv[3];
        ReadStates(options.presentation);
        OpenedImage image(argv[1], options.presentation);
        std::cout << "centre " << image.ModalityCenter() << ", width " << image.ModalityWidth() << " "
                  << image.UnitsText() << ", from " << NameOf(image.GetWindowSource()) << "\n";

        std::vector<Note> notes;
        const Picture picture = DrawImage(image, options, &notes);
        for (const Note& note : notes) std::cerr << note.text << "\n";
        //! [open]
        const auto bytes = EncodePicture(picture, PictureFormatOf(argv[2]).value_or(PictureFormat::kPng));
        WriteFileAtomically(argv[2], bytes.data(), bytes.size());
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
