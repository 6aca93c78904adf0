// What the desktop programs do before and after they show something.
#pragma once

#include <hosts/window/window.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qelwidgets {

/// Starts System, runs @p body and stops System. Warnings and errors of the log, and exceptions, are reported
/// on standard error.
/// @param hasOwnClock  true for a clock that only the passes of the frame loop move, so that frames are the
/// same each time.
/// @return the exit status: that of @p body, or 1 after an exception or if output was lost.
int runDesktopProgram(const char* name, bool hasOwnClock, const std::function<int()>& body);

/// Opens a window, or one in memory if pictures are to be written or there is no display.
/// @param name  of the program: the title of the window, and the folder for pictures without a display.
/// @param writesPictures  true if the program was asked to write pictures.
/// @param folder  the folder for pictures; set and announced on standard output if there is no display.
/// @return null, after a message on standard error, if no window can be opened.
std::unique_ptr<qelwindow::Window> openWindow(const char* name, const qel::IVec2<int>& size,
                                              bool writesPictures, std::string& folder);

/// Returns @p chosen, or the folder of the installed resources if it is empty.
std::vector<std::string> resourceFolders(const std::vector<std::string>& chosen);

/// Adds the resources of @p folders, their packages, the shipped fonts and those of the system, and the texts
/// of a program in English and German.
/// @param texts  the name of their resource for TextTable::load().
/// @param language  becomes the language of System; empty keeps that of the user.
void addDesktopResources(const std::vector<std::string>& folders, const char* texts,
                         const std::string& language);

} // namespace qelwidgets
