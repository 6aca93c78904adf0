#include <hosts/qelviewer/volume/voxel_format.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace qelviewer {
namespace {

/// A format and what files call it.
struct Entry {
    VoxelFormat format;
    int niftiNumber;
    std::array<std::string_view, 7> nrrdNames;
};

constexpr Entry kEntries[] = {
    {{qel::Int8, 1, false, "int8"}, 256, {"signed char", "int8", "int8_t"}},
    {{qel::UInt8, 1, false, "uint8"}, 2, {"uchar", "unsigned char", "uint8", "uint8_t"}},
    {{qel::Int16, 2, false, "int16"},
     4,
     {"short", "short int", "signed short", "signed short int", "int16", "int16_t"}},
    {{qel::UInt16, 2, false, "uint16"},
     512,
     {"ushort", "unsigned short", "unsigned short int", "uint16", "uint16_t"}},
    {{qel::Int32, 4, false, "int32"}, 8, {"int", "signed int", "int32", "int32_t"}},
    {{qel::UInt32, 4, false, "uint32"}, 768, {"uint", "unsigned int", "uint32", "uint32_t"}},
    {{qel::Int64, 8, false, "int64"},
     1024,
     {"longlong", "long long", "long long int", "signed long long", "signed long long int", "int64",
      "int64_t"}},
    {{qel::UInt64, 8, false, "uint64"},
     1280,
     {"ulonglong", "unsigned long long", "unsigned long long int", "uint64", "uint64_t"}},
    {{qel::Flt32, 4, true, "float32"}, 16, {"float"}},
    {{qel::Flt64, 8, true, "float64"}, 64, {"double"}},
};

template <typename Test>
const VoxelFormat* findFormat(const Test& test) {
    const auto* const entry = std::find_if(std::begin(kEntries), std::end(kEntries), test);
    return entry != std::end(kEntries) ? &entry->format : nullptr;
}

} // namespace

const VoxelFormat* nrrdFormat(std::string_view name) {
    if (name.empty()) return nullptr;
    return findFormat([&](const Entry& entry) {
        return std::find(entry.nrrdNames.begin(), entry.nrrdNames.end(), name) != entry.nrrdNames.end();
    });
}

const VoxelFormat* niftiFormat(int number) {
    return findFormat([&](const Entry& entry) { return entry.niftiNumber == number; });
}

} // namespace qelviewer
