// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace console {

/// Writes a file, in the place of one that is there. Gives what went wrong, for a person, and the
/// empty text when nothing did; a file that couldn't be finished may be left in part.
std::string saveFile(const std::string& name, const std::string& bytes);

} // namespace console
