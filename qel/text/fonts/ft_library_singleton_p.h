// FTLibrarySingleton: FreeType, and the files of the fonts that it reads.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/weak_pointer.h>

#include <ft2build.h>

#include <freetype/freetype.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qel {

class System;

/// The library and the bytes of the font resources. They stay in memory as long as this object, because faces
/// read from them. Each face holds a reference. @threads main thread.
class FTLibrarySingleton final : public Object {
    QEL_CLASS(FTLibrarySingleton, Object)

public:
    /// Called with the bytes of a resource, which are empty if loading has failed.
    using Waiter = std::function<void(ConstByteSpan)>;

    /// Returns the singleton, which is created on first use.
    static SmartPointer<FTLibrarySingleton> get();

    FTLibrarySingleton();
    ~FTLibrarySingleton() override;

    /// Returns the library; null if it could not be created.
    FT_Library handle() const { return m_library; }
    /// Limits the memory that FreeType may allocate from now on, until the next call. Pictures, compressed
    /// tables and bitmaps in a font state their own sizes.
    static void allowBytes(size_t further);

    /// Returns the bytes of a resource that is in memory; empty if it is not.
    ConstByteSpan find(std::string_view name) const;
    /// As find(), but loads the resource if necessary.
    ConstByteSpan load(SmartCStr name);
    /// Requests a resource, unless others wait for it already, and calls @p waiter on the main thread when it
    /// arrives. @return false if no provider accepts the request; the waiter is then dropped.
    bool request(SmartCStr name, Waiter waiter);

private:
    void receive(const std::string& name, const Buffer& file);
    void finishRequest(const std::string& name, const Buffer& file);

    FT_Library m_library = nullptr;
    std::map<std::string, Buffer, std::less<>> m_files; ///< never changed once they have bytes
    std::map<std::string, std::vector<Waiter>, std::less<>> m_waiters;
    WeakPointer<System> m_requester; ///< that of the waiters
};

} // namespace qel
