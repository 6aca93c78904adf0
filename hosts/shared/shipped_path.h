// Finds the files that are shipped with the hosts: plugins, resources and the worker.
#pragma once

#include <qel/system/core/system.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace qelhosts {

/// The folder of the plugins and resources of an installation, relative to the folder of the hosts.
inline constexpr const char* kDataFolder = QELCORE_DATA_FROM_BIN;
/// The folder of the programs that only hosts start, relative to the folder of the hosts.
inline constexpr const char* kProgramsFolder = QELCORE_LIBEXEC_FROM_BIN;

/// Returns @p path, which is relative to the folder of the running program, as an absolute path. An
/// installation can be moved, as nothing else leads to its files.
inline std::string pathFromProgram(const std::filesystem::path& path) {
    const std::filesystem::path program = qel::Object::system()->getExecutablePath().c_str();
    return (program.parent_path() / path).lexically_normal().string();
}

/// Returns the path of the file or folder @p name beside the running program, where a build tree has it, or
/// of @p installed, relative to the folder of the program, if only that exists.
inline std::string shippedPath(const char* name, const std::filesystem::path& installed) {
    const std::string beside = pathFromProgram(name);
    const std::string inInstallation = pathFromProgram(installed);
    std::error_code error;
    if (std::filesystem::exists(beside, error)) return beside;
    return std::filesystem::exists(inInstallation, error) ? inInstallation : beside;
}

/// Returns the folder of the shipped fonts, which are the resources of their file names.
inline std::string shippedFontsPath() {
    return shippedPath("../resources/fonts", std::filesystem::path(kDataFolder) / "fonts");
}

} // namespace qelhosts
