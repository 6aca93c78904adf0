// Installable packages.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/api.h>

namespace qel {

/// An archive with a "manifest.ini" at its root, unpacked by an external program with the command line of 7z.
/// The program is started directly, without a shell: no name is ever interpreted as a command, an option or a
/// pattern.
/// @threads an object is used by one thread at a time; unpacking blocks until it is done.
class QEL_API ProductPackage : public Object {
    QEL_CLASS(ProductPackage, Object)

public:
    /// What a package states about itself.
    struct QEL_API Manifest {
        String product; ///< identifier of the product, "manifest:product"
        String version; ///< its version, "manifest:version"

        /// Reads a manifest file. @return true if it is complete; otherwise the manifest is unchanged.
        /// @errors logged.
        bool parse(SmartCStr path);
    };

    /// Refers to the package in the file @p archivePath.
    /// @param unpackerPath  the program; a name without a slash is searched for in $PATH.
    ProductPackage(SmartCStr archivePath, SmartCStr unpackerPath);

    /// Unpacks "manifest.ini" next to the archive and reads it. @errors false, logged.
    bool getManifest(Manifest& manifest);
    /// Unpacks everything into the folder @p target and replaces existing files.
    /// @errors false, logged; also for a target with an asterisk, which the program would replace.
    bool unpack(SmartCStr target);
    /// Unpacks the files called @p name, in any folder of the archive, into the folder @p target.
    /// @errors as unpack().
    bool unpackFile(SmartCStr name, SmartCStr target);

private:
    bool run(SmartCStr target, const Vector<std::string>& selection) const;

    String m_archivePath;
    String m_unpackerPath;
};

} // namespace qel
