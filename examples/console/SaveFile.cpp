// SPDX-License-Identifier: MIT
#include "console/SaveFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace console {

std::string saveFile(const std::string& name, const std::string& bytes) {
    std::FILE* const file = std::fopen(name.c_str(), "wbe");
    if (file == nullptr) return std::strerror(errno);
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const int error = errno;
    // What is buffered is written here, and may fail as well.
    const bool closed = std::fclose(file) == 0;
    if (!written) return std::strerror(error);
    return closed ? std::string() : std::strerror(errno);
}

} // namespace console
