// Texts about a voxel and about a file.
#pragma once

#include "view_state.h"

#include <string>
#include <utility>
#include <vector>

namespace qelviewer {

/// Returns a message about a problem in the language of the user. Its parts are separated by ": "; those
/// without a translation stay as they are.
std::string problemText(const std::string& problem);
/// Returns the position of a voxel, such as "L 12.3  A 4.5  S 7.8 mm"; "x", "y" and "z" without a patient.
std::string positionText(const Orientation& orientation, const qel::IVec3<double>& voxel);
/// Returns the value, the position and the indices of a voxel; empty outside of the volume.
std::string voxelText(const Study& study, const qel::IVec3<double>& voxel);
/// Returns what the file states, with translated names.
std::vector<std::pair<std::string, std::string>> headerRows(const Study& study);
/// Returns the measurements with their planes and slices.
std::vector<std::pair<std::string, std::string>> measurementRows(const ViewState& state);

} // namespace qelviewer
