// What was built: version, revision, date, and the product's title.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Tells what this build is. All values are worked out once, on first use, from the build's description: the
/// version and behind it, joined by '-', the kind of release, the commits since it, a short hash and "dirty".
/// @threads any thread; texts last as long as the process.
class QEL_API Version {
public:
    /// The version as people read it: "4.2.0", or "4.2.0 ce+12 [abc1234+]" for a build beyond a release.
    static const char* getVersionString();
    /// The revision, 40 hexadecimal digits, with "+changes" behind them for changed sources.
    static const char* getGitHash();
    /// The day of the build as eight digits: year, month, day.
    static const char* getBuildDate();
    /// Facts of the build, a blank ahead of each: " buildtype-distribution arch-intel ...".
    static const char* getBuildTags();
    /// The copyright line.
    static const char* getCopyrightString();

    /// Whether this is a release of any kind but research.
    static bool isVersionRelease();
    /// Whether this is a CE release.
    static bool isVersionCERelease();
    /// Whether this is a research release.
    static bool isVersionResearch();

    /// The product: "Novix Research" for a research release, else "Novix".
    static String decideProductName();
    /// Product, @p name and version, with blanks between. @p name must not be null.
    static String getAppTitle(const char* name);
    /// The device identifier as a GS1 element string, "(01)<code>(8012)6.9.0"; "NOT AVAILABLE" for null.
    static String createFullUDI(const char* code);

    /// "4.2.0" as 40200: (major * 100 + minor) * 100 + patch. Numbers that are not there count 0.
    static uint32 toVersionNumber(const char* text);
    /// 40200 as "4.2.0". Minor and patch numbers above 99 do not survive the way there and back.
    static String fromVersionNumber(uint32 number);
};

} // namespace qel
