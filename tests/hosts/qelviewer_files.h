// The bytes of volume files, built field by field.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <zlib.h>

namespace qelviewer::test {

/// Returns the bytes of a number.
template <typename T>
std::string bytesOf(T value, bool isBigEndian = false) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    if (isBigEndian) std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

/// Returns the bytes of numbers, converted to T.
template <typename T>
std::string voxelBytes(const std::vector<double>& values, bool isBigEndian = false) {
    std::string bytes;
    for (const double value : values) bytes += bytesOf(static_cast<T>(value), isBigEndian);
    return bytes;
}

/// Returns a gzip member.
inline std::string gzip(const std::string& content, int level = 6) {
    z_stream stream{};
    deflateInit2(&stream, level, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
    std::string result(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    deflate(&stream, Z_FINISH);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

/// A NIfTI-1 file with its header.
struct NiftiFile {
    bool isBigEndian = false;
    std::int32_t headerSize = 348;
    std::vector<int> dim = {3, 2, 2, 2};
    int datatype = 4;
    std::vector<float> pixdim = {1, 1, 1, 1};
    float voxOffset = 352;
    float slope = 0, intercept = 0;
    char units = 2;
    int qform = 0, sform = 0;
    std::array<float, 3> quaternion{}, offset{};
    std::array<std::array<float, 4>, 3> rows{};
    std::string magic = std::string("n+1\0", 4);

    /// Returns the header, four bytes that announce no extension, and @p voxels.
    std::string bytes(const std::string& voxels) const {
        std::string file(352, '\0');
        const auto put = [&](size_t position, const std::string& field) {
            file.replace(position, field.size(), field);
        };
        const auto integer = [&](int value) {
            return bytesOf(static_cast<std::int16_t>(value), isBigEndian);
        };
        const auto real = [&](float value) { return bytesOf(value, isBigEndian); };
        put(0, bytesOf(headerSize, isBigEndian));
        for (size_t i = 0; i < dim.size(); ++i) put(40 + 2 * i, integer(dim[i]));
        put(70, integer(datatype));
        for (size_t i = 0; i < pixdim.size(); ++i) put(76 + 4 * i, real(pixdim[i]));
        put(108, real(voxOffset));
        put(112, real(slope));
        put(116, real(intercept));
        put(123, std::string(1, units));
        put(252, integer(qform));
        put(254, integer(sform));
        for (size_t i = 0; i < 3; ++i) put(256 + 4 * i, real(quaternion[i]));
        for (size_t i = 0; i < 3; ++i) put(268 + 4 * i, real(offset[i]));
        for (size_t r = 0; r < 3; ++r)
            for (size_t c = 0; c < 4; ++c) put(280 + 16 * r + 4 * c, real(rows[r][c]));
        put(344, magic);
        return file + voxels;
    }
};

} // namespace qelviewer::test
