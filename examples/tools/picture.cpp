// SPDX-License-Identifier: MIT
// Is this file a whole JPEG picture, and of which size? What `scripts/demo` asks of the pictures
// that the console has saved.

#include "shared/Jpeg.h"
#include "shared/PlainText.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::string> files;
    std::string size;

    CLI::App app(
        "Decodes JPEG pictures, and prints the size and the comment of each. The status is "
        "0 when every file is a whole picture, and of the wanted size.",
        "gatecast-picture");
    app.add_option("--size", size, "The wanted size, as WIDTHxHEIGHT");
    app.add_option("FILE", files, "The pictures")->required();
    CLI11_PARSE(app, argc, argv);

    int status = 0;
    for (const std::string& name : files) {
        std::ifstream file(name, std::ios::binary);
        if (!file) {
            std::cerr << "error: can't read " << name << ": " << std::strerror(errno) << std::endl;
            status = 1;
            continue;
        }
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        const shared::JpegContent content = shared::readJpeg(bytes);
        if (!content.picture) {
            std::cerr << "error: " << name << ": " << content.fault << std::endl;
            status = 1;
            continue;
        }
        const std::string found = std::to_string(content.picture->width()) + "x" +
                                  std::to_string(content.picture->height());
        std::cout << name << ": " << found << ", " << shared::plainText(content.comment)
                  << std::endl;
        if (!size.empty() && found != size) {
            std::cerr << "error: " << name << " isn't of the size " << size << std::endl;
            status = 1;
        }
    }
    return status;
}
