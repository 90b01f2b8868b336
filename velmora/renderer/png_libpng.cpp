// The PNG encoder over libpng. The steps keep the words of the other platforms' encoder, so a
// failure reads the same everywhere; libpng's own message is not passed on.
#include "velmora/renderer/png_writer.hpp"

#include "velmora/platform/error.hpp"

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <png.h>
#include <stdexcept>

namespace velmora::ui {

namespace {

// Owns the FILE and the libpng structures, so every exit path releases them.
struct Writer {
    std::FILE* file = nullptr;
    png_structp png = nullptr;
    png_infop info = nullptr;
    const char* step = "PNG encoder";

    ~Writer() {
        if (png) png_destroy_write_struct(&png, info ? &info : nullptr);
        if (file) std::fclose(file);
    }
};

[[noreturn]] void fail(const char* what) { throw std::runtime_error(what); }

// libpng's own handlers print to standard error, which carries only the program's messages:
// an error goes back to write_all's setjmp in silence, and a warning is dropped.
[[noreturn]] void silent_error(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void silent_warning(png_structp, png_const_charp) {}

// libpng reports errors by longjmp; nothing with a destructor lives between setjmp and here.
void write_all(Writer& w, const Pixels& pixels) {
    if (setjmp(png_jmpbuf(w.png))) fail(w.step);
    png_init_io(w.png, w.file);
    w.step = "PNG size";
    png_set_IHDR(w.png, w.info, static_cast<png_uint_32>(pixels.width),
                 static_cast<png_uint_32>(pixels.height), 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    w.step = "PNG frame";
    png_write_info(w.png, w.info);
    w.step = "PNG pixels";
    const std::size_t stride = static_cast<std::size_t>(pixels.width) * 4;
    for (int y = 0; y < pixels.height; ++y)
        png_write_row(w.png, pixels.data.data() + stride * static_cast<std::size_t>(y));
    w.step = "PNG commit";
    png_write_end(w.png, nullptr);
}

} // namespace

void write_png(const std::string& path, const Pixels& pixels) {
    Writer w;
    w.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, silent_error, silent_warning);
    if (!w.png) fail("PNG encoder");
    w.info = png_create_info_struct(w.png);
    if (!w.info) fail("PNG encoder");

    errno = 0;
    w.file = std::fopen(path.c_str(), "wb");
    if (!w.file) errno_error("PNG output");
    write_all(w, pixels);
    std::FILE* file = w.file;
    w.file = nullptr;
    if (std::fclose(file) != 0) fail("PNG commit");
}

} // namespace velmora::ui
