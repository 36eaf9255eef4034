// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace station {

/// A whole JPEG image of 8 x 8 grey pixels with the title as its comment: enough to be opened and
/// told apart. Bad input: a title is cut to 1000 bytes.
std::string previewImage(const std::string& title);

} // namespace station
