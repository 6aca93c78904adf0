#include <qel/system/report/version.h>

#include <qel/platform/build_facts.h>
#include <qel/system/report/build_description.h>
#include <qel/system/report/build_identity_p.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace qel {

namespace {

const internal::BuildDescription& build() {
    static const internal::BuildDescription description =
        internal::parseBuildDescription(QEL_BUILD_DESCRIPTION);
    return description;
}

/// Reads a number as scanf does, after optional spaces and a sign, and removes it from the front of @p text.
/// Without a number the result is 0 and nothing more is read.
uint32 takeNumber(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.starts_with('+')) text.remove_prefix(1);
    int32 number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text = error == std::errc() ? text.substr(static_cast<size_t>(end - text.data())) : std::string_view();
    return static_cast<uint32>(number);
}

/// Removes the point between two numbers; without one nothing more is read.
void takePoint(std::string_view& text) {
    text = text.starts_with('.') ? text.substr(1) : std::string_view();
}

} // namespace

const char* Version::getVersionString() {
    return build().version.c_str();
}

const char* Version::getGitHash() {
    return build().isDirty ? QEL_REVISION_HASH "+changes" : QEL_REVISION_HASH;
}

const char* Version::getBuildDate() {
    return QEL_BUILD_DATE;
}

const char* Version::getBuildTags() {
    static const std::string tags = fmt::format(
        " buildtype-distribution arch-{} arch-{}bit platform-{} compiler-{}", platform::kProcessorFamily,
        platform::kPointerBits, platform::kOperatingSystem, platform::kCompiler);
    return tags.c_str();
}

const char* Version::getCopyrightString() {
    return QEL_COPYRIGHT;
}

bool Version::isVersionRelease() {
    return build().isRelease;
}

bool Version::isVersionCERelease() {
    return build().isCE;
}

bool Version::isVersionResearch() {
    return build().isResearch;
}

String Version::decideProductName() {
    return isVersionResearch() ? "Novix Research" : "Novix";
}

String Version::getAppTitle(const char* name) {
    return decideProductName() + " " + name + " " + getVersionString();
}

String Version::createFullUDI(const char* code) {
    // The version under which the device is registered; it does not depend on the build's description.
    constexpr int kMajor = 6;
    constexpr int kMinor = 9;
    constexpr int kPatch = 0;
    if (!code) return "NOT AVAILABLE";
    return fmt::format("(01){}(8012){}.{}.{}", code, kMajor, kMinor, kPatch);
}

uint32 Version::toVersionNumber(const char* text) {
    std::string_view rest = text ? text : "";
    uint32 number = takeNumber(rest);
    takePoint(rest);
    number = number * 100 + takeNumber(rest);
    takePoint(rest);
    return number * 100 + takeNumber(rest);
}

String Version::fromVersionNumber(uint32 number) {
    return fmt::format("{}.{}.{}", number / 10000, number % 10000 / 100, number % 100);
}

} // namespace qel
