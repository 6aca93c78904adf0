// What the desktop programs do before and after they show something.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qelwidgets {

/// Starts System, runs @p body and stops System. Warnings and errors of the log, and exceptions, are reported
/// on standard error.
/// @param hasOwnClock  true for a clock that only the passes of the frame loop move, so that frames are the
/// same each time.
/// @return the exit status: that of @p body, or 1 after an exception or if output was lost.
int runDesktopProgram(const char* name, bool hasOwnClock, const std::function<int()>& body);

/// Returns @p chosen, or the folder of the installed resources if it is empty.
std::vector<std::string> resourceFolders(const std::vector<std::string>& chosen);

/// Adds the resources of @p folders, their packages, the shipped fonts and those of the system, and the texts
/// of a program in English and German.
/// @param texts  the name of their resource for TextTable::load().
/// @param language  becomes the language of System; empty keeps that of the user.
void addDesktopResources(const std::vector<std::string>& folders, const char* texts,
                         const std::string& language);

} // namespace qelwidgets
