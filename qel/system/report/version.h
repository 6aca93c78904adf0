// Describes this build: version, revision, date, and the product's title.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Describes this build. All values are derived once, on first use, from the build's description: the
/// version, followed by these parts, each after a '-': the kind of release, the commits since it, a short
/// hash and "dirty".
/// @threads any thread; the texts are valid until the process ends.
class QEL_API Version {
public:
    /// Returns the version as shown to users: "4.2.0", or "4.2.0 ce+12 [abc1234+]" for a build after a
    /// release.
    static const char* getVersionString();
    /// Returns the revision, 40 hexadecimal digits, followed by "+changes" if the sources were changed.
    static const char* getGitHash();
    /// Returns the day of the build as eight digits: year, month, day.
    static const char* getBuildDate();
    /// Returns facts about the build, each after a space: " buildtype-distribution arch-intel ...".
    static const char* getBuildTags();
    /// Returns the copyright line.
    static const char* getCopyrightString();

    /// Returns true if this is a release of any kind except research.
    static bool isVersionRelease();
    /// Returns true if this is a CE release.
    static bool isVersionCERelease();
    /// Returns true if this is a research release.
    static bool isVersionResearch();

    /// Returns the product: "Novix Research" for a research release, else "Novix".
    static String decideProductName();
    /// Returns product, @p name and version, separated by spaces. @p name must not be null.
    static String getAppTitle(const char* name);
    /// Returns the device identifier as a GS1 element string, "(01)<code>(8012)6.9.0"; "NOT AVAILABLE" for
    /// null.
    static String createFullUDI(const char* code);

    /// Converts "4.2.0" to 40200: (major * 100 + minor) * 100 + patch. Missing numbers are 0.
    static uint32 toVersionNumber(const char* text);
    /// Converts 40200 to "4.2.0". Minor and patch numbers above 99 are not restored by toVersionNumber().
    static String fromVersionNumber(uint32 number);
};

} // namespace qel
