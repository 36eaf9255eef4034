// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace shared {
class Picture;
}

namespace station {

/// What the camera saw at one time.
struct CameraView {
    std::string camera;       ///< its name
    double time = 0;          ///< seconds since 1970, UTC
    bool doorOpen = false;    ///< whether the door stood open
    bool lightOn = false;     ///< whether the lamp shone
    std::int64_t right = 0;   ///< steps by which the camera has turned
    std::int64_t up = 0;      ///< the same, upwards
    std::int64_t zoom = 1;    ///< how near it was drawn; 1 is the whole view
    std::int64_t visitor = 0; ///< a number that chooses his coat; 0 when nobody is there
};

/// The view as a picture: wall, lamp, door and visitor, and over them in letters the title, the
/// camera, door and light, and the time. Letters grow with the picture, the smallest fit into
/// 160 x 120 points; what doesn't fit is cut off.
shared::Picture drawn(const CameraView& view, const std::string& title, int width, int height);

} // namespace station
