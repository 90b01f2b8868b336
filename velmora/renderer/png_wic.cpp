// The PNG encoder through the Windows Imaging Component. Every step that can fail names itself in
// the exception, followed by the COM result: "PNG output (HRESULT=2147942403)".
#include "velmora/renderer/png_writer.hpp"

#include "velmora/platform/error.hpp"
#include "velmora/platform/wstring_win32.hpp"

#include <windows.h>
// after windows.h, which it needs
#include <wincodec.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace velmora::ui {

namespace {

void hr(HRESULT result, const char* what) {
    if (result < 0) system_error(what, "HRESULT=" + std::to_string(static_cast<unsigned long>(result)));
}

// Releases a COM interface when the scope ends, so an exception leaves nothing acquired.
template <typename T> class Com {
public:
    Com() = default;
    ~Com() {
        if (p_) p_->Release();
    }
    Com(const Com&) = delete;
    Com& operator=(const Com&) = delete;
    T* operator->() const { return p_; }
    T* get() const { return p_; }
    T** out() { return &p_; }
    void reset() {
        if (p_) p_->Release();
        p_ = nullptr;
    }

private:
    T* p_ = nullptr;
};

// Balances a successful CoInitializeEx; a thread already in another mode is used as it is.
class ComScope {
public:
    ComScope() {
        const HRESULT result = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        if (result == RPC_E_CHANGED_MODE) return;
        hr(result, "COM initialization");
        initialized_ = true;
    }
    ~ComScope() {
        if (initialized_) CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

private:
    bool initialized_ = false;
};

} // namespace

void write_png(const std::string& path, const Pixels& pixels) {
    const std::wstring file = wide_w(path);

    ComScope com;
    // Locals die in reverse: the bag goes first, then the frame, encoder, stream and factory.
    Com<IWICImagingFactory> factory;
    Com<IWICStream> stream;
    Com<IWICBitmapEncoder> encoder;
    Com<IWICBitmapFrameEncode> frame;
    Com<IPropertyBag2> bag;

    hr(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                        reinterpret_cast<void**>(factory.out())),
       "WIC factory");
    hr(factory->CreateStream(stream.out()), "WIC stream");
    hr(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE), "PNG output");
    hr(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, encoder.out()), "PNG encoder");
    hr(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache), "PNG initialize");
    hr(encoder->CreateNewFrame(frame.out(), bag.out()), "PNG frame");
    hr(frame->Initialize(bag.get()), "PNG frame initialize");
    hr(frame->SetSize(static_cast<UINT>(pixels.width), static_cast<UINT>(pixels.height)), "PNG size");
    WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
    hr(frame->SetPixelFormat(&format), "PNG pixel format");
    if (!IsEqualGUID(format, GUID_WICPixelFormat32bppBGRA))
        throw std::runtime_error("PNG encoder rejected BGRA");

    std::vector<BYTE> bgra(pixels.data.begin(), pixels.data.end());
    for (std::size_t i = 0; i < bgra.size(); i += 4) std::swap(bgra[i], bgra[i + 2]);
    const UINT stride = static_cast<UINT>(pixels.width) * 4;
    hr(frame->WritePixels(static_cast<UINT>(pixels.height), stride, static_cast<UINT>(bgra.size()),
                          bgra.data()),
       "PNG pixels");
    hr(frame->Commit(), "PNG frame commit");
    hr(encoder->Commit(), "PNG commit");
}

} // namespace velmora::ui
