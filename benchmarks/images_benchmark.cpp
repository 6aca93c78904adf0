// Conversions, resizing and rotation of a picture of 1920 by 1080 pixels, and PNG files, compared with the
// libraries that are known for them. There is no System except where a name ends in TwoThreads, so that ours
// run on one thread, like the peers.
#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/render/texture_software.h>
#include <qel/system/core/system.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#if QEL_PEER_LIBYUV
#include <libyuv.h>
#endif
#if QEL_PEER_OPENCV
#include <opencv2/imgproc.hpp>
#endif
#if QEL_PEER_PNG
#include <png.h>
#endif
#if QEL_PEER_SPNG
#include <spng.h>
#endif

namespace {

using namespace qel;
using Size = IVec2<int>;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr Size kPicture(kWidth, kHeight), kTurned(kHeight, kWidth), kReduced(823, 463);
constexpr Size kHalf(kWidth / 2, kHeight / 2), kTwice(kWidth * 2, kHeight * 2), kScan(2048, 2048);

/// Creates a picture with slow changes and some noise, as photographs have.
Image makePicture(FormatID format, Size size = kPicture) {
    Image image(format, size);
    uint32 random = 1;
    for (size_t i = 0; i < image.getByteSize(); ++i) {
        random = random * 1664525 + 1013904223;
        image.getBytePointer()[i] = static_cast<uint8>(i / 97 + i / 7001 % 50 + (random >> 29));
    }
    return image;
}

/// A System, so that large images are shared with a worker.
struct RunningSystem {
    RunningSystem() { System::initialize({}); }
    ~RunningSystem() { System::deinitialize(); }
};

/// Runs `work(source, target)` on whole pictures.
template <typename Work>
void add(const std::string& name, FormatID from, FormatID to, Size size, Work work, bool hasSystem = false) {
    benchmark::RegisterBenchmark(("Image/" + name).c_str(), [=](benchmark::State& state) {
        const auto system = hasSystem ? std::make_unique<RunningSystem>() : nullptr;
        const Image source = makePicture(from);
        Image target(to, size);
        std::memset(target.getBytePointer(), 0, target.getByteSize());
        for (auto _ : state) {
            work(source, target);
            benchmark::ClobberMemory();
        }
    })->UseRealTime();
}

template <typename Work>
void addConversion(const std::string& name, FormatID from, FormatID to, Work work) {
    add(name, from, to, kPicture, work);
}

void convert(const Image& source, Image& target) {
    target.convertFrom(source);
}

void resize(const Image& source, Image& target) {
    target.resizeFrom(source);
}

void rotate(const Image& source, Image& target) {
    target.rotateFrom(source, 1);
}

/// Adds the same work on one thread and on two.
template <typename Work>
void addThreads(const std::string& name, FormatID from, FormatID to, Size size, Work work) {
    add(name + "TwoThreads/qel", from, to, size, work, true);
    add(name + "TwoThreads/one_thread", from, to, size, work);
}

void addOurs() {
    addConversion("RgbaToYuv/qel", RGBA8, Y1U2V2, convert);
    addConversion("BgraToYuv/qel", BGRA8, Y1U2V2, convert);
    addConversion("YuvToRgba/qel", Y1U2V2, RGBA8, convert);
    addConversion("YuvToRgb/qel", Y1U2V2, RGB8, convert);
    addConversion("YuvToBgra/qel", Y1U2V2, BGRA8, convert);
    addConversion("SwapEnds4/qel", RGBA8, BGRA8, convert);
    addConversion("SwapEnds3/qel", RGB8, BGR8, convert);
    addConversion("DropAlpha/qel", RGBA8, RGB8, convert);
    addConversion("Grey/qel", RGBA8, L8, convert);
    addConversion("Dither565/qel", BGRA8, RGB565, convert);
    addConversion("Dither4444/qel", BGRA8, RGBA4, convert);
    addConversion("SplitChroma/qel", Y1UV2, Y1U2V2, convert);
    addConversion("JoinChroma/qel", Y1U2V2, Y1UV2, convert);
    addConversion("WordToFloat/qel", UInt16, Flt32, convert);
    add("Box/qel", RGBA8, RGBA8, kReduced, resize);
    add("BoxHalf/qel", RGBA8, RGBA8, kHalf, resize);
    add("BilinearTwice/qel", RGBA8, RGBA8, kTwice, resize);
    add("Bilinear/qel", RGBA8, RGBA8, kScan, resize);
    add("Rotate90/qel", RGBA8, RGBA8, kTurned, rotate);
    addThreads("RgbaToYuv", RGBA8, Y1U2V2, kPicture, convert);
    addThreads("YuvToRgb", Y1U2V2, RGB8, kPicture, convert);
    addThreads("Box", RGBA8, RGBA8, kReduced, resize);
}

void addLibyuv() {
#if QEL_PEER_LIBYUV
    // libyuv names formats by the words of little-endian machines: its ABGR has the bytes R, G, B, A.
    const auto toYuv = [](auto* function) {
        return [=](const Image& s, Image& t) {
            function(s.getBytePointer(), s.getPitch(), t.getBytePointer(), t.getPitch(),
                     t.getPlaneBytePointer(1), t.getPlanePitch(1), t.getPlaneBytePointer(2),
                     t.getPlanePitch(2), kWidth, kHeight);
        };
    };
    const auto fromYuv = [](auto* function) {
        return [=](const Image& s, Image& t) {
            function(s.getBytePointer(), s.getPitch(), s.getPlaneBytePointer(1), s.getPlanePitch(1),
                     s.getPlaneBytePointer(2), s.getPlanePitch(2), t.getBytePointer(), t.getPitch(), kWidth,
                     kHeight);
        };
    };
    const auto plain = [](auto* function) {
        return [=](const Image& s, Image& t) {
            function(s.getBytePointer(), s.getPitch(), t.getBytePointer(), t.getPitch(), kWidth, kHeight);
        };
    };
    const auto scale = [](libyuv::FilterMode mode) {
        return [=](const Image& s, Image& t) {
            libyuv::ARGBScale(s.getBytePointer(), s.getPitch(), kWidth, kHeight, t.getBytePointer(),
                              t.getPitch(), t.getWidth(), t.getHeight(), mode);
        };
    };
    addConversion("RgbaToYuv/libyuv", RGBA8, Y1U2V2, toYuv(&libyuv::ABGRToI420));
    addConversion("BgraToYuv/libyuv", BGRA8, Y1U2V2, toYuv(&libyuv::ARGBToI420));
    addConversion("YuvToRgba/libyuv", Y1U2V2, RGBA8, fromYuv(&libyuv::I420ToABGR));
    addConversion("YuvToRgb/libyuv", Y1U2V2, RGB8, fromYuv(&libyuv::I420ToRAW));
    addConversion("YuvToBgra/libyuv", Y1U2V2, BGRA8, fromYuv(&libyuv::I420ToARGB));
    addConversion("SwapEnds4/libyuv", RGBA8, BGRA8, plain(&libyuv::ABGRToARGB));
    addConversion("SwapEnds3/libyuv", RGB8, BGR8, plain(&libyuv::RAWToRGB24));
    addConversion("DropAlpha/libyuv", BGRA8, BGR8, plain(&libyuv::ARGBToRGB24));
    addConversion("Grey/libyuv", BGRA8, L8, plain(&libyuv::ARGBToJ400));
    addConversion("Dither565/libyuv", BGRA8, RGB565, [](const Image& s, Image& t) {
        libyuv::ARGBToRGB565Dither(s.getBytePointer(), s.getPitch(), t.getBytePointer(), t.getPitch(),
                                   nullptr, kWidth, kHeight);
    });
    addConversion("Dither4444/libyuv", BGRA8, RGBA4, plain(&libyuv::ARGBToARGB4444));
    addConversion("SplitChroma/libyuv", Y1UV2, Y1U2V2, [](const Image& s, Image& t) {
        libyuv::NV12ToI420(s.getBytePointer(), s.getPitch(), s.getPlaneBytePointer(1), s.getPlanePitch(1),
                           t.getBytePointer(), t.getPitch(), t.getPlaneBytePointer(1), t.getPlanePitch(1),
                           t.getPlaneBytePointer(2), t.getPlanePitch(2), kWidth, kHeight);
    });
    addConversion("JoinChroma/libyuv", Y1U2V2, Y1UV2, [](const Image& s, Image& t) {
        libyuv::I420ToNV12(s.getBytePointer(), s.getPitch(), s.getPlaneBytePointer(1), s.getPlanePitch(1),
                           s.getPlaneBytePointer(2), s.getPlanePitch(2), t.getBytePointer(), t.getPitch(),
                           t.getPlaneBytePointer(1), t.getPlanePitch(1), kWidth, kHeight);
    });
    add("Box/libyuv", RGBA8, RGBA8, kReduced, scale(libyuv::kFilterBox));
    add("BoxHalf/libyuv", RGBA8, RGBA8, kHalf, scale(libyuv::kFilterBox));
    add("BilinearTwice/libyuv", RGBA8, RGBA8, kTwice, scale(libyuv::kFilterBilinear));
    add("Bilinear/libyuv", RGBA8, RGBA8, kScan, scale(libyuv::kFilterBilinear));
    add("Rotate90/libyuv", RGBA8, RGBA8, kTurned, [](const Image& s, Image& t) {
        libyuv::ARGBRotate(s.getBytePointer(), s.getPitch(), t.getBytePointer(), t.getPitch(), kWidth,
                           kHeight, libyuv::kRotate90);
    });
#endif
}

#if QEL_PEER_OPENCV
/// Returns a matrix on the pixels of an image; the planes of Y1U2V2 follow one another.
cv::Mat matrixOf(const Image& image) {
    auto* pixels = const_cast<uint8*>(image.getBytePointer());
    const auto with = [&](int type, int rows) {
        return cv::Mat(rows, image.getWidth(), type, pixels, static_cast<size_t>(image.getPitch()));
    };
    const int height = image.getHeight();
    switch (image.getImageFormat()) {
    case RGBA8:
    case BGRA8:
        return with(CV_8UC4, height);
    case RGB8:
    case BGR8:
        return with(CV_8UC3, height);
    case Y1U2V2:
        return with(CV_8UC1, height * 3 / 2);
    case RGB565:
        return with(CV_8UC2, height);
    case UInt16:
        return with(CV_16UC1, height);
    case Flt32:
        return with(CV_32FC1, height);
    default:
        return with(CV_8UC1, height);
    }
}
#endif

void addOpenCv() {
#if QEL_PEER_OPENCV
    cv::setNumThreads(1);
    const auto colours = [](int code) {
        return [=](const Image& s, Image& t) {
            cv::Mat out = matrixOf(t);
            cv::cvtColor(matrixOf(s), out, code);
        };
    };
    const auto scale = [](int mode) {
        return [=](const Image& s, Image& t) {
            cv::Mat out = matrixOf(t);
            cv::resize(matrixOf(s), out, out.size(), 0, 0, mode);
        };
    };
    addConversion("RgbaToYuv/opencv", RGBA8, Y1U2V2, colours(cv::COLOR_RGBA2YUV_I420));
    addConversion("BgraToYuv/opencv", BGRA8, Y1U2V2, colours(cv::COLOR_BGRA2YUV_I420));
    addConversion("YuvToRgba/opencv", Y1U2V2, RGBA8, colours(cv::COLOR_YUV2RGBA_I420));
    addConversion("YuvToRgb/opencv", Y1U2V2, RGB8, colours(cv::COLOR_YUV2RGB_I420));
    addConversion("YuvToBgra/opencv", Y1U2V2, BGRA8, colours(cv::COLOR_YUV2BGRA_I420));
    addConversion("SwapEnds4/opencv", RGBA8, BGRA8, colours(cv::COLOR_RGBA2BGRA));
    addConversion("SwapEnds3/opencv", RGB8, BGR8, colours(cv::COLOR_RGB2BGR));
    addConversion("DropAlpha/opencv", RGBA8, RGB8, colours(cv::COLOR_RGBA2RGB));
    addConversion("Grey/opencv", RGBA8, L8, colours(cv::COLOR_RGBA2GRAY));
    addConversion("Dither565/opencv", BGRA8, RGB565, colours(cv::COLOR_BGRA2BGR565));
    addConversion("WordToFloat/opencv", UInt16, Flt32, [](const Image& s, Image& t) {
        cv::Mat out = matrixOf(t);
        matrixOf(s).convertTo(out, CV_32F, 1.0 / 65535);
    });
    add("Box/opencv", RGBA8, RGBA8, kReduced, scale(cv::INTER_AREA));
    add("BoxHalf/opencv", RGBA8, RGBA8, kHalf, scale(cv::INTER_AREA));
    add("BilinearTwice/opencv", RGBA8, RGBA8, kTwice, scale(cv::INTER_LINEAR));
    add("Bilinear/opencv", RGBA8, RGBA8, kScan, scale(cv::INTER_LINEAR));
    add("Rotate90/opencv", RGBA8, RGBA8, kTurned, [](const Image& s, Image& t) {
        cv::Mat out = matrixOf(t);
        cv::rotate(matrixOf(s), out, cv::ROTATE_90_CLOCKWISE);
    });
#endif
}

/// Adds what shows a scan of 16 bits on a screen: a part of its values becomes black to white.
void addWindow() {
    constexpr float kFirst = 13'000, kLast = 46'000;
    benchmark::RegisterBenchmark("Image/WindowLevel/qel", [=](benchmark::State& state) {
        const SmartPointer<Image> target(new Image(BGRA8, kScan));
        RendererSoftware renderer;
        renderer.setRenderTarget(target.get());
        const SmartPointer<Texture> texture = renderer.createTexture();
        texture->upload(makePicture(UInt16, kScan), false);
        const Rect area(0, 0, static_cast<float>(kScan.x), static_cast<float>(kScan.y));
        for (auto _ : state) {
            renderer.start();
            renderer.drawTextureScaledLookupInternal(texture.get(), {0, 0, 1, 1}, area, 0, {kFirst, kLast},
                                                     nullptr);
            renderer.stop();
            benchmark::ClobberMemory();
        }
    });
#if QEL_PEER_OPENCV
    benchmark::RegisterBenchmark("Image/WindowLevel/opencv", [=](benchmark::State& state) {
        const Image source = makePicture(UInt16, kScan);
        Image target(BGRA8, kScan);
        cv::Mat grey, out = matrixOf(target);
        for (auto _ : state) {
            const double factor = 255.0 / (kLast - kFirst);
            matrixOf(source).convertTo(grey, CV_8U, factor, -kFirst * factor);
            cv::cvtColor(grey, out, cv::COLOR_GRAY2BGRA);
            benchmark::ClobberMemory();
        }
    });
#endif
}

Buffer pngOf(const Image& image) {
    Buffer file;
    image.saveToMemory(file, Image::Encoding::Png);
    return file;
}

/// Runs `work(file)` on a PNG file.
template <typename Work>
void addDecoder(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(("Png/Decode/" + name).c_str(), [=](benchmark::State& state) {
        const Buffer file = pngOf(makePicture(RGBA8));
        for (auto _ : state)
            if (!work(file)) return state.SkipWithError("not decoded");
    });
}

/// Runs `work(image)`, which returns the size of the file.
template <typename Work>
void addEncoder(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(("Png/Encode/" + name).c_str(), [=](benchmark::State& state) {
        const Image image = makePicture(RGBA8);
        size_t size = 0;
        for (auto _ : state) size = work(image);
        if (size == 0) return state.SkipWithError("not encoded");
        state.counters["bytes"] = static_cast<double>(size);
    });
}

void addPng() {
    addDecoder("qel", [](const Buffer& file) { return Image().loadFromMemory(file); });
    addEncoder("qel", [](const Image& image) { return pngOf(image).getSize(); });
#if QEL_PEER_PNG
    addDecoder("libpng", [](const Buffer& file) {
        png_image png{};
        png.version = PNG_IMAGE_VERSION;
        if (!png_image_begin_read_from_memory(&png, file.getBytePointer(), file.getSize())) return false;
        png.format = PNG_FORMAT_RGBA;
        Buffer pixels(PNG_IMAGE_SIZE(png));
        return png_image_finish_read(&png, nullptr, pixels.getBytePointer(), 0, nullptr) != 0;
    });
    addEncoder("libpng", [](const Image& image) {
        png_image png{};
        png.version = PNG_IMAGE_VERSION;
        png.width = kWidth;
        png.height = kHeight;
        png.format = PNG_FORMAT_RGBA;
        png_alloc_size_t size = 16 << 20;
        Buffer file(size);
        const bool isWritten =
            png_image_write_to_memory(&png, file.getBytePointer(), &size, 0, image.getBytePointer(),
                                      image.getPitch(), nullptr) != 0;
        return isWritten ? static_cast<size_t>(size) : 0;
    });
#endif
#if QEL_PEER_SPNG
    addDecoder("libspng", [](const Buffer& file) {
        spng_ctx* context = spng_ctx_new(0);
        spng_set_png_buffer(context, file.getBytePointer(), file.getSize());
        size_t size = 0;
        bool isDecoded = spng_decoded_image_size(context, SPNG_FMT_RGBA8, &size) == 0;
        Buffer pixels(size);
        isDecoded =
            isDecoded && spng_decode_image(context, pixels.getBytePointer(), size, SPNG_FMT_RGBA8, 0) == 0;
        spng_ctx_free(context);
        return isDecoded;
    });
    addEncoder("libspng", [](const Image& image) {
        spng_ctx* context = spng_ctx_new(SPNG_CTX_ENCODER);
        spng_set_option(context, SPNG_ENCODE_TO_BUFFER, 1);
        spng_ihdr header{kWidth, kHeight, 8, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA, 0, 0, 0};
        spng_set_ihdr(context, &header);
        size_t size = 0;
        int error = spng_encode_image(context, image.getBytePointer(), image.getByteSize(), SPNG_FMT_PNG,
                                      SPNG_ENCODE_FINALIZE);
        std::free(error ? nullptr : spng_get_png_buffer(context, &size, &error));
        spng_ctx_free(context);
        return error ? 0 : size;
    });
#endif
}

[[maybe_unused]] const bool g_isRegistered = [] {
    addOurs();
    addLibyuv();
    addOpenCv();
    addWindow();
    addPng();
    return true;
}();

} // namespace
