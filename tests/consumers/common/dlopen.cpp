// SPDX-License-Identifier: MIT
// Loads the library at run time, asks it for one of its operations, and lets it go.
#include <dlfcn.h>
#include <iostream>

int main(int argc, char** argv) {
    void* library = argc > 1 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    if (library == nullptr) {
        std::cerr << "can't load: " << dlerror() << '\n';
        return 1;
    }
    // json::Variant::typeName(json::Type)
    using TypeName = const char* (*)(unsigned char);
    const auto typeName =
        reinterpret_cast<TypeName>(dlsym(library, "_ZN4json7Variant8typeNameENS_4TypeE"));
    if (typeName == nullptr) return 1;
    std::cout << typeName(6) << '\n';
    return dlclose(library);
}
