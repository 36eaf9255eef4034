// SPDX-License-Identifier: MIT
#include "station/PreviewImage.h"

// The segments of the image, each a marker, a size in two bytes that counts itself, and its data:
//
//   FFD8                    start of the image
//   FFFE size title         comment
//   FFDB 0043 00 64 x 01    quantisation: every coefficient as it is
//   FFC0 000B ...           8 bits, 8 lines, 8 columns, one component
//   FFC4 0014 00 ... 00     DC codes: "0" means no difference
//   FFC4 0014 10 ... 00     AC codes: "0" ends the block
//   FFDA 0008 ...           the scan: the bits "00", filled up with ones
//   FFD9                    end of the image

namespace station {

namespace {

void append_segment(std::string& image, char marker, const std::string& data) {
    const std::size_t size = data.size() + 2;
    image += '\xFF';
    image += marker;
    image += static_cast<char>(size / 256);
    image += static_cast<char>(size % 256);
    image += data;
}

std::string huffman_table_of_one_code(char tableClass) {
    std::string data(1, tableClass);
    data += '\1';                  // one code of one bit
    data += std::string(15, '\0'); // none that is longer
    data += '\0';                  // and its symbol
    return data;
}

} // namespace

std::string previewImage(const std::string& title) {
    std::string image = "\xFF\xD8";
    append_segment(image, '\xFE', title.substr(0, 1000));
    append_segment(image, '\xDB', std::string(1, '\0') + std::string(64, '\1'));
    append_segment(image, '\xC0', std::string("\x08\x00\x08\x00\x08\x01\x01\x11\x00", 9));
    append_segment(image, '\xC4', huffman_table_of_one_code('\x00'));
    append_segment(image, '\xC4', huffman_table_of_one_code('\x10'));
    append_segment(image, '\xDA', std::string("\x01\x01\x00\x00\x3F\x00", 6));
    image += '\x3F';
    image += "\xFF\xD9";
    return image;
}

} // namespace station
