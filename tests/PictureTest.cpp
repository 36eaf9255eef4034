// SPDX-License-Identifier: MIT
#include "shared/Picture.h"
#include "shared/Jpeg.h"
#include "shared/PlainText.h"
#include "shared/UtcTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

using shared::Color;
using shared::JpegContent;
using shared::jpegOf;
using shared::Picture;
using shared::readJpeg;

constexpr Color kBlack{0, 0, 0};
constexpr Color kWhite{255, 255, 255};
constexpr Color kRed{200, 30, 30};

/// "#" for each point that isn't black, line by line.
std::vector<std::string> shape_of(const Picture& picture) {
    std::vector<std::string> lines;
    for (int y = 0; y < picture.height(); ++y) {
        lines.emplace_back();
        for (int x = 0; x < picture.width(); ++x) {
            lines.back() += picture.at(x, y) == kBlack ? '.' : '#';
        }
    }
    return lines;
}

Picture red_corner(int width, int height) {
    Picture picture(width, height);
    picture.fill(0, 0, width, height, kWhite);
    picture.fill(0, 0, width / 2, height / 2, kRed);
    return picture;
}

} // namespace

// ----- Drawing -------------------------------------------------------------------------------

TEST(Picture, IsBlackAtFirstAndHoldsItsSize) {
    const Picture picture(3, 2);
    EXPECT_EQ(3, picture.width());
    EXPECT_EQ(2, picture.height());
    EXPECT_EQ((std::vector<std::string>{"...", "..."}), shape_of(picture));
}

TEST(Picture, BringsItsSidesIntoTheirBounds) {
    EXPECT_EQ(1, Picture(0, 5).width());
    EXPECT_EQ(1, Picture(5, -7).height());
    EXPECT_EQ(8192, Picture(std::numeric_limits<int>::max(), 1).width());
}

TEST(Picture, DropsWhatIsDrawnOutside) {
    Picture picture(4, 3);
    picture.fill(-2, -2, 4, 4, kWhite);
    picture.fill(3, 2, 100, 100, kWhite);
    picture.set(4, 0, kWhite);
    picture.set(0, -1, kWhite);
    picture.write(-3, 2, 1, "H", kWhite);
    EXPECT_EQ((std::vector<std::string>{"##..", "##..", ".#.#"}), shape_of(picture));
    EXPECT_TRUE(kBlack == picture.at(-1, 0));
    EXPECT_TRUE(kBlack == picture.at(0, 3));
}

TEST(Picture, WritesLettersDigitsAndSigns) {
    Picture picture(24, 7);
    picture.write(0, 0, 1, "A4:", kWhite);
    EXPECT_EQ((std::vector<std::string>{".###.....#..............", //
                                        "#...#...##....#.........", //
                                        "#...#..#.#....#.........", //
                                        "#####.#..#..............", //
                                        "#...#.#####...#.........", //
                                        "#...#....#....#.........", //
                                        "#...#....#.............."}),
              shape_of(picture));
}

TEST(Picture, WritesSmallLettersAsCapitalOnes) {
    Picture small(60, 7);
    Picture capital(60, 7);
    small.write(0, 0, 1, "camera z", kWhite);
    capital.write(0, 0, 1, "CAMERA Z", kWhite);
    EXPECT_EQ(shape_of(capital), shape_of(small));
}

TEST(Picture, WritesWhatHasNoLetterAsABox) {
    const std::vector<std::string> box = {"#####", "#...#", "#...#", "#...#",
                                          "#...#", "#...#", "#####"};
    for (const char character : {'\0', '\x1B', '~', '\xC3', '\xFF', '{'}) {
        Picture picture(5, 7);
        picture.write(0, 0, 1, std::string(1, character), kWhite);
        EXPECT_EQ(box, shape_of(picture)) << static_cast<int>(character);
    }
}

TEST(Picture, WritesEachLetterInAShapeOfItsOwn) {
    const std::string all = "-:.,/()0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ ~";
    std::vector<std::vector<std::string>> shapes;
    for (const char character : all) {
        Picture picture(5, 7);
        picture.write(0, 0, 1, std::string(1, character), kWhite);
        for (const auto& other : shapes) {
            EXPECT_NE(other, shape_of(picture)) << character;
        }
        shapes.push_back(shape_of(picture));
    }
}

TEST(Picture, WritesLargerLettersByLargerPoints) {
    Picture picture(10, 14);
    picture.write(0, 0, 2, "1", kWhite);
    EXPECT_EQ("....##....", shape_of(picture)[0]);
    EXPECT_EQ("....##....", shape_of(picture)[1]);
    EXPECT_EQ("..####....", shape_of(picture)[2]);
    EXPECT_EQ("..######..", shape_of(picture)[13]);
}

// ----- JPEG ----------------------------------------------------------------------------------

