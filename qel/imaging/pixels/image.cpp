#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/plane_layout_p.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace qel {

using internal::ImageLayout;

namespace {

void logRefusal(const char* why, FormatID format, const IVec2<int>& size) {
    logging::error() << "can not initialize image: " << why << ", format=" << static_cast<int>(format)
                     << " size=" << size.x << "x" << size.y;
}

/// Grows or shrinks @p buffer. @return false if there is no memory.
bool resizeBuffer(Buffer& buffer, uint64 bytes) {
    try {
        buffer.resize(bytes);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Copies the bytes of @p source. @return false if there is no memory.
bool copyBuffer(Buffer& target, const Buffer& source) {
    try {
        target = source;
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Returns the number of planes that an external image of this format has.
unsigned externPlanes(FormatID format) {
    const bool staysOnePlane = format == MP_RGB8_O16 || format == MP_UInt16_O16;
    return staysOnePlane ? 1 : static_cast<unsigned>(util::getFormatPlanes(format));
}

uint64 distance(int pitch) {
    return static_cast<uint64>(std::abs(static_cast<int64>(pitch)));
}

/// Returns whether a plane of this size and pitch may exist in @p span.
bool isInSpan(FormatID format, const IVec2<int>& size, int pitch, const ByteSpan& span) {
    const auto rows = static_cast<uint64>(size.y);
    if (distance(pitch) * rows > internal::kMaxPlaneBytes) return false;
    const uint64 lastRow = internal::rowBytes(format, size.x);
    if (pitch < 0 || rows == 0 || lastRow == 0) return true;
    return distance(pitch) * (rows - 1) + lastRow <= span.size;
}

} // namespace

Image::Image(const Image& other) : Object(other) {
    *this = other;
}

Image::Image(Image&& other) noexcept : Object() {
    *this = std::move(other);
}

Image& Image::operator=(const Image& other) {
    if (this == &other) return *this;
    const bool isOwn = other.isInitialized() && !other.isExternal();
    if (!isOwn) {
        m_buffer.clear();
    } else if (!copyBuffer(m_buffer, other.m_buffer)) {
        m_planes = 0;
        logRefusal("no memory", other.m_format, other.getSize());
        return *this;
    }
    adopt(other);
    return *this;
}

Image& Image::operator=(Image&& other) noexcept {
    if (this == &other) return *this;
    m_buffer.swap(other.m_buffer);
    adopt(other);
    return *this;
}

Image::~Image() {
    if (m_releaseExtern) m_releaseExtern();
}

/// Lays the planes of @p other out in the own memory, if it is large enough.
void Image::adopt(const Image& other) {
    if (!other.isInitialized()) return clear();
    const ImageLayout layout = internal::layoutOf(other.m_format, other.getSize());
    const bool fits = layout.valid && m_buffer.getSize() >= layout.bytes;
    update(other.m_format, other.getSize(), fits ? m_buffer.getBytePointer() : nullptr);
}

void Image::initialize(FormatID format, const IVec2<int>& size) {
    const ImageLayout layout = internal::layoutOf(format, size);
    m_planes = 0;
    if (!layout.valid) return logRefusal("unknown format or invalid size", format, size);
    if (!resizeBuffer(m_buffer, layout.bytes)) return logRefusal("no memory", format, size);
    update(format, size, m_buffer.getBytePointer());
}

void Image::initialize(FormatID format, const IVec2<int>& size, Buffer&& data) {
    m_buffer.swap(data);
    initialize(format, size);
}

void Image::initializeFromExtern(FormatID format, const IVec2<int>& size, const Vector<ByteSpan>& planes,
                                 const Vector<int>& pitches, std::function<void()> release) {
    m_releaseExtern.swap(release);
    if (release) release();
    m_planes = 0;
    m_buffer.clear();
    ImageLayout layout = internal::layoutOf(format, size);
    const unsigned count = externPlanes(format);
    if (!layout.valid || planes.size() < count || pitches.size() < count)
        return logRefusal("unknown format, invalid size or missing planes", format, size);
    if (count == 1) layout.plane[0].format = format;
    const bool keepsPitches = format == Y1V2U2;
    for (unsigned i = 0; i < count; ++i) {
        const internal::PlaneLayout& plane = layout.plane[i];
        if (!isInSpan(plane.format, plane.size, keepsPitches ? m_planePitch[i] : pitches[i], planes[i]))
            return logRefusal("memory too small or plane too large", format, size);
    }
    m_format = format;
    m_planes = count;
    for (unsigned i = 0; i < count; ++i) {
        const internal::PlaneLayout& plane = layout.plane[i];
        m_planePointer[i] = planes[i].data;
        m_planeFormat[i] = plane.format;
        m_planeSize[i] = plane.size;
        if (!keepsPitches) m_planePitch[i] = pitches[i];
        m_planeByteSize[i] =
            static_cast<unsigned>(distance(m_planePitch[i]) * static_cast<uint64>(plane.size.y));
    }
}

void Image::swap(Image& other) noexcept {
    const unsigned planes = m_planes > other.m_planes ? m_planes : other.m_planes;
    m_buffer.swap(other.m_buffer);
    std::swap(m_format, other.m_format);
    std::swap(m_planes, other.m_planes);
    for (unsigned i = 0; i < planes; ++i) {
        std::swap(m_planePointer[i], other.m_planePointer[i]);
        std::swap(m_planeFormat[i], other.m_planeFormat[i]);
        std::swap(m_planePitch[i], other.m_planePitch[i]);
        std::swap(m_planeSize[i], other.m_planeSize[i]);
        std::swap(m_planeByteSize[i], other.m_planeByteSize[i]);
    }
}

void Image::free() {
    m_buffer.free();
    m_planes = 0;
}

bool Image::isExternal() const {
    return m_planes > 0 && m_planePointer[0] != nullptr && m_planePointer[0] != m_buffer.getBytePointer();
}

bool Image::hasPixels() const {
    for (unsigned i = 0; i < m_planes; ++i) {
        const bool isEmpty = m_planeSize[i].x == 0 || m_planeSize[i].y == 0;
        if (!isEmpty && m_planePointer[i] == nullptr) return false;
    }
    return m_planes > 0;
}

size_t Image::getByteSize() const {
    size_t bytes = 0;
    for (unsigned i = 0; i < m_planes; ++i) bytes += m_planeByteSize[i];
    return bytes;
}

uint8* Image::rowOf(unsigned plane, int row) const {
    uint8* first = m_planePointer[plane];
    return first ? first + static_cast<int64>(row) * m_planePitch[plane] : nullptr;
}

void Image::update(FormatID format, const IVec2<int>& size, uint8* base) {
    const ImageLayout layout = internal::layoutOf(format, size);
    m_format = format;
    m_planes = layout.planes;
    for (unsigned i = 0; i < m_planes; ++i) {
        const internal::PlaneLayout& plane = layout.plane[i];
        m_planePointer[i] = base ? base + plane.offset : nullptr;
        m_planeFormat[i] = plane.format;
        m_planePitch[i] = static_cast<int>(plane.pitch);
        m_planeSize[i] = plane.size;
        m_planeByteSize[i] = static_cast<unsigned>(plane.byteSize());
    }
}

} // namespace qel
