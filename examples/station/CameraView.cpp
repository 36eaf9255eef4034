// SPDX-License-Identifier: MIT
#include "station/CameraView.h"

#include "shared/Picture.h"
#include "shared/UtcTime.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iterator>

namespace station {

namespace {

using shared::Color;
using shared::Picture;

// The scene is measured from the middle of the door, to the right and downwards, so that at zoom 1
// the height of a picture is 120. A step of the camera is 2.
constexpr double kSceneHeight = 120;
constexpr double kSceneStep = 2;
constexpr double kGround = 42; // where it begins

constexpr Color kMortar{150, 140, 130};
constexpr Color kBrick{176, 98, 76};
constexpr Color kOtherBrick{164, 88, 70};
constexpr Color kPaving{120, 120, 116};
constexpr Color kPavingGap{96, 96, 92};
constexpr Color kFrame{236, 232, 220};
constexpr Color kDoor{40, 84, 62};
constexpr Color kDoorPanel{54, 106, 80};
constexpr Color kHandle{220, 196, 110};
constexpr Color kHall{28, 22, 18};
constexpr Color kHallFloor{104, 76, 48};
constexpr Color kLampOn{255, 240, 150};
constexpr Color kLampOff{70, 72, 76};
constexpr Color kSkin{222, 178, 146};
constexpr Color kCoats[] = {{36, 62, 140}, {150, 34, 40},  {196, 150, 20},
                            {92, 40, 120}, {20, 120, 130}, {90, 90, 90}};
constexpr Color kBar{16, 16, 20};
constexpr Color kWords{255, 255, 255};

bool inside(double x, double y, double left, double top, double right, double bottom) {
    return x >= left && x < right && y >= top && y < bottom;
}

Color lit(Color color, double x, double y) {
    const double distance = std::hypot(x - 36, y + 30);
    const double gain = 1 + 0.7 * std::max(0.0, 1 - distance / 60);
    const auto brighter = [gain](unsigned char part) {
        return static_cast<unsigned char>(std::min(255.0, part * gain));
    };
    return {brighter(color.red), brighter(color.green), brighter(color.blue)};
}

Color wall(double x, double y) {
    if (y >= kGround) return std::fmod(std::abs(x + y), 16) < 1 ? kPavingGap : kPaving;
    const double row = std::floor(y / 6);
    const bool odd = std::fmod(std::abs(row), 2) == 1;
    const double along = x + (odd ? 7 : 0);
    if (y - row * 6 < 0.8 || along - std::floor(along / 14) * 14 < 0.8) return kMortar;
    return std::fmod(std::abs(std::floor(along / 14)), 2) == 1 ? kOtherBrick : kBrick;
}

Color door(bool open, double x, double y) {
    if (open && x >= -14) return y >= kGround - 8 ? kHallFloor : kHall;
    if (open) return kDoorPanel; // the leaf, seen from its edge
    if (inside(x, y, 13, 2, 17, 5)) return kHandle;
    if (inside(x, y, -15, -34, 11, -6) || inside(x, y, -15, 2, 11, 36)) return kDoorPanel;
    return kDoor;
}

bool on_visitor_head(double x, double y) { return std::hypot(x - 2, y + 14) < 7; }

bool on_visitor_coat(double x, double y) {
    if (std::hypot((x - 2) / 13, (y - 8) / 15) < 1) return true;
    return inside(x, y, -11, 8, 15, 46);
}

Color point(const CameraView& view, double x, double y) {
    if (view.visitor != 0 && on_visitor_head(x, y)) return kSkin;
    if (view.visitor != 0 && on_visitor_coat(x, y)) {
        const auto coats = static_cast<std::int64_t>(std::size(kCoats));
        return kCoats[static_cast<std::size_t>(std::abs(view.visitor % coats))];
    }
    if (inside(x, y, 32, -36, 40, -26)) return view.lightOn ? kLampOn : kLampOff;
    Color color = wall(x, y);
    if (inside(x, y, -22, -44, 22, kGround)) color = kFrame;
    if (inside(x, y, -19, -41, 19, kGround)) color = door(view.doorOpen, x, y);
    return view.lightOn ? lit(color, x, y) : color;
}

void draw_scene(Picture& picture, const CameraView& view) {
    const auto zoom = static_cast<double>(std::max<std::int64_t>(view.zoom, 1));
    const double size = kSceneHeight / (picture.height() * zoom); // of a point
    for (int row = 0; row < picture.height(); ++row) {
        const double y =
            (row + 0.5 - picture.height() / 2.0) * size - static_cast<double>(view.up) * kSceneStep;
        for (int column = 0; column < picture.width(); ++column) {
            const double x = (column + 0.5 - picture.width() / 2.0) * size +
                             static_cast<double>(view.right) * kSceneStep;
            picture.set(column, row, point(view, x, y));
        }
    }
}

/// Lines of white letters on a dark bar as broad as the picture.
void draw_bar(Picture& picture, int y, int scale, std::initializer_list<std::string> lines) {
    const int lineHeight = (Picture::kLetterHeight + 1) * scale;
    picture.fill(0, y, picture.width(), static_cast<int>(lines.size()) * lineHeight + scale, kBar);
    int top = y + scale;
    for (const std::string& line : lines) {
        picture.write(2 * scale, top + scale / 2, scale, line, kWords);
        top += lineHeight;
    }
}

} // namespace

Picture drawn(const CameraView& view, const std::string& title, int width, int height) {
    Picture picture(width, height);
    draw_scene(picture, view);
    const int scale = std::max(1, std::min(width / 160, height / 120));
    const std::string state = std::string("door ") + (view.doorOpen ? "open" : "closed") +
                              ", light " + (view.lightOn ? "on" : "off");
    const int lineHeight = (Picture::kLetterHeight + 1) * scale;
    draw_bar(picture, 0, scale, {title + " (" + view.camera + ")"});
    draw_bar(picture, height - 2 * lineHeight - scale, scale, {state, shared::utcTime(view.time)});
    return picture;
}

} // namespace station