TEST(Jpeg, GivesTheSizeTheColoursAndTheCommentBack) {
    const std::string bytes = jpegOf(red_corner(40, 24), "a corner");
    EXPECT_EQ("\xFF\xD8\xFF", bytes.substr(0, 3));
    EXPECT_EQ("\xFF\xD9", bytes.substr(bytes.size() - 2));
    const JpegContent content = readJpeg(bytes);
    ASSERT_TRUE(content.picture) << content.fault;
    EXPECT_EQ("", content.fault);
    EXPECT_EQ("a corner", content.comment);
    EXPECT_EQ(40, content.picture->width());
    EXPECT_EQ(24, content.picture->height());
    EXPECT_NEAR(200, content.picture->at(3, 3).red, 8);
    EXPECT_NEAR(30, content.picture->at(3, 3).green, 8);
    EXPECT_NEAR(255, content.picture->at(36, 20).green, 8);
}

TEST(Jpeg, HoldsPicturesOfOnePoint) {
    const JpegContent content = readJpeg(jpegOf(Picture(1, 1), ""));
    ASSERT_TRUE(content.picture) << content.fault;
    EXPECT_EQ(1, content.picture->width());
    EXPECT_EQ("", content.comment);
}

TEST(Jpeg, CutsALongComment) {
    const JpegContent content = readJpeg(jpegOf(Picture(1, 1), std::string(70'000, 'x')));
    ASSERT_TRUE(content.picture) << content.fault;
    EXPECT_EQ(std::string(60'000, 'x'), content.comment);
}

TEST(Jpeg, IsTheSameForTheSamePicture) {
    EXPECT_EQ(jpegOf(red_corner(40, 24), "a"), jpegOf(red_corner(40, 24), "a"));
}

TEST(Jpeg, RefusesWhatIsNoPicture) {
    const std::vector<std::string> rows = {"",
                                           "\xFF",
                                           "\xFF\xD8",
                                           "\xFF\xD8\xFF\xD9",
                                           "GIF89a",
                                           "{\"result\": 1}",
                                           std::string("\0\0\0\0", 4),
                                           std::string(5000, '\xFF')};
    for (const std::string& bytes : rows) {
        const JpegContent content = readJpeg(bytes);
        EXPECT_FALSE(content.picture) << bytes.substr(0, 20);
        EXPECT_NE("", content.fault) << bytes.substr(0, 20);
    }
}

TEST(Jpeg, RefusesAPictureThatIsCutOffAnywhere) {
    const std::string bytes = jpegOf(red_corner(40, 24), "a corner");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const JpegContent content = readJpeg(std::string_view(bytes).substr(0, size));
        EXPECT_FALSE(content.picture) << size;
        EXPECT_NE("", content.fault) << size;
    }
}

TEST(Jpeg, GivesAPictureOrAFaultWhateverByteIsWrong) {
    const std::string bytes = jpegOf(red_corner(40, 24), "a corner");
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        std::string damaged = bytes;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x55);
        const JpegContent content = readJpeg(damaged);
        EXPECT_EQ(content.picture.has_value(), content.fault.empty()) << place;
    }
}

TEST(Jpeg, RefusesAPictureThatClaimsToBeTooLarge) {
    std::string bytes = jpegOf(red_corner(40, 24), "");
    const std::size_t header = bytes.find("\xFF\xC0"); // marker, size, precision, height, width
    ASSERT_NE(std::string::npos, header);
    bytes.replace(header + 5, 4, "\xFF\xDC\xFF\xDC");
    const JpegContent content = readJpeg(bytes);
    EXPECT_FALSE(content.picture);
    EXPECT_EQ("the picture is too large", content.fault);
}

// ----- Texts ---------------------------------------------------------------------------------

TEST(UtcTime, IsReadableAndKnowsTheCalendar) {
    const std::vector<std::pair<double, const char*>> rows = {
        {0, "1970-01-01 00:00:00"},
        {951827696.9, "2000-02-29 12:34:56"},
        {1772616600, "2026-03-04 09:30:00"},
        {253402300799, "9999-12-31 23:59:59"},
        {253402300800, ""},
        {-1, ""},
        {1e300, ""},
        {std::numeric_limits<double>::infinity(), ""},
        {std::nan(""), ""},
    };
    for (const auto& [seconds, expected] : rows) {
        EXPECT_EQ(expected, shared::utcTime(seconds)) << seconds;
    }
}

TEST(PlainText, HasNoControlCharacters) {
    EXPECT_EQ("a?[2J b??\xC3\xA9?", shared::plainText("a\x1B[2J b\r\n\xC3\xA9\x7F"));
    EXPECT_EQ("a?b\xC2\xA0", shared::plainText("a\xC2\x9B"
                                               "b\xC2\xA0"));
    EXPECT_EQ("?", shared::plainText(std::string(1, '\0')));
}
