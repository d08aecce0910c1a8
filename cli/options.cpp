#include "options.h"

#include <CLI/CLI.hpp>
#include <limits>

void AddPresentationOptions(CLI::App& command, PresentationOptions& options) {
    using Limits = std::numeric_limits<int>;
    CLI::Option* center =
        command.add_option("--center", options.center, "Window centre, after rescale")
            ->check(CLI::Range(double(Limits::min()), double(Limits::max())).description(""));
    CLI::Option* width = command.add_option("--width", options.width, "Window width, after rescale")
                             ->check(CLI::Range(0.0, double(Limits::max())).description(""));
    center->needs(width);
    width->needs(center);
    CLI::Option* automatic =
        command.add_flag("--auto", options.automatic, "Measure the window from the pixels");
    automatic->excludes(center);
    command.add_option("--preset", options.preset, "Windowing preset by name, see zev presets")
        ->excludes(center)
        ->excludes(automatic);
    command.add_option("--colormap", options.colourMap, "Colour map by UID or name, see zev colormaps");
    command.add_option("--gamma", options.gamma, "Gamma, 0.1 to 5");
    command.add_flag("--invert", options.invert, "Turn the greys round");
    command.add_option("--voi", options.voi, "Windowing entry of the image, from 0")
        ->check(CLI::NonNegativeNumber);
    command.add_option("--frame", options.frame, "Frame, from 0")->check(CLI::NonNegativeNumber);
    CLI::Option* saved = command.add_option("--ddp", options.displayParameters,
                                            "Display-parameter file to lay over the image first");
    command.add_flag("--force", options.force, "Take a display-parameter file of another image")
        ->needs(saved);
    command.add_option("--config", options.config, "Configuration in place of the built-in one");
}

void AddBrightnessOptions(CLI::App& command, BrightnessOptions& options) {
    command.add_option("--brightness", options.brightness,
                       "Brightness of an image in colour, -100 to 100; needs a contrast");
    command.add_option("--contrast", options.contrast,
                       "Contrast of an image in colour, -100 to 100; needs a brightness");
}

void AddRegionOption(CLI::App& command, ViewOptions& options) {
    command
        .add_option(
            "--region", options.regions,
            "SHAPE;SETTINGS: a region with a windowing of its own. Shapes: polygon:x,y x,y x,y  "
            "rect:x0,y0,x1,y1  "
            "ellipse:x,y,rx,ry  mask:FILE.png. Settings: center=C;width=W  preset=NAME  colormap=UID  "
            "gamma=G  invert  negate  inactive")
        ->expected(1)
        ->take_all();
}

void AddViewOptions(CLI::App& command, ViewOptions& options) {
    AddRegionOption(command, options);
    command.add_option("--zoom", options.zoom, "Screen pixels per image pixel")
        ->check(CLI::Range(0.001, 1000.0).description(""));
    command.add_option("--pan", options.pan, "X,Y: moves the image, in screen pixels")
        ->delimiter(',')
        ->expected(2);
    command.add_option("--rotate", options.rotate, "Degrees clockwise")
        ->check(CLI::Range(-36000.0, 36000.0).description(""));
    command.add_option("--flip", options.flip, "h, v or hv")
        ->check(CLI::IsMember({"h", "v", "hv"}).description(""));
    command.add_option("--size", options.size, "WxH: size of the screen; the image's own unless told");
    command.add_flag("--smooth", options.smooth, "Interpolate between pixels");
}
