#include "options.h"

#include <hosts/shared/settings.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <string_view>

namespace qelimage {

namespace {

using qelhosts::Setting;

constexpr int kLongestSide = 65'535;
constexpr std::int64_t kMostPixels = 1 << 28;

/// Reads whole numbers that are separated by @p separator. @return nothing if @p text is anything else.
template <size_t Count>
std::optional<std::array<int, Count>> readNumbers(std::string_view text, char separator) {
    std::array<int, Count> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (size_t i = 0; i < Count; ++i) {
        if (i != 0 && (at == end || *at++ != separator)) return std::nullopt;
        const auto [stop, error] = std::from_chars(at, end, numbers[i]);
        if (error != std::errc()) return std::nullopt;
        at = stop;
    }
    return at == end ? std::optional(numbers) : std::nullopt;
}

bool isSide(int pixels) {
    return pixels >= 1 && pixels <= kLongestSide;
}

Setting size(std::optional<qel::IVec2<int>>& target) {
    return {qelhosts::ValueKind::Other, [&target](const std::string& value) {
                const auto sides = readNumbers<2>(value, 'x');
                if (!sides || !isSide((*sides)[0]) || !isSide((*sides)[1]))
                    return "not a size such as 640x480: " + qelhosts::inQuotes(value);
                const auto [width, height] = *sides;
                if (std::int64_t{width} * height > kMostPixels)
                    return "more than " + std::to_string(kMostPixels) +
                           " pixels: " + qelhosts::inQuotes(value);
                target = qel::IVec2<int>(width, height);
                return std::string();
            }};
}

Setting bounds(std::optional<qel::IVec4<int>>& target) {
    return {qelhosts::ValueKind::Other, [&target](const std::string& value) {
                const auto edges = readNumbers<4>(value, ',');
                if (!edges) return "not left, top, right and bottom: " + qelhosts::inQuotes(value);
                const auto [left, top, right, bottom] = *edges;
                target = qel::IVec4<int>(left, top, right, bottom);
                return std::string();
            }};
}

Setting format(std::string& target) {
    return {qelhosts::ValueKind::Other, [&target](const std::string& value) {
                target = value;
                const bool isKnown = value == "png" || value == "webp" || value == "bmp";
                return isKnown ? std::string() : "not png, webp or bmp: " + qelhosts::inQuotes(value);
            }};
}

} // namespace

qelhosts::Program describe(Options& options) {
    using namespace qelhosts;
    Program program{
        .name = "qelimage",
        .purpose = "show, convert and compare pictures",
        .arguments = "COMMAND ARGUMENTS",
        .description =
            "Shows, converts and compares pictures.\n\n"
            "PNG and WebP files are decoded. Of other files only the type, by their first bytes, and the "
            "size "
            "are shown. A file whose header states more than 268435456 pixels, or many more than its size "
            "permits, is refused before it is decoded.\n\n"
            "Outputs are PNG, WebP (lossy, quality 70) or BMP files, by the extension of OUT. An existing "
            "file is replaced when the new one is complete; if anything fails, it stays unchanged.\n\n"
            "As a file, \"-\" is standard input or standard output, where pictures are PNG files unless "
            "--format is given.",
        .options = {{"--format", "FORMAT", format(options.format),
                     "write png, webp or bmp, whatever the extension", "convert"},
                    {"--crop", "L,T,R,B", bounds(options.crop),
                     "take the part from column L to before column R and from row T to before row B",
                     "convert"},
                    {"--rotate", "N", number(options.quarterTurns, -3, 3, "number of quarter turns"),
                     "rotate N quarter turns clockwise, after cropping; -3 to 3", "convert"},
                    {"--size", "WxH", size(options.size),
                     "resize to W by H pixels, after cropping and rotating", "convert"},
                    {"--difference", "OUT", path(options.difference, "file"),
                     "write a picture of the absolute differences of the colours; differences of alpha are "
                     "added as grey",
                     "compare"},
                    {"--large", "", flag(options.large), "7680 by 4320 pixels instead of 120 by 70",
                     "raytrace"}},
        .notes = "Options may precede or follow the arguments, which all words after \"--\" are.",
        .statuses = {{0, "success; for compare: the pictures are equal"},
                     {1, "for compare: the pictures differ"},
                     {2,
                      "wrong command line, or a file could not be read, decoded or written, with the reason "
                      "on standard error"},
                     {kInterruptedStatus, "Ctrl-C stopped the program before its output was complete"}},
        .files = {},
        .examples = {{"qelimage info *.png", "Lists pictures with their sizes."},
                     {"qelimage convert scan.png small.webp --crop 100,0,740,480 --size 320x240",
                      "Makes a small WebP file from a part of a picture."},
                     {"qelimage convert - - --rotate 1 <scan.png >turned.png",
                      "Rotates a picture to the right."},
                     {"qelimage sheet ~/Pictures sheet.png", "Shows all pictures of a folder on one sheet."},
                     {"qelimage compare before.png after.png --difference difference.png",
                      "Shows where two pictures differ."}},
        .related = {"qelhost", "qelserver"},
        .advice = "",
        .commands = {
            {"info FILE...", "print type, size in pixels, pixel format, transparency and bytes of files"},
            {"convert IN OUT", "write a picture in another format, size or orientation"},
            {"compare A B",
             "report whether two pictures are equal in all bytes, their mean squared difference, and "
             "the figure of Image::computeMeanSquaredError, which covers only the first third or "
             "quarter of each row"},
            {"sheet FOLDER OUT",
             "draw a contact sheet of the files in a folder: a thumbnail of each picture of at most "
             "67108864 pixels, and the type of every other file. Folders in it, names that begin with "
             "a dot, devices and pipes are left out. A page holds 96 files; further pages are "
             "written to OUT with \"-2\", \"-3\" and so on before its extension. Files of these names in "
             "FOLDER count as pages of an earlier sheet: they are left out, and replaced by new pages"},
            {"qr TEXT OUT", "write the QR code of a text; \"-\" reads the text from standard input"},
            {"raytrace OUT", "write the picture that the library's ray tracer draws, the same each time"},
            {"samples FOLDER",
             "write pictures that the program draws itself to a folder, which is created"}}};
    addCommonOptions(program, options);
    return program;
}

} // namespace qelimage
