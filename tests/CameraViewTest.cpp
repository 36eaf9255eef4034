// SPDX-License-Identifier: MIT
#include "station/CameraView.h"

#include "shared/Jpeg.h"
#include "shared/Picture.h"
#include "support/PictureWords.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using shared::Color;
using shared::Picture;
using station::CameraView;
using test::shows;

CameraView morning() {
    CameraView view;
    view.camera = "front";
    view.time = 1772616600; // 4 March 2026, 9:30
    return view;
}

int points_that_differ(const Picture& a, const Picture& b) {
    int count = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (!(a.at(x, y) == b.at(x, y))) ++count;
        }
    }
    return count;
}

} // namespace

TEST(CameraView, SaysWhoseItIsAndWhenItWas) {
    const Picture picture = drawn(morning(), "message 101", 160, 120);
    EXPECT_TRUE(shows(picture, 2, 1, 1, "MESSAGE 101 (FRONT)"));
    EXPECT_TRUE(shows(picture, 2, 102, 1, "DOOR CLOSED, LIGHT OFF"));
    EXPECT_TRUE(shows(picture, 2, 111, 1, "2026-03-04 09:30:00"));
}

// The shapes themselves, so that no mistake of the letters can hide behind the letters.
TEST(CameraView, IsReadableAfterItWasAJpeg) {
    const shared::JpegContent content =
        shared::readJpeg(shared::jpegOf(drawn(morning(), "message 101", 160, 120), ""));
    ASSERT_TRUE(content.picture) << content.fault;
    std::vector<std::string> lines;
    for (int y = 1; y < 8; ++y) {
        lines.emplace_back();
        for (int x = 50; x < 67; ++x) {
            lines.back() += content.picture->at(x, y).green >= 128 ? '#' : '.';
        }
    }
    EXPECT_EQ((std::vector<std::string>{"..#....###....#..", //
                                        ".##...#...#..##..", //
                                        "..#...#..##...#..", //
                                        "..#...#.#.#...#..", //
                                        "..#...##..#...#..", //
                                        "..#...#...#...#..", //
                                        ".###...###...###."}),
              lines);
}

TEST(CameraView, WritesLargerInALargerPicture) {
    const Picture picture = drawn(morning(), "live view", 640, 480);
    EXPECT_TRUE(shows(picture, 8, 6, 4, "LIVE VIEW (FRONT)"));
    EXPECT_TRUE(shows(picture, 8, 446, 4, "2026-03-04 09:30:00"));
}

TEST(CameraView, ShowsTheStateOfDoorAndLight) {
    CameraView view = morning();
    const Picture shut = drawn(view, "live view", 160, 120);
    view.doorOpen = true;
    const Picture open = drawn(view, "live view", 160, 120);
    view.lightOn = true;
    const Picture lit = drawn(view, "live view", 160, 120);
    EXPECT_TRUE(shows(open, 2, 102, 1, "DOOR OPEN, LIGHT OFF"));
    EXPECT_TRUE(shows(lit, 2, 102, 1, "DOOR OPEN, LIGHT ON"));
    // The middle of the door: its leaf, and when it is open the dark hall behind it.
    EXPECT_EQ((Color{40, 84, 62}), shut.at(80, 57));
    EXPECT_EQ((Color{28, 22, 18}), open.at(80, 57));
    // The lamp.
    EXPECT_EQ((Color{70, 72, 76}), open.at(116, 29));
    EXPECT_EQ((Color{255, 240, 150}), lit.at(116, 29));
}

TEST(CameraView, ShowsTheVisitorInACoatOfHisOwn) {
    CameraView view = morning();
    const Picture nobody = drawn(view, "message", 160, 120);
    view.visitor = 101;
    const Picture first = drawn(view, "message", 160, 120);
    view.visitor = 102;
    const Picture second = drawn(view, "message", 160, 120);
    EXPECT_FALSE(nobody.at(82, 70) == first.at(82, 70));
    EXPECT_FALSE(first.at(82, 70) == second.at(82, 70));
}

TEST(CameraView, MovesWithTheCamera) {
    CameraView view = morning();
    const Picture before = drawn(view, "live view", 160, 120);
    view.right = 10; // the door goes 20 points to the left
    const Picture turned = drawn(view, "live view", 160, 120);
    EXPECT_EQ(before.at(80, 57), turned.at(60, 57));
    EXPECT_FALSE(before.at(80, 57) == turned.at(80, 57));
    view.right = 0;
    view.up = 5; // and 10 points down
    EXPECT_EQ(before.at(80, 57), drawn(view, "live view", 160, 120).at(80, 67));
    view.up = 0;
    view.zoom = 8;
    EXPECT_LT(1000, points_that_differ(before, drawn(view, "live view", 160, 120)));
}

TEST(CameraView, CutsOffWhatDoesNotFit) {
    const Picture tiny = drawn(morning(), "message 101", 1, 1);
    EXPECT_EQ(1, tiny.width());
    EXPECT_EQ(1, tiny.height());
    EXPECT_EQ(20, drawn(morning(), std::string(1000, 'm'), 20, 10).width());
}
