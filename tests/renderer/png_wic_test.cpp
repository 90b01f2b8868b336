// save_png on Windows: files are decoded again through WIC and compared byte for byte.
#include "velmora/renderer/png.hpp"

#include "../thrown.hpp"

#include <windows.h>
// after windows.h, which it needs
#include <wincodec.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace velmora::ui {
namespace {

namespace fs = std::filesystem;

// Decodes a PNG into RGBA rows, top first; an empty record when the file can't be read.
Pixels decode(const fs::path& path) {
    Pixels out;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    IWICImagingFactory* factory = nullptr;
    IWICBitmapDecoder* decoder = nullptr;
    IWICBitmapFrameDecode* frame = nullptr;
    IWICFormatConverter* converter = nullptr;
    UINT w = 0, h = 0;
    if (SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IWICImagingFactory, reinterpret_cast<void**>(&factory))) &&
        SUCCEEDED(factory->CreateDecoderFromFilename(path.wstring().c_str(), nullptr, GENERIC_READ,
                                                     WICDecodeMetadataCacheOnDemand, &decoder)) &&
        SUCCEEDED(decoder->GetFrame(0, &frame)) && SUCCEEDED(factory->CreateFormatConverter(&converter)) &&
        SUCCEEDED(converter->Initialize(frame, GUID_WICPixelFormat32bppRGBA, WICBitmapDitherTypeNone, nullptr,
                                        0, WICBitmapPaletteTypeCustom)) &&
        SUCCEEDED(converter->GetSize(&w, &h))) {
        out = {static_cast<int>(w), static_cast<int>(h), std::vector<std::uint8_t>(std::size_t{w} * h * 4)};
        if (FAILED(
                converter->CopyPixels(nullptr, w * 4, static_cast<UINT>(out.data.size()), out.data.data())))
            out = Pixels{};
    }
    for (IUnknown* p : {static_cast<IUnknown*>(converter), static_cast<IUnknown*>(frame),
                        static_cast<IUnknown*>(decoder), static_cast<IUnknown*>(factory)})
        if (p) p->Release();
    CoUninitialize();
    return out;
}

struct PngWic : ::testing::Test {
    fs::path dir = fs::temp_directory_path() / ("velmora-png-" + std::to_string(GetCurrentProcessId()));
    PngWic() { fs::create_directories(dir); }
    ~PngWic() override {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
};

Pixels gradient(int w, int h) {
    Pixels p{w, h, {}};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            p.data.insert(p.data.end(),
                          {static_cast<std::uint8_t>(x * 40), static_cast<std::uint8_t>(y * 60),
                           static_cast<std::uint8_t>(200 - x), static_cast<std::uint8_t>(x * 50)});
    return p;
}

// Alpha 0 in the first column, an odd width, and a name outside ASCII.
TEST_F(PngWic, RoundTripKeepsChannelOrderRowsAndZeroAlphaUnderANonAsciiName) {
    const Pixels image = gradient(5, 3);
    const Pixels before = image;
    const fs::path file = dir / fs::u8path("\xE5\x9B\xBE\xE7\x89\x87-\xC3\xA9.png");
    save_png(file.string(), image);
    EXPECT_EQ(image.data, before.data); // the caller's record is not swapped in place
    const Pixels back = decode(file);
    ASSERT_EQ(back.width, 5);
    ASSERT_EQ(back.height, 3);
    EXPECT_EQ(back.data, image.data);
    save_png(file.string(), gradient(2, 2)); // an existing file is replaced
    EXPECT_EQ(decode(file).width, 2);
}

// The record's own checks are shared with the other platforms and tested there.
TEST_F(PngWic, FailuresNameTheStep) {
    const std::string message = velmora::test::thrown<std::runtime_error>(
        [&] { save_png((dir / "missing" / "x.png").string(), gradient(2, 2)); });
    EXPECT_EQ(message.rfind("PNG output (HRESULT=", 0), 0u) << message;
    EXPECT_EQ(message.back(), ')');
}

} // namespace
} // namespace velmora::ui
