// SPDX-License-Identifier: MIT
// Loads a plugin, or the library itself, at run time, uses it and lets it go, twice.
#include <dlfcn.h>

#include <cstring>
#include <iostream>

namespace {

bool use_plugin(void* module) {
    using CountMembers = int (*)(const char*);
    const auto count_members = reinterpret_cast<CountMembers>(dlsym(module, "count_members"));
    return count_members != nullptr && count_members("{\"a\":1,\"b\":[2]}") == 2 &&
           count_members("[broken") == -1;
}

bool use_library(void* library) {
    // json::Variant::typeName(json::Type), asked for the last kind
    using TypeName = const char* (*)(unsigned char);
    const auto type_name =
        reinterpret_cast<TypeName>(dlsym(library, "_ZN4json7Variant8typeNameENS_4TypeE"));
    // a constant of values: a reference, so a pointer to the object
    const void* constant = dlsym(library, "_ZN4json7Variant5EmptyE");
    return type_name != nullptr && std::strcmp(type_name(6), "List") == 0 && constant != nullptr;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    for (int round = 1; round <= 2; ++round) {
        void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            std::cerr << "can't load: " << dlerror() << '\n';
            return 1;
        }
        if (!(argc > 2 ? use_library(module) : use_plugin(module))) {
            std::cerr << "loaded, but can't be used\n";
            return 1;
        }
        if (dlclose(module) != 0) return 1;
    }
}
